#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "BlockerKit/Catalogue/DataManager.h"
#include "BlockerKit/Model/Package.h"
#include "BlockerKit/SyncManager/ErrorReaction.h"
#include "BlockerKit/SyncManager/FetchPass.h"
#include "BlockerKit/SyncManager/FetchedPages.h"
#include "BlockerKit/SyncManager/LocalChangesQueue.h"
#include "BlockerKit/SyncManager/RecordMetadata.h"
#include "BlockerKit/SyncManager/ResultsHandler.h"
#include "BlockerKit/SyncManager/SyncEvent.h"
#include "Platform/CloudKit/CKContainer.h"
#include "Platform/CloudKit/CKFetchRecordZoneChangesOperation.h"
#include "Platform/CloudKit/CKModifyRecordsOperation.h"
#include "Platform/CloudKit/CKNotification.h"
#include "Platform/CloudKit/CKRecordZone.h"
#include "Platform/Foundation/NSOperationQueue.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Platform/Platform.h"

namespace orvane {

/// Keeps the packages of the user's machines the same.
///
/// Each hook puts its change into the queue of local changes, in one transaction, so that a package
/// or rule is never both added and deleted whatever other processes do meanwhile; flushes the
/// defaults; and asks for a push, also when the change could not be stored, which the system log
/// then says.
///
/// What the manager knows of the cloud belongs to a queue of its own, on which the cloud's answers
/// come. The calls return before the cloud is asked. Any thread may call, but for the construction
/// and the destruction, which are the main queue's.
class SyncManager {
 public:
  static constexpr const char* containerIdentifier = "iCloud.com.tessaly.Blocker";
  static constexpr const char* zoneName = "BlockerRulesZone";
  static constexpr const char* zoneSavedKey = "ZoneSaved";
  static constexpr const char* zoneSubscriptionIDKey = "ZoneSubscribtionID";
  static constexpr const char* serverTokenKey = "ServerToken";
  static constexpr const char* remotePreferenceSyncNotification = "RemotePreferenceSync";
  /// In seconds.
  static constexpr double defaultRequestDelay = 2.0;

  static NSOperationQueue::Properties queueProperties();

  enum class Cloud {
    none,       ///< changes are recorded for another process, which sends them
    container,  ///< the application's container in the user's cloud
  };

  using FetchCompletion = std::function<void(bool)>;

  /// All arguments outlive the manager; `defaults` are shared by the user's processes.
  /// `reloadContentBlocker` is called on the main queue when the preferences were changed on
  /// another machine.
  SyncManager(Platform& platform, NSUserDefaults& defaults, DataManager& dataManager, Cloud cloud,
              std::function<void()> reloadContentBlocker, SyncObserver observer = nullptr);
  SyncManager(const SyncManager&) = delete;
  SyncManager& operator=(const SyncManager&) = delete;
  /// Cancels what is asked of the cloud, and waits for a call that goes on.
  ~SyncManager();

  /// The packages and rules are as they are after the change, or were before they were deleted.
  void packageAdded(const Package& package);
  void packageDeleted(const Package& package);
  void ruleAdded(const Rule& rule, const Package& package);
  void ruleCollectionAdded(std::span<const Rule> rules, const Package& package);
  void ruleDeleted(const Rule& rule, const Package& package);

  /// Syncing starts, with the whole catalogue. The first time that it has any packages they are all
  /// put into the queue. Then local changes are pushed, and those of others fetched if the cloud
  /// has a place for them.
  void update(const std::vector<Package>& packages);

  /// Sends all local changes, in `split` pieces or a few more. Replaces a push that has not ended.
  void pushAllLocalUpdates(std::size_t split);

  /// Brings the changes of other machines. `completion`, which may be empty, is called once they
  /// are in the browser's list, or with false when something has failed. It is not called when
  /// there is nothing new, or nothing that another fetch has not brought meanwhile, and neither
  /// without a cloud nor once the manager ends.
  void fetchRemoteChanges(FetchCompletion completion);

  /// Whether requests of a push wait or run, or a fetch does.
  bool isBusy() const { return isPushing() || fetchCount_ > 0; }
  bool isPushing() const { return queue_ && queue_->operationCount() > 0; }

