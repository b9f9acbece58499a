#include "BlockerKit/SyncManager/LocalChangesQueue.h"

#include <iterator>
#include <utility>

#include "BlockerKit/SyncManager/RecordMetadata.h"
#include "BlockerKit/SyncManager/RecordsToSave.h"

namespace orvane {

using Transaction = KeyValueDatabase::Transaction;
using Dictionary = PropertyListValue::Dictionary;

Expected<void> LocalChangesQueue::change(const std::function<void(LocalChangesEdit&)>& edit) {
  return defaults_.transact([&](Transaction& transaction) {
    LocalChangesEdit changes(transaction, systemLog_);
    edit(changes);
  });
}

bool LocalChangesQueue::containsAdded(std::string_view recordName) {
  for (const auto kind : {RecordKind::rule, RecordKind::package}) {
    const auto entry = defaults_.entry(LocalChangesEdit::addedKey(kind), recordName);
    if (entry && entry->as<FieldDictionary>() != nullptr) return true;
  }
  return false;
}

std::vector<CKRecord> LocalChangesQueue::recordsToSave(const CKRecordZoneID& zoneID) {
  const auto metadata = dictionary(RecordMetadata::key);
  std::vector<CKRecord> records;
  for (const auto kind : {RecordKind::package, RecordKind::rule}) {
    const auto added = dictionary(LocalChangesEdit::addedKey(kind));
    auto ofKind = orvane::recordsToSave(kind, added, metadata, zoneID, systemLog_);
    std::ranges::move(ofKind, std::back_inserter(records));
  }
  return records;
}

std::vector<CKRecordID> LocalChangesQueue::recordIDsToDelete(const CKRecordZoneID& zoneID) {
  auto names = strings(LocalChangesEdit::deletedKey(RecordKind::rule));
  std::ranges::move(strings(LocalChangesEdit::deletedKey(RecordKind::package)),
                    std::back_inserter(names));
  return recordIDs(names, zoneID);
}

bool LocalChangesQueue::existingDataIsMarkedAsAdded() {
  return defaults_.boolForKey(existingDataMarkedAsAddedKey);
}

void LocalChangesQueue::markExistingDataAsAdded(const std::vector<Package>& packages) {
  // Another process may have done it since the caller has asked.
  const auto mark = [&](Transaction& transaction) {
    if (transaction.value(existingDataMarkedAsAddedKey) == PropertyListValue(true)) return;
    LocalChangesEdit(transaction, systemLog_).replaceAdded(packages);
    transaction.setValue(existingDataMarkedAsAddedKey, true);
  };
  // After a failure, which is on the system log, the mark is missing and the next call tries again.
  (void)defaults_.transact(mark);
  defaults_.synchronize();
}

Dictionary LocalChangesQueue::dictionary(std::string_view key) {
  auto value = defaults_.object(key);
  auto* found = value ? std::get_if<Dictionary>(&value->variant) : nullptr;
  return found == nullptr ? Dictionary() : std::move(*found);
}

std::vector<std::string> LocalChangesQueue::strings(std::string_view key) {
  const auto value = defaults_.object(key);
  auto found = value ? stringsOf(*value) : std::nullopt;
  return std::move(found).value_or(std::vector<std::string>());
}

}  // namespace orvane
