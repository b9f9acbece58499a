#pragma once

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

#include "BlockerKit/SyncManager/LocalChangesEdit.h"
#include "BlockerKit/SyncManager/RecordsToSave.h"
#include "Platform/CloudKit/CKRecordID.h"
#include "Platform/Foundation/NSUserDefaults.h"

namespace orvane {

/// Changes as they are sent.
struct LocalChanges {
  /// Of what was added.
  RecordsToSave recordsToSave;
  /// Of what was deleted: rules, then packages.
  std::vector<CKRecordID> recordIDsToDelete;
};

struct LocalChangesCount {
  std::size_t packagesToSave = 0;
  std::size_t rulesToSave = 0;
  std::size_t packagesToDelete = 0;
  std::size_t rulesToDelete = 0;

  std::size_t total() const {
    return packagesToSave + rulesToSave + packagesToDelete + rulesToDelete;
  }
};

/// Every change of packages and rules on this machine that has not reached the cloud, whichever
/// process has made it, across launches. Keeps nothing in memory: it is under keys of the user
/// defaults that `LocalChangesEdit` describes. Any thread.
///
/// A change costs the same however many others wait, but for those of the lists of deleted
/// identifiers, which are written whole.
class LocalChangesQueue {
 public:
  static constexpr const char* existingDataMarkedAsAddedKey = "ExistingDataMarkedAsAdded";

  /// Both outlive the queue.
  LocalChangesQueue(NSUserDefaults& defaults, LineOutput& systemLog)
      : defaults_(defaults), systemLog_(systemLog) {}

  /// Does all of `edit`, or, when the defaults cannot be written, which the system log then says,
  /// nothing of it; no change of another process comes in between. Does not flush the defaults.
  /// `edit` must not use the defaults otherwise.
  Expected<void> change(const std::function<void(LocalChangesEdit&)>& edit);

  /// Whether a rule or a package of that name was added.
  bool containsAdded(std::string_view recordName);

  /// All that waits, as of one moment: a change of another process in between would make one rule
  /// both saved and deleted.
  LocalChanges all(const CKRecordZoneID& zoneID);

  /// How much waits.
  LocalChangesCount count();

  /// Whether the packages that were there before the first sync are in the queue, or were.
  bool existingDataIsMarkedAsAdded();

  /// Puts these packages and their rules in the place of all that was added, unless they or others
  /// were put there before, and flushes the defaults.
  void markExistingDataAsAdded(const std::vector<Package>& packages);

 private:
  NSUserDefaults& defaults_;
  LineOutput& systemLog_;
};

}  // namespace orvane
