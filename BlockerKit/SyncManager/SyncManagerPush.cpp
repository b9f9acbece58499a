#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <utility>

#include <fmt/format.h>

#include "BlockerKit/SyncManager/CloudOperations.h"
#include "BlockerKit/SyncManager/ErrorReaction.h"
#include "BlockerKit/SyncManager/SyncManager.h"
#include "Platform/Foundation/FatalError.h"

namespace orvane {
namespace {

using Transaction = KeyValueDatabase::Transaction;

constexpr double nanosecondsPerSecond = 1e9;

std::vector<std::string> namesOf(const std::vector<CKRecordID>& recordIDs) {
  std::vector<std::string> names;
  names.reserve(recordIDs.size());
  for (const auto& recordID : recordIDs) names.push_back(recordID.recordName);
  return names;
}

/// Whole nanoseconds.
Executor::Duration delayOf(double seconds) {
  const double nanoseconds = std::trunc(seconds * nanosecondsPerSecond);
  constexpr double end = 9223372036854775808.0;  // 2^63
  if (!(nanoseconds >= -end && nanoseconds < end)) {
    fatalError("The delay of a retry is out of range", "BlockerKit/SyncManager");
  }
  return Executor::Duration(static_cast<std::int64_t>(nanoseconds));
}

}  // namespace

void SyncManager::pushAllLocalUpdates(std::size_t split) {
  onSyncQueue([this, split] { push(split); });
}

void SyncManager::push(std::size_t split) {
  ++pushCount_;
  Operations operations;
  if (!hasSubscription()) operations.push_back(subscribeToChanges());
  std::ranges::move(pushLocalChangesOperations(split), std::back_inserter(operations));
  if (!defaults_.boolForKey(zoneSavedKey)) {
    auto savingZone = saveZone();
    for (const auto& operation : operations) operation->addDependency(savingZone);
    operations.push_back(std::move(savingZone));
  }
  if (!lastAccountStatus_) {
    updateAccountStatus([this, operations, asking = pushCount_](bool /*isAvailable*/) {
      if (pushCount_ == asking) schedule(operations);
    });
  } else if (lastAccountStatus_ == CKAccountStatus::available) {
    pendingOnAccountUnavailable_ = false;
    schedule(operations);
  } else {
    print(fmt::format("Account status: {}", description(*lastAccountStatus_)));
    pendingOnAccountUnavailable_ = true;
  }
}

bool SyncManager::hasSubscription() {
  const auto value = defaults_.object(zoneSubscriptionIDKey);
  return value && value->as<std::string>() != nullptr;
}

/// A new push takes the place of all that waits or runs.
void SyncManager::schedule(const Operations& operations) {
  if (isEnding_) return;
  cancelAllOperations();
  for (const auto& operation : operations) queue_->addOperation(operation);
}

SyncManager::Operations SyncManager::pushLocalChangesOperations(std::size_t split) {
  auto [records, recordIDs] = localChanges_.all(zone_.zoneID);
  if (records.empty() && recordIDs.empty()) {
    print("No local record changes to push");
    return {};
  }
  print(fmt::format("Records to add/modify {}", records.size()));
  print(fmt::format("Records to delete {}", recordIDs.size()));
  print(fmt::format("Splitting data into {} operations", split));
  Operations operations;
  for (const auto& operation : modifyRecordsOperations(
           container_->privateCloudDatabase(), std::move(records), std::move(recordIDs), split)) {
    const auto* pushed = operation.get();  // it lives as long as its block
    operation->setModifyRecordsCompletionBlock(
        [this, pushed, split](const std::vector<CKRecord>& saved,
                              const std::vector<CKRecordID>& deleted,
                              const std::optional<CKError>& error) {
          if (!error) return localChangesPushed(saved, deleted);
          // Without an item, the error is about the first one.
          auto [recordID, deciding] = decidingError(*error);
          pushFailed(recordID ? recordID : pushed->firstItemID(), deciding, split);
        });
    operations.push_back(operation);
  }
  return operations;
}

/// An edit that was made under the name of a record while that was sent is sent anew: the request
/// for it that waits was made with what was known of the record before.
void SyncManager::localChangesPushed(const std::vector<CKRecord>& saved,
                                     const std::vector<CKRecordID>& deleted) {
  print("Local changes pushed successfully!");
  const auto deletedNames = namesOf(deleted);
  bool isEdited = false;
  // After a failure, which is on the system log, all of it is sent once more.
  (void)defaults_.transact([&](Transaction& transaction) {
    LocalChangesEdit edit(transaction, platform_.systemLog);
    edit.unmarkDeleted(deletedNames, RecordKind::package);
    edit.unmarkDeleted(deletedNames, RecordKind::rule);
    for (const auto& record : saved) {
      metadata_.updateMetadata(record, transaction);
      if (!edit.removeSent(record)) isEdited = true;
    }
    // One that is made again under the same name is a new record.
    for (const auto& name : deletedNames) {
      transaction.setEntry(RecordMetadata::key, name, std::nullopt);
      if (edit.isAdded(name)) isEdited = true;
    }
  });
  defaults_.synchronize();
  tell(SyncPushEvent{});
  if (isEdited) push(1);
}

/// Those that are part of the way to the end are none.
void SyncManager::tellFailure(PushReaction reaction, const CKError& error) const {
  switch (reaction) {
    case PushReaction::mergeConflict:
    case PushReaction::saveZoneAgain:
    case PushReaction::splitFurther:
      return;
    case PushReaction::nothing:
      if (error.code == CKErrorCode::operationCancelled) return;
      break;
    case PushReaction::retryLater:
    case PushReaction::cancelAll:
    case PushReaction::forgetRecord:
      break;
  }
  tell(SyncFailureEvent{error.localizedDescription});
}

/// While the queue cannot be written, a push would only fail in the same way, again and again.
void SyncManager::pushFailed(const std::optional<CKRecordID>& recordID, const CKError& error,
                             std::size_t split) {
  const std::string name = recordID ? recordID->recordName : std::string();
  print(fmt::format("{} {}", name, error.localizedDescription));
  const auto reaction = reactionToPushError(error.code);
  tellFailure(reaction, error);
  switch (reaction) {
    case PushReaction::retryLater:
      repushAfter(error);
      break;
    case PushReaction::cancelAll:
      cancelAllOperations();
      break;
    case PushReaction::forgetRecord:
      if (localChanges_.change([&](LocalChangesEdit& edit) { edit.forget({name}); })) push(1);
      break;
    case PushReaction::mergeConflict:
      // There is nothing to merge with when the cloud does not say what it has.
      if (!error.serverRecord || !error.clientRecord || !error.ancestorRecord) break;
      if (mergeConflict(*error.serverRecord, *error.clientRecord, *error.ancestorRecord)) push(1);
      break;
    case PushReaction::saveZoneAgain:
      saveZoneAgain();
      break;
    case PushReaction::splitFurther:
      // A cloud that takes no piece however small would have it doubled beyond all numbers.
      push(std::min(split, std::numeric_limits<std::size_t>::max() / 2) * 2);
      break;
    case PushReaction::nothing:
      break;
  }
}

void SyncManager::repushAfter(const CKError& error) {
  repushLocalChangesAfter(error.retryAfter.value_or(lastRequestDelay_));
}

/// The first that is due takes the place of the others. Without that, each of the requests that
/// fail while the server is away would lead to as many again.
void SyncManager::repushLocalChangesAfter(double seconds) {
  const auto delay = delayOf(seconds);
  const auto now = platform_.mainQueue.now();
  const auto deadline = now + std::min(delay, Executor::Time::max() - now);
  print(fmt::format("Retrying data push in DispatchTime(rawValue: {}) secs ..",
                    deadline.time_since_epoch().count()));
  platform_.mainQueue.postAfter(delay,
                                [this, lifetime = std::weak_ptr(lifetime_), round = retryRound_] {
                                  if (!lifetime.expired())
                                    onSyncQueue([this, round] { retry(round); });
                                });
  lastRequestDelay_ *= lastRequestDelay_;
  tell(SyncRetryEvent{delay});
}

void SyncManager::retry(std::size_t round) {
  if (round != retryRound_) return;
  ++retryRound_;
  push(1);
}

}  // namespace orvane
