#pragma once

#include <functional>
#include <span>
#include <vector>

#include "BlockerKit/Model/Package.h"
#include "BlockerKit/SyncManager/LocalChangesQueue.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Platform/Platform.h"

namespace orvane {

/// What talks to the cloud once a change is in the queue.
struct SyncRequests {
  /// Sends what is in the queue, in `split` pieces.
  std::function<void(int split)> pushAllLocalUpdates;
  std::function<void()> fetchRemoteChanges;
};

/// Keeps the packages of the user's machines the same.
///
/// Each hook puts its change into the queue, in one transaction, so that a package or rule is never
/// both added and deleted whatever other processes do meanwhile; flushes the defaults; and asks for
/// a push, also when the change could not be stored, which the system log then says. Any thread.
class SyncManager {
 public:
  static constexpr const char* zoneSavedKey = "ZoneSaved";

  /// `platform` and `defaults`, which the user's processes share, outlive the manager.
  SyncManager(Platform& platform, NSUserDefaults& defaults, SyncRequests requests);

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

 private:
  void record(const std::function<void(LocalChangesEdit&)>& edit);

  Platform& platform_;
  NSUserDefaults& defaults_;
  SyncRequests requests_;
  LocalChangesQueue localChanges_;
};

}  // namespace orvane
