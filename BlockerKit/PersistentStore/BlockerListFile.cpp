#include <fmt/format.h>
#include <simdjson.h>

#include "BlockerKit/JSON/JSONText.h"
#include "BlockerKit/JSON/RecordWriter.h"
#include "BlockerKit/PersistentStore/BlockerListText.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "BlockerKit/PersistentStore/PlaceholderBlocker.h"
#include "Platform/Foundation/FatalError.h"

namespace orvane {
namespace {

/// Why data of the blocker list are of no use.
enum class SafariJSONError {
  invalidData,  ///< they cannot be turned into text
};

tl::expected<std::string_view, SafariJSONError> textFrom(std::string_view data) {
  if (!simdjson::validate_utf8(data)) return tl::unexpected(SafariJSONError::invalidData);
  return withoutByteOrderMark(data);
}

std::string quotedMarker(ActionType type) { return fmt::format(R"("type":"{}")", rawValue(type)); }

/// The list in which nothing is to be blocked.
Expected<std::string> placeholderList() {
  const Blocker placeholder = placeholderBlocker();
  return toJSON(std::span(&placeholder, 1));
}

}  // namespace

std::filesystem::path PersistentStore::pathToSafariJSON() {
  const auto& container = sharedContainerURL();
  if (!container) fatalError("Shared Container URL invalid", "BlockerKit/PersistentStore");
  return *container / "tmp.json";
}

bool PersistentStore::writeBlockersToSafariJSONFile(
    std::optional<std::span<const Blocker>> blockers) {
  const auto path = pathToSafariJSON();
  const Blocker placeholder = placeholderBlocker();
  const auto list = blockers.value_or(std::span(&placeholder, 1));
  const auto created = toJSON(list).and_then(
      [&](const std::string& json) { return platform_.fileManager.createFile(path, json); });
  const auto place = fmt::format("blockers {} Safari JSON file in shared container: {}",
                                 created && !blockers ? "from" : "to", path.string());
  if (!created) {
    platform_.standardOutput.print(fmt::format("Could not write {} {}", list.size(), place));
    platform_.systemLog.print(created.error().localizedDescription);
  } else if (!blockers) {
    platform_.standardOutput.print(fmt::format("Removed {}", place));
  } else {
    platform_.standardOutput.print(fmt::format("Wrote {} {}", list.size(), place));
  }
  return created.has_value();
}

void PersistentStore::editSafariJSONFile(const TextEdit& edit, std::string_view done,
                                         const Completion& completion) {
  using Result = SafariJSONModificationResult;
  const auto path = pathToSafariJSON();
  const auto outcome = [&]() -> Result {
    const auto contents = platform_.fileManager.contents(path);
    if (!contents) return Result::otherError(contents.error().localizedDescription);
    if (contents->empty()) return Result::emptyFile();
    const auto text = textFrom(*contents);
    if (!text) return Result::otherError("Error creating JSON string from Safari JSON file");
    const auto stored = edit(*text).and_then(
        [&](const std::string& list) { return platform_.fileManager.createFile(path, list); });
    if (!stored) return Result::otherError(stored.error().localizedDescription);
    platform_.standardOutput.print(fmt::format("{} Safari JSON file: {}", done, path.string()));
    return Result::success();
  }();
  if (completion) completion(outcome);
}

void PersistentStore::prependToSafariJSONFile(const Blocker& blocker,
                                              const Completion& completion) {
  const auto edit = [&](std::string_view list) -> Expected<std::string> {
    auto json = toJSON(blocker);
    if (json) *json = prependingToList(list, *json);
    return json;
  };
  editSafariJSONFile(edit, "Prepended new blocker to", completion);
}

void PersistentStore::appendToSafariJSONFile(const Blocker& blocker, const Completion& completion) {
  const auto edit = [&](std::string_view list) -> Expected<std::string> {
    auto json = toJSON(blocker);
    if (json) *json = appendingToList(list, *json);
    return json;
  };
  editSafariJSONFile(edit, "Appended new blocker to", completion);
}

void PersistentStore::removeDomain(std::string_view domain, std::string_view marker,
                                   const Completion& completion) {
  const auto edit = [&](std::string_view list) -> Expected<std::string> {
    auto quotedDomain = toJSON(domain);
    if (!quotedDomain) return quotedDomain;
    auto removal = removingDomain(list, marker, *quotedDomain);
    if (const auto& domains = removal.domains) {
      auto& output = platform_.standardOutput;
      output.print(fmt::format("Found {}", fmt::join(domains->found, ",")));
      output.print(fmt::format("new domain list: {}", fmt::join(domains->remaining, ",")));
    }
    if (removal.leavesNothing) return placeholderList();
    return std::move(removal.text);
  };
  editSafariJSONFile(edit, fmt::format("Unwhitelisted {} from", domain), completion);
}

void PersistentStore::unwhitelistFromSafariJSONFile(std::string_view domain,
                                                    const Completion& completion) {
  removeDomain(domain, quotedMarker(ActionType::IgnorePreviousRules), completion);
}

void PersistentStore::unforceHttpsFromSafariJSONFile(std::string_view domain,
                                                     const Completion& completion) {
  removeDomain(domain, quotedMarker(ActionType::makeHttps), completion);
}

}  // namespace orvane
