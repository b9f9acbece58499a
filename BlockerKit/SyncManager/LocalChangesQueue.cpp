#include "BlockerKit/SyncManager/LocalChangesQueue.h"

#include <iterator>
#include <map>
#include <utility>

#include "BlockerKit/SyncManager/RecordMetadata.h"

namespace orvane {

using Transaction = KeyValueDatabase::Transaction;
using Dictionary = PropertyListValue::Dictionary;

namespace {

Dictionary dictionary(std::string_view key, Transaction& transaction) {
  auto value = transaction.value(key);
  auto* found = value ? std::get_if<Dictionary>(&value->variant) : nullptr;
  return found == nullptr ? Dictionary() : std::move(*found);
}

std::vector<std::string> strings(std::string_view key, Transaction& transaction) {
  const auto value = transaction.value(key);
  auto found = value ? stringsOf(*value) : std::nullopt;
  return std::move(found).value_or(std::vector<std::string>());
}

}  // namespace

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

LocalChanges LocalChangesQueue::all(const CKRecordZoneID& zoneID) {
  auto metadata = entriesOf({});
  std::map<RecordKind, RecordsToSave::Entries> added{{RecordKind::package, metadata},
                                                     {RecordKind::rule, metadata}};
  std::vector<std::string> deleted;
  (void)defaults_.transact([&](Transaction& transaction) {
    metadata = transaction.entries(RecordMetadata::key);
    for (const auto kind : {RecordKind::package, RecordKind::rule}) {
      added[kind] = transaction.entries(LocalChangesEdit::addedKey(kind));
    }
    for (const auto kind : {RecordKind::rule, RecordKind::package}) {
      std::ranges::move(strings(LocalChangesEdit::deletedKey(kind), transaction),
                        std::back_inserter(deleted));
    }
  });
  return {.recordsToSave = RecordsToSave(added.at(RecordKind::package), added.at(RecordKind::rule),
                                         metadata, zoneID, systemLog_),
          .recordIDsToDelete = recordIDs(deleted, zoneID)};
}

LocalChangesCount LocalChangesQueue::count() {
  LocalChangesCount count;
  (void)defaults_.transact([&](Transaction& transaction) {
    const auto added = [&](RecordKind kind) {
      return dictionary(LocalChangesEdit::addedKey(kind), transaction).size();
    };
    const auto deleted = [&](RecordKind kind) {
      return strings(LocalChangesEdit::deletedKey(kind), transaction).size();
    };
    count = {.packagesToSave = added(RecordKind::package),
             .rulesToSave = added(RecordKind::rule),
             .packagesToDelete = deleted(RecordKind::package),
             .rulesToDelete = deleted(RecordKind::rule)};
  });
  return count;
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

}  // namespace orvane
