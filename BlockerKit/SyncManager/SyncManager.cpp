#include "BlockerKit/SyncManager/SyncManager.h"

#include <string>
#include <utility>

#include <fmt/format.h>

#include "BlockerKit/SyncManager/CloudOperations.h"
#include "BlockerKit/SyncManager/ErrorReaction.h"
#include "Platform/CloudKit/CKModifyRecordZonesOperation.h"
#include "Platform/CloudKit/CKModifySubscriptionsOperation.h"

namespace orvane {
namespace {

constexpr std::string_view duplicatePrefix = "duplicate of ";

std::vector<std::string> identifiersOf(std::span<const Rule> rules) {
  std::vector<std::string> identifiers;
  identifiers.reserve(rules.size());
  for (const auto& rule : rules) identifiers.push_back(rule.id);
  return identifiers;
}

void addRules(LocalChangesEdit& edit, std::span<const Rule> rules, const Package& package) {
  edit.unmarkDeleted(identifiersOf(rules), RecordKind::rule);
  edit.addRules(rules, package.id);
}

/// Of the subscription that is there already.
std::optional<std::string> duplicateID(const CKError& error) {
  const auto& text = error.localizedDescription;
  const auto start = text.find(duplicatePrefix);
  if (start == std::string::npos) return std::nullopt;
  return text.substr(start + duplicatePrefix.size());
}

}  // namespace

NSOperationQueue::Properties SyncManager::queueProperties() {
  return {.name = "Schedule CloudKit requests",
          .maxConcurrentOperationCount = 1,
          .qualityOfService = NSQualityOfService::utility};
}

SyncManager::SyncManager(Platform& platform, NSUserDefaults& defaults, DataManager& dataManager,
                         Cloud cloud, std::function<void()> reloadContentBlocker,
                         SyncObserver observer)
    : platform_(platform),
      defaults_(defaults),
      reloadContentBlocker_(std::move(reloadContentBlocker)),
      observer_(std::move(observer)),
      metadata_(platform.standardOutput),
      localChanges_(defaults, platform.systemLog),
      fetchedPages_(defaults),
      resultsHandler_(
          platform.mainQueue, dataManager,
          [this](const std::vector<std::string>& pages) { return fetchedPages_.remove(pages); }) {
  if (cloud == Cloud::none) return;
  syncQueue_ = platform.makeSerialQueue("sync");
  queue_.emplace(platform.makeSerialQueue, queueProperties());
  container_.emplace(
      containerIdentifier,
      CKDatabase::Connection{platform.cloud, platform.cloudQueue, *syncQueue_, platform.systemLog});
  for (const auto& page : fetchedPages_.stored(zone_.zoneID)) {
    resultsHandler_.append(remoteChanges(page.pass), page.name);
  }
  auto& center = platform.notificationCenter;
  observations_.push_back(center.addObserver(CKAccountChanged, [this](const NSNotification&) {
    onSyncQueue([this] { accountStatusChanged(); });
  }));
  observations_.push_back(
      center.addObserver(NSUbiquitousKeyValueStoreDidChangeExternallyNotification,
                         [this](const NSNotification&) { ubiqStoreDidChange(); }));
}

SyncManager::~SyncManager() {
  observations_.clear();
  if (!container_) return;
  syncQueue_->runAndWait([this] {
    isEnding_ = true;
    queue_->cancelAllOperations();
    for (const auto& fetching : fetches_) {
      if (const auto operation = fetching.lock()) operation->cancel();
    }
  });
  queue_.reset();
  // What is asked there answers on the sync queue, which must still be there.
  platform_.cloudQueue.runAndWait([] {});
  syncQueue_.reset();
}

void SyncManager::packageAdded(const Package& package) {
  record([&](LocalChangesEdit& edit) {
    edit.unmarkDeleted({package.id}, RecordKind::package);
    edit.addPackage(package.id, package.name);
    addRules(edit, package.rules, package);
  });
}

void SyncManager::packageDeleted(const Package& package) {
  record([&](LocalChangesEdit& edit) {
    const auto rules = identifiersOf(package.rules);
    edit.markDeleted({package.id}, RecordKind::package);
    edit.removeAdded({package.id}, RecordKind::package);
    edit.removeAdded(rules, RecordKind::rule);
    edit.markDeleted(rules, RecordKind::rule);
  });
}

void SyncManager::ruleAdded(const Rule& rule, const Package& package) {
  ruleCollectionAdded({&rule, 1}, package);
}

void SyncManager::ruleCollectionAdded(std::span<const Rule> rules, const Package& package) {
  record([&](LocalChangesEdit& edit) { addRules(edit, rules, package); });
}

/// The rules of a package are records of their own, so that of the package stays as it is.
void SyncManager::ruleDeleted(const Rule& rule, const Package& /*package*/) {
  record([&](LocalChangesEdit& edit) {
    edit.removeAdded({rule.id}, RecordKind::rule);
    edit.markDeleted({rule.id}, RecordKind::rule);
  });
}

void SyncManager::update(const std::vector<Package>& packages) {
  if (!packages.empty() && !localChanges_.existingDataIsMarkedAsAdded()) {
    print("Preparing packages for initial sync");
    localChanges_.markExistingDataAsAdded(packages);
  }
  onSyncQueue([this] {
    push(1);
    if (defaults_.boolForKey(zoneSavedKey)) fetch(nullptr);
  });
}

void SyncManager::record(const std::function<void(LocalChangesEdit&)>& edit) {
  (void)localChanges_.change(edit);
  defaults_.synchronize();
  pushAllLocalUpdates(1);
}

void SyncManager::tell(const SyncEvent& event) const {
  if (observer_) observer_(event);
}

void SyncManager::onSyncQueue(std::function<void()> task) {
  if (!container_) return;
  syncQueue_->post([this, task = std::move(task)] {
    if (!isEnding_) task();
  });
}

void SyncManager::handleNotification(const CKNotification& /*notification*/,
                                     FetchCompletion completion) {
  fetchRemoteChanges(std::move(completion));
}

void SyncManager::updateAccountStatus(std::function<void(bool)> completion) {
  if (isEnding_) return;
  print("Checking account status...");
  container_->accountStatus([this, completion = std::move(completion)](
                                CKAccountStatus status, const std::optional<CKError>& error) {
    if (error) {
      print(error->localizedDescription);
      tell(SyncFailureEvent{error->localizedDescription});
    } else {
      print(fmt::format("Current account status: {}", description(status)));
      lastAccountStatus_ = status;
      tell(SyncAccountEvent{std::string(description(status))});
    }
    completion(status == CKAccountStatus::available);
  });
}

void SyncManager::accountStatusChanged() {
  print("Account status changed!");
  lastAccountStatus_.reset();
  updateAccountStatus([this](bool isAvailable) {
    if (isAvailable && pendingOnAccountUnavailable_) push(1);
  });
}

void SyncManager::ubiqStoreDidChange() {
  print("Ubiq store got remote changes!");
  if (defaults_.boolForKey(BlockerPreferenceManager::storePreferencesLocallyKey)) return;
  platform_.ubiquitousStore.synchronize();
  platform_.notificationCenter.post({.name = remotePreferenceSyncNotification});
  reloadContentBlocker_();
}

std::shared_ptr<NSOperation> SyncManager::saveZone() {
  auto operation = saveZoneOperation(container_->privateCloudDatabase(), zone_);
  operation->setModifyRecordZonesCompletionBlock(
      [this](const auto& /*saved*/, const auto& /*deleted*/, const std::optional<CKError>& error) {
        zoneSaved(error);
      });
  return operation;
}

void SyncManager::zoneSaved(const std::optional<CKError>& error) {
  if (!error) {
    zoneIsThere();
    return;
  }
  print(fmt::format("Couldn't save zone {}", error->localizedDescription));
  // By the push that has taken the place of this one.
  if (error->code == CKErrorCode::operationCancelled) return;
  const auto deciding = decidingError(*error).error;
  switch (reactToSaveError(deciding)) {
    case SaveReaction::isThereAlready:
      print("Zone already exists (?)");
      zoneIsThere();
      break;
    case SaveReaction::zoneIsMissing:
    case SaveReaction::other:
      cancelAllOperations();
      break;
    case SaveReaction::retryLater:
    case SaveReaction::accountIsUnknown:
      break;
  }
}

/// Does what a zone and a subscription have in common, and leaves the rest to the caller.
SaveReaction SyncManager::reactToSaveError(const CKError& error) {
  const auto reaction = reactionToSaveError(error.code);
  if (reaction != SaveReaction::isThereAlready) tell(SyncFailureEvent{error.localizedDescription});
  if (reaction == SaveReaction::retryLater) repushAfter(error);
  if (reaction == SaveReaction::accountIsUnknown) accountIsUnknown();
  return reaction;
}

void SyncManager::zoneIsThere() {
  print("Zone saved successfully!");
  lastRequestDelay_ = defaultRequestDelay;
  // After a failure the cloud is asked once more than was necessary.
  (void)store(zoneSavedKey, true);
  fetch(nullptr);
}

std::shared_ptr<NSOperation> SyncManager::subscribeToChanges() {
  auto operation =
      subscribeToChangesOperation(container_->privateCloudDatabase(), zone_, platform_.makeUUID());
  operation->setModifySubscriptionsCompletionBlock(
      [this](const std::vector<CKSubscription>& saved, const std::optional<CKError>& error) {
        subscriptionSaved(saved, error);
      });
  return operation;
}

void SyncManager::subscriptionSaved(const std::vector<CKSubscription>& saved,
                                    const std::optional<CKError>& error) {
  if (!error) {
    const auto& subscriptionID = saved.front().subscriptionID;
    print(fmt::format("Subscription saved successfully! ID: {}", subscriptionID));
    subscriptionIsThere(subscriptionID);
    return;
  }
  print(fmt::format("Couldn't save subscription {}", error->localizedDescription));
  if (error->code == CKErrorCode::operationCancelled) return;
  const auto deciding = decidingError(*error).error;
  switch (reactToSaveError(deciding)) {
    case SaveReaction::isThereAlready:
      if (const auto subscriptionID = duplicateID(deciding)) {
        print(fmt::format("Subscription already exists (?) {}", *subscriptionID));
        subscriptionIsThere(*subscriptionID);
      }
      break;
    case SaveReaction::zoneIsMissing:
      saveZoneAgain();
      break;
    case SaveReaction::retryLater:
    case SaveReaction::accountIsUnknown:
    case SaveReaction::other:
      break;
  }
}

void SyncManager::subscriptionIsThere(const std::string& subscriptionID) {
  lastRequestDelay_ = defaultRequestDelay;
  (void)store(zoneSubscriptionIDKey, subscriptionID);
}

/// A zone that cannot be told to be missing would be missed by the next push as well.
void SyncManager::saveZoneAgain() {
  if (store(zoneSavedKey, false)) push(1);
}

void SyncManager::accountIsUnknown() {
  lastAccountStatus_.reset();
  pendingOnAccountUnavailable_ = true;
  cancelAllOperations();
}

void SyncManager::cancelAllOperations() {
  if (!isEnding_) queue_->cancelAllOperations();
}

bool SyncManager::store(const char* key, const PropertyListValue& value) {
  const auto stored = defaults_.setObject(value, key);
  defaults_.synchronize();
  return stored.has_value();
}

}  // namespace orvane
