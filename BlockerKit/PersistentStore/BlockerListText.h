#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// Edits of the browser's list as text, so that a change of one site costs no parsing of a very
/// large list. The text is a compact JSON array of blocker objects in UTF-8; the keys of an object
/// may stand in any order. Nothing here fails: text of another form comes back as it is, or with
/// exactly the characters replaced that the edit names.

/// `blocker` in front of the list, in the place of its first character.
std::string prependingToList(std::string_view list, std::string_view blocker);

/// `blocker` at the end of the list, in the place of its last character.
std::string appendingToList(std::string_view list, std::string_view blocker);

struct DomainRemoval {
  /// The whole list after the removal.
  std::string text;
  /// Whether the removal took the only blocker of the list.
  bool leavesNothing = false;
  /// The entries of the domain list that was edited, and those that remain in it, each with its
  /// quotes; absent when no domain list was found, and then `text` is the list as it was.
  struct Domains {
    std::vector<std::string> found;
    std::vector<std::string> remaining;
  };
  std::optional<Domains> domains = std::nullopt;
};

/// The list without `quotedDomain` (a JSON string with its quotes) in the "if-domain" list of the
/// first blocker that holds `marker`, such as "type":"make-https" with its quotes. When no domain
/// remains, the blocker goes too.
DomainRemoval removingDomain(std::string_view list, std::string_view marker,
                             std::string_view quotedDomain);

}  // namespace orvane
