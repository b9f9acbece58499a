#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "BlockerKit/SyncManager/CloudOperations.h"
#include "BlockerKit/SyncManager/RecordDecoding.h"
#include "BlockerKit/SyncManager/RecordMerge.h"
#include "BlockerKit/SyncManager/SyncManager.h"
#include "Platform/CloudKit/RecordFieldsJSON.h"
#include "Platform/Foundation/FatalError.h"

namespace orvane {
namespace {

RecordKind kindOf(const CKRecord& record) {
  const auto kind = fromRawValue<RecordKind>(record.recordType());
  if (!kind) {
    fatalError(fmt::format("Unknown record type {}", record.recordType()),
               "BlockerKit/SyncManager");
  }
  return *kind;
}

/// What the queue has of the package or rule that the record stands for.
std::optional<FieldDictionary> fieldsOf(const CKRecord& record) {
  if (kindOf(record) == RecordKind::package) {
    const auto package = packageFromRecord(record);
    return package ? std::optional(packageFieldDictionary(package->name)) : std::nullopt;
  }
  const auto rule = ruleFromRecord(record);
  const auto package = packageIdentifierFromRecord(record);
  return rule && package ? std::optional(ruleFieldDictionary(*rule, *package)) : std::nullopt;
}

std::string description(const CKRecord& record) {
  return fmt::format("<CKRecord: {} {} {}>", record.recordType(), record.recordID().recordName,
                     recordFieldsToJSON(record.fields()).value_or("{}"));
}

}  // namespace

void SyncManager::fetchRemoteChanges(FetchCompletion completion) {
  if (!container_) return;
  ++fetchCount_;
  onSyncQueue([this, completion = std::move(completion)] {
    fetch(completion);
    --fetchCount_;
  });
}

void SyncManager::fetch(FetchCompletion completion) {
  if (isEnding_) return;
  print("Fetching from remote changes...");
  const auto pass = std::make_shared<FetchPass>();
  const FetchHandlers handlers{
      .recordChanged = [this, pass](const CKRecord& record) { recordChanged(*pass, record); },
      .recordDeleted =
          [pass](const CKRecordID& recordID) {
            pass->deleted.push_back(recordID.recordName);
            pass->metadata[recordID.recordName] = std::nullopt;
          },
      .zoneFetchCompleted =
          [this, pass, completion = std::move(completion)](
              const CKFetchRecordZoneChangesOperation::ZoneResult& result) {
            zoneFetchCompleted(*pass, result, completion);
            --fetchCount_;
          }};
  const auto& database = container_->privateCloudDatabase();
  const auto operation = fetchChangesOperation(database, zone_, serverToken(), handlers);
  std::erase_if(fetches_, [](const auto& fetching) { return fetching.expired(); });
  fetches_.push_back(operation);
  ++fetchCount_;
  database.addOperation(operation);
}

/// What was edited here and not yet sent will be sent, and merged if that is necessary.
void SyncManager::recordChanged(FetchPass& pass, const CKRecord& record) {
  const auto& name = record.recordID().recordName;
  if (localChanges_.containsAdded(name)) return;
  pass.metadata[name] = metadata_.getMetadata(record);
  if (kindOf(record) == RecordKind::rule && !packageIdentifierFromRecord(record)) {
    print(fmt::format("Can't find package link in {} rule", name));
    return;
  }
  pass.changed.push_back(record);
}

void SyncManager::zoneFetchCompleted(const FetchPass& pass,
                                     const CKFetchRecordZoneChangesOperation::ZoneResult& result,
                                     const FetchCompletion& completion) {
  auto changes = remoteChanges(pass);
  const auto page = changes.isEmpty() ? std::string() : fetchedPages_.nextName();
  const bool isStored = storePass(pass, page, result.token);
  if (result.error || !isStored) {
    // What could not be stored comes again, since the token has not moved.
    if (isStored) resultsHandler_.append(std::move(changes), page);
    if (result.error) {
      print(result.error->localizedDescription);
      tell(SyncFailureEvent{result.error->localizedDescription});
    }
    if (completion) completion(false);
    return;
  }
  resultsHandler_.apply(
      std::move(changes), page, result.moreComing,
      completion
          ? [completion](
                const SafariReloadingResult& reloading) { completion(reloading.isSuccess()); }
          : SafariReloadingHandler());
  if (result.moreComing) {
    print("more coming...");
    fetch(completion);
  } else {
    print("Finished remote changes fetch");
    tell(SyncFetchEvent{});
    push(1);
  }
}

/// All that a pass has to leave behind: behind its token nobody is told of it again.
bool SyncManager::storePass(const FetchPass& pass, const std::string& page,
                            const std::optional<CKServerChangeToken>& token) {
  const auto stored = defaults_.transact([&](KeyValueDatabase::Transaction& transaction) {
    LocalChangesEdit(transaction, platform_.systemLog).forget(pass.deleted);
    for (const auto& [name, metadata] : pass.metadata) {
      transaction.setEntry(RecordMetadata::key, name, metadata);
    }
    if (!page.empty()) FetchedPages::store(transaction, page, pass);
    if (token) transaction.setValue(serverTokenKey, token->archived());
  });
  defaults_.synchronize();
  return stored.has_value();
}

std::optional<CKServerChangeToken> SyncManager::serverToken() {
  const auto value = defaults_.object(serverTokenKey);
  const auto* data = value ? value->as<PropertyListValue::Data>() : nullptr;
  return data == nullptr ? std::nullopt : CKServerChangeToken::unarchived(*data);
}

/// Edits that were made here since the record was sent wait for the next push, now with the
/// server's change tag. That and what has been merged are stored together: with the tag alone, the
/// next push would overwrite what the server has.
bool SyncManager::mergeConflict(const CKRecord& server, const CKRecord& localNew,
                                const CKRecord& localOld) {
  const auto& name = localNew.recordID().recordName;
  print(fmt::format("Merging {}", name));
  if (!localNew.recordChangeTag() && isFullDuplicate(server, localOld)) {
    print("Local record is a full duplicate of server version, minus metadata");
    return localChanges_.change([&](LocalChangesEdit& edit) { edit.forgetSent(localNew); })
        .has_value();
  }
  const auto merged = mergedRecord(server, localNew, localOld);
  const auto fields = fieldsOf(merged);
  const auto changed = defaults_.transact([&](KeyValueDatabase::Transaction& transaction) {
    metadata_.updateMetadata(merged, transaction);
    LocalChangesEdit edit(transaction, platform_.systemLog);
    if (fields) {
      edit.replaceSent(localNew, *fields);
    } else {
      edit.forgetSent(localNew);
    }
  });
  defaults_.synchronize();
  if (!fields) print(fmt::format("Merge failed: incorrect record {}", description(merged)));
  return changed.has_value();
}

}  // namespace orvane
