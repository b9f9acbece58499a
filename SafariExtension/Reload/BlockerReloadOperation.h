#pragma once

#include <memory>
#include <vector>

#include "BlockerKit/Catalogue/BlockerPreferenceManager.h"
#include "BlockerKit/Catalogue/SafariReloadingResult.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "Platform/Foundation/NSOperation.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Platform/Foundation/Published.h"
#include "Platform/Platform.h"
#include "SafariExtension/Reload/ReloadReport.h"

namespace orvane {

/// What all reloads of a process work with. The references outlive the value.
struct ReloadEnvironment {
  Platform& platform;
  PersistentStore& store;
  NSUserDefaults& defaults;
  const Published<Catalogue>& catalogue;
  ReloadObserver observer;
};

/// Builds the blocker list, writes it, and has the browser load it. Runs on any thread; what the
/// browser answers is dealt with on the main queue.
class BlockerReloadOperation : public NSOperation {
 public:
  /// The environment outlives the operation. The browser's answer may come after the end of both,
  /// and then nobody hears of it. `preferences` lives until the operation is finished.
  ///
  /// `handler` is called once the browser has answered; when the operation ends before it has asked
  /// the browser, it is not called. Without `allowsCancelling` an operation that has begun goes on
  /// to its end.
  BlockerReloadOperation(const std::shared_ptr<const ReloadEnvironment>& environment,
                         BlockerPreferenceManager& preferences, SafariReloadingHandler handler,
                         bool allowsCancelling);
  BlockerReloadOperation(const BlockerReloadOperation&) = delete;
  BlockerReloadOperation& operator=(const BlockerReloadOperation&) = delete;
  ~BlockerReloadOperation() override;

 protected:
  void main() override;

 private:
  Expected<bool> readIsPaused();
  Expected<std::vector<Blocker>> readBlockers(bool isPaused);
  void giveUp(const NSError& error);
  bool isToStop() const { return isCancelled() && allowsCancelling_; }
  void askForReload(ReloadReport report);

  const ReloadEnvironment& environment_;
  std::weak_ptr<const ReloadEnvironment> lifetime_;
  BlockerPreferenceManager& preferences_;
  SafariReloadingHandler handler_;
  bool allowsCancelling_;
};

}  // namespace orvane