  /// The cloud says that something has changed.
  void handleNotification(const CKNotification& notification, FetchCompletion completion);

 private:
  // In SyncManager.cpp; on the sync queue, as all that follows.
  void updateAccountStatus(std::function<void(bool isAvailable)> completion);
  void accountStatusChanged();
  std::shared_ptr<NSOperation> saveZone();
  void zoneSaved(const std::optional<CKError>& error);
  SaveReaction reactToSaveError(const CKError& error);
  void zoneIsThere();
  std::shared_ptr<NSOperation> subscribeToChanges();
  void subscriptionSaved(const std::vector<CKSubscription>& saved,
                         const std::optional<CKError>& error);
  void subscriptionIsThere(const std::string& subscriptionID);
  void saveZoneAgain();
  void accountIsUnknown();
  /// An answer may still come while the manager ends, and the queue of operations with it.
  void cancelAllOperations();
  /// And flushes the defaults. False after a failure, which is on the system log.
  bool store(const char* key, const PropertyListValue& value);

  // In SyncManagerPush.cpp
  using Operations = std::vector<std::shared_ptr<NSOperation>>;
  void push(std::size_t split);
  bool hasSubscription();
  Operations pushLocalChangesOperations(std::size_t split);
  void schedule(const Operations& operations);
  void localChangesPushed(const std::vector<CKRecord>& saved,
                          const std::vector<CKRecordID>& deleted);
  void pushFailed(const std::optional<CKRecordID>& recordID, const CKError& error,
                  std::size_t split);
  void tellFailure(PushReaction reaction, const CKError& error) const;
  void repushLocalChangesAfter(double seconds);
  void repushAfter(const CKError& error);
  void retry(std::size_t round);

  // In SyncManagerFetch.cpp
  void fetch(FetchCompletion completion);
  void recordChanged(FetchPass& pass, const CKRecord& record);
  void zoneFetchCompleted(const FetchPass& pass,
                          const CKFetchRecordZoneChangesOperation::ZoneResult& result,
                          const FetchCompletion& completion);
  bool storePass(const FetchPass& pass, const std::string& page,
                 const std::optional<CKServerChangeToken>& token);
  std::optional<CKServerChangeToken> serverToken();
  /// False when the queue could not be written, which then is as it was.
  bool mergeConflict(const CKRecord& server, const CKRecord& localNew, const CKRecord& localOld);

  void ubiqStoreDidChange();
  void record(const std::function<void(LocalChangesEdit&)>& edit);
  void print(const std::string& line) { platform_.standardOutput.print(line); }
  void tell(const SyncEvent& event) const;
  /// Runs the task on the sync queue, unless the manager has come to its end.
  void onSyncQueue(std::function<void()> task);

  Platform& platform_;
  NSUserDefaults& defaults_;
  std::function<void()> reloadContentBlocker_;
  SyncObserver observer_;
  RecordMetadata metadata_;
  LocalChangesQueue localChanges_;
  FetchedPages fetchedPages_;
  ResultsHandler resultsHandler_;
  std::unique_ptr<Executor> syncQueue_;
  std::optional<NSOperationQueue> queue_;
  /// None without a cloud.
  std::optional<CKContainer> container_;
  bool pendingOnAccountUnavailable_ = false;
  std::optional<CKAccountStatus> lastAccountStatus_;
  CKRecordZone zone_{zoneName};
  /// In seconds.
  double lastRequestDelay_ = defaultRequestDelay;
  /// How many pushes there were, so that one that waits for the account knows that it is replaced.
  std::size_t pushCount_ = 0;
  /// How many of them were retries.
  std::size_t retryRound_ = 0;
  std::vector<std::weak_ptr<NSOperation>> fetches_;
  /// How many wishes and requests for changes have not been dealt with.
  std::atomic<int> fetchCount_ = 0;
  bool isEnding_ = false;

  // Of the main queue.
  std::vector<NSNotificationCenter::Observation> observations_;
  std::shared_ptr<void> lifetime_ = std::make_shared<char>();
};

}  // namespace orvane
