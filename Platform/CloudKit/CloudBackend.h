#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Platform/CloudKit/CKAccountStatus.h"
#include "Platform/CloudKit/CKError.h"
#include "Platform/CloudKit/CKRecord.h"
#include "Platform/CloudKit/CKServerChangeToken.h"
#include "Platform/CloudKit/CKSubscription.h"
#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

/// What a call of the cloud may ask while it goes on.
struct CloudCall {
  /// Whether nobody waits for the answer any more. To be asked about every 50 ms of waiting; the
  /// call then ends with `operationCancelled`, whether or not the cloud has done it.
  std::function<bool()> isCancelled = [] { return false; };
};

/// Records to be saved and deleted together, all of one zone.
struct CloudBatch {
  CKRecordZoneID zoneID;
  std::vector<CKRecord> recordsToSave;
  std::vector<CKRecordID> recordIDsToDelete;
};

struct CloudBatchResult {
  /// Of the saved records, in their order.
  std::vector<std::string> changeTags;
  /// Those that were to be deleted and were not there.
  std::vector<CKRecordID> unknownIDs;
};

struct CloudChanges {
  struct Deletion {
    CKRecordID recordID;
    std::string recordType;
  };

  /// As they are now, with all their values, in the order in which they were last saved.
  std::vector<CKRecord> changed;
  std::vector<Deletion> deleted;
  /// Behind these changes.
  CKServerChangeToken token;
  bool moreComing = false;
};

/// Keys of the user's key-value store; nothing stands for a key that was removed.
using CloudKeyValueChanges = std::map<std::string, std::optional<PropertyListValue>>;

struct CloudKeyValues {
  CloudKeyValueChanges changes;
  /// Behind these changes.
  CKServerChangeToken token;
  /// There was no token that counts: these are all the keys that there are.
  bool isAll = false;
};

struct CloudEvent {
  enum class Kind { zoneChanged, keyValuesChanged, accountChanged };

  Kind kind;
  /// Of the subscription, for `zoneChanged`.
  std::string subscriptionID;
};

/// One user's way to a cloud. Every call waits for its answer; calls come one at a time, on any
/// thread. It connects at its first call, and again by itself.
///
/// After an error nothing has changed, but for `networkFailure` and `operationCancelled`, after
/// which the call may have been done. An error that is retryable says when. A database that is not
/// there, or has not been prepared for this program, is `badContainer`.
///
/// Texts are valid UTF-8 without zero bytes, names are not empty and have at most 255 bytes, a
/// batch names each record once and is neither empty nor too large: the caller sees to that.
class CloudBackend {
 public:
  CloudBackend() = default;
  CloudBackend(const CloudBackend&) = delete;
  CloudBackend& operator=(const CloudBackend&) = delete;
  virtual ~CloudBackend() = default;

  /// Whether there are the requests that name record zones: `CKFetchRecordZoneChangesOperation`,
  /// and subscriptions to record zones. Without them there are only their older forms.
  virtual bool offersRecordZoneRequests() const { return true; }

  /// `noAccount` when the cloud does not know the user, `restricted` when it lets the user do
  /// nothing.
  virtual CKResult<CKAccountStatus> accountStatus(const CloudCall& call) = 0;

  /// `serverRejectedRequest` when the user has such a zone already. A zone that was deleted and is
  /// saved again is another one: it is empty, and knows no token of the one before.
  virtual CKResult<void> saveZone(const CKRecordZoneID& zoneID, const CloudCall& call) = 0;
  /// With its records and its subscription. `zoneNotFound` when there is none.
  virtual CKResult<void> deleteZone(const CKRecordZoneID& zoneID, const CloudCall& call) = 0;

  /// From now on changes of the zone are told of, on all machines of the user. `zoneNotFound`; and
  /// `serverRejectedRequest`, with a description that ends in "duplicate of " and the ID of the
  /// subscription that is there, when the zone has one.
  virtual CKResult<void> saveSubscription(const CKSubscription& subscription,
                                          const CloudCall& call) = 0;

  /// All of it or nothing. Of a record that is there, the changed keys are set and the others stay.
  ///
  /// A record is saved when the server's has the change tag that this one has, or, if this one has
  /// none, when the server has no such record. Otherwise the error is a `partialFailure` with an
  /// entry for each such record: `serverRecordChanged` with `serverRecord` alone, or `unknownItem`
  /// when the server has no such record and this one has a change tag. Other items have no entry.
  /// `zoneNotFound` when there is no such zone.
  virtual CKResult<CloudBatchResult> modifyRecords(const CloudBatch& batch,
                                                   const CloudCall& call) = 0;

  /// What has changed behind the token, own changes included, each record once; without a token
  /// all there is, and deletions may be missing. At most `limit` records and deletions. A token
  /// that this zone has not given counts as none. No change is ever missed. `zoneNotFound`.
  virtual CKResult<CloudChanges> fetchChanges(const CKRecordZoneID& zoneID,
                                              const std::optional<CKServerChangeToken>& token,
                                              std::size_t limit, const CloudCall& call) = 0;

  /// Makes the changes, and gives what others have changed behind the token, but for the keys of
  /// `changes`; without a token, all there is. A token that this store has not given counts as
  /// none. Of several who change a key the last one wins.
  /// `quotaExceeded` when there would be more than 1,024 keys or more than 1 MB.
  virtual CKResult<CloudKeyValues> exchangeKeyValues(
      const CloudKeyValueChanges& changes, const std::optional<CKServerChangeToken>& token,
      const CloudCall& call) = 0;

  /// Adds a record to what the makers read and no user does. One that was added before, by its
  /// name, is not added again.
  virtual CKResult<void> addPublicRecord(const CKRecord& record, const CloudCall& call) = 0;

  /// From now on `told` is called when something has changed, by whatever machine, this one
  /// included, on a thread of the backend's own; it returns at once. Several changes may be told as
  /// one, and what happens while there is no connection is told once there is one again. An empty
  /// function ends it, and waits for a call that goes on. Any thread, also while a call goes on.
  virtual void setListener(std::function<void(const CloudEvent&)> told) = 0;
};

}  // namespace orvane
