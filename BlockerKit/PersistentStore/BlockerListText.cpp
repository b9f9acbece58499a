#include "BlockerKit/PersistentStore/BlockerListText.h"

#include <algorithm>
#include <functional>
#include <initializer_list>

#include <fmt/format.h>

#include "BlockerKit/JSON/JSONText.h"

namespace orvane {
namespace {

constexpr auto npos = std::string_view::npos;
constexpr std::string_view domainListKey = "\"if-domain\":[";

/// Part of a text, as positions in it.
struct Range {
  std::size_t begin;
  std::size_t end;
};

bool continuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

std::string_view withoutFirstCharacter(std::string_view text) {
  if (!text.empty()) text.remove_prefix(1);
  while (!text.empty() && continuesCharacter(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view withoutLastCharacter(std::string_view text) {
  while (!text.empty() && continuesCharacter(text.back())) text.remove_suffix(1);
  if (!text.empty()) text.remove_suffix(1);
  return text;
}

/// Finds `member`, which begins with a quoted key, where it is a member of an object. Inside of a
/// string its quotes would be escaped, so the byte before the first one tells.
std::size_t findMember(std::string_view text, std::string_view member, std::size_t from) {
  const std::boyer_moore_horspool_searcher searcher(member.begin(), member.end());
  for (auto at = text.begin() + static_cast<std::ptrdiff_t>(from);; ++at) {
    at = std::search(at, text.end(), searcher);
    if (at == text.end()) return npos;
    if (at != text.begin() && (at[-1] == '{' || at[-1] == ',')) {
      return static_cast<std::size_t>(at - text.begin());
    }
  }
}

/// The elements of the array that begins at `begin`, up to the first one that `last` accepts.
/// Nothing when the text is no such array.
std::optional<std::vector<Range>> arrayElements(std::string_view text, std::size_t begin,
                                                const std::function<bool(Range)>& last) {
  std::vector<Range> elements;
  if (begin >= text.size() || text[begin] != '[') return std::nullopt;
  std::size_t at = begin + 1;
  if (at < text.size() && text[at] == ']') return elements;
  while (at < text.size()) {
    const Range element{at, endOfJSONValue(text, at)};
    if (element.end >= text.size()) return std::nullopt;
    if (text[element.end] != ',' && text[element.end] != ']') return std::nullopt;
    elements.push_back(element);
    if (last(element) || text[element.end] == ']') return elements;
    at = element.end + 1;
  }
  return std::nullopt;
}

/// The blocker of the list that holds the byte at `position`.
std::optional<Range> blockerAround(std::string_view list, std::size_t position) {
  std::optional<Range> blocker;
  static_cast<void>(arrayElements(list, 0, [&](Range element) {
    if (position < element.end) blocker = element;
    return blocker.has_value();
  }));
  if (!blocker || list[blocker->begin] != '{') return std::nullopt;
  return blocker;
}

std::optional<std::vector<std::string>> domainEntries(std::string_view text, std::size_t begin) {
  const auto elements = arrayElements(text, begin, [](Range) { return false; });
  if (!elements) return std::nullopt;
  std::vector<std::string> entries;
  entries.reserve(elements->size());
  for (const auto [from, to] : *elements) entries.emplace_back(text.substr(from, to - from));
  return entries;
}

/// The parts one behind the other, with room made once: a list is too large to be moved again.
std::string concatenated(std::initializer_list<std::string_view> parts) {
  std::size_t size = 0;
  for (const auto part : parts) size += part.size();
  std::string result;
  result.reserve(size);
  for (const auto part : parts) result.append(part);
  return result;
}

std::string replacing(std::string_view text, Range range, std::string_view replacement) {
  return concatenated({text.substr(0, range.begin), replacement, text.substr(range.end)});
}

/// A blocker together with the comma behind it or, for the last one, before it.
Range withAdjacentComma(std::string_view list, Range blocker) {
  if (blocker.end < list.size() && list[blocker.end] == ',')
    ++blocker.end;
  else if (list[blocker.begin - 1] == ',')
    --blocker.begin;
  return blocker;
}

}  // namespace

std::string prependingToList(std::string_view list, std::string_view blocker) {
  return concatenated({"[", blocker, ",", withoutFirstCharacter(list)});
}

std::string appendingToList(std::string_view list, std::string_view blocker) {
  return concatenated({withoutLastCharacter(list), ",", blocker, "]"});
}

DomainRemoval removingDomain(std::string_view list, std::string_view marker,
                             std::string_view quotedDomain) {
  DomainRemoval unchanged{.text = std::string(list)};
  const auto markerAt = findMember(list, marker, 0);
  if (markerAt == npos) return unchanged;
  const auto blocker = blockerAround(list, markerAt);
  if (!blocker) return unchanged;
  const auto keyAt = findMember(list.substr(0, blocker->end), domainListKey, blocker->begin);
  if (keyAt == npos) return unchanged;
  const auto listAt = keyAt + domainListKey.size() - 1;
  const auto found = domainEntries(list, listAt);
  if (!found) return unchanged;

  auto remaining = *found;
  std::erase(remaining, quotedDomain);
  const DomainRemoval::Domains domains{*found, remaining};
  if (remaining.empty()) {
    return {.text = replacing(list, withAdjacentComma(list, *blocker), ""),
            .leavesNothing = list[blocker->begin - 1] == '[' && list[blocker->end] == ']',
            .domains = domains};
  }
  const Range entries{listAt + 1, endOfJSONValue(list, listAt) - 1};
  return {.text = replacing(list, entries, fmt::format("{}", fmt::join(remaining, ","))),
          .domains = domains};
}

}  // namespace orvane
