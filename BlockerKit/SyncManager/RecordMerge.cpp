#include "BlockerKit/SyncManager/RecordMerge.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <variant>

namespace orvane {
namespace {

std::optional<std::int64_t> number(const CKRecord::Value& value) {
  if (!value) return std::nullopt;
  if (const auto* flag = std::get_if<bool>(&*value)) return *flag ? 1 : 0;
  if (const auto* integer = std::get_if<std::int64_t>(&*value)) return *integer;
  return std::nullopt;
}

/// A boolean is a number.
bool isEqual(const CKRecord::Value& left, const CKRecord::Value& right) {
  const auto number1 = number(left);
  return number1 ? number1 == number(right) : left == right;
}

}  // namespace

bool isFullDuplicate(const CKRecord& server, const CKRecord& localOld) {
  return std::ranges::all_of(localOld.allKeys(), [&](const std::string& key) {
    return isEqual(localOld.value(key), server.value(key));
  });
}

CKRecord mergedRecord(CKRecord server, const CKRecord& localNew, const CKRecord& localOld) {
  for (const auto& key : localNew.allKeys()) {
    const auto newValue = localNew.value(key);
    const auto oldValue = localOld.value(key);
    const auto serverValue = server.value(key);
    const bool isUnchangedHere = oldValue && newValue && isEqual(oldValue, newValue);
    if (isUnchangedHere) continue;
    const bool isUnchangedThere = serverValue && isEqual(serverValue, oldValue);
    server.setValue(key, isUnchangedThere ? serverValue : newValue);
  }
  return server;
}

}  // namespace orvane
