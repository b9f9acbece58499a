#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "BlockerKit/Catalogue/BlockerPreferenceManager.h"
#include "BlockerKit/Catalogue/SafariReloadingResult.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "Platform/Foundation/NSOperationQueue.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Platform/Foundation/Published.h"
#include "Platform/Platform.h"
#include "SafariExtension/Reload/BlockerReloadOperation.h"
#include "SafariExtension/Reload/ReloadReport.h"

namespace orvane {

/// The one place where the catalogue becomes the browser's blocker list and the browser is made to
/// load it. Main queue; the list is built and written on a queue of its own.
///
/// A burst of requests ends in two writes at the most. The first request asks the browser whether
/// the content blocker is enabled. The others cannot share the answer, since the user may change
/// the setting after it was given; they wait for one further question, and of those that wait only
/// the newest is queued. It stands for the others, whose operations it would have cancelled.
class Safari {
 public:
  static constexpr const char* contentBlockerIdentifier =
      "com.tessaly.BlockerMac.BlockerMacExtension";
  static constexpr const char* disabledNotification = "BlockerExtensionDisabled";
  static constexpr const char* errorDomain = "orvane";
  static constexpr int disabledErrorCode = 500;

  static NSOperationQueue::Properties reloadQueueProperties();

  /// All arguments outlive this object. The blockers are enabled by the preferences of each reload;
  /// `catalogue` tells whether the pre-installed packages are loaded, without which no list is
  /// built.
  Safari(Platform& platform, PersistentStore& store, NSUserDefaults& defaults,
         const Published<Catalogue>& catalogue, ReloadObserver observer);
  Safari(const Safari&) = delete;
  Safari& operator=(const Safari&) = delete;
  /// Waits for a list that is being built or written. Reloads that have not begun never will, and
  /// answers of the browser that come later have no effect.
  ~Safari() = default;

  /// Asks for a reload, and returns at once. A reload that waits is given up for this one, and so
  /// is one that runs, if it allows it. `preferences` outlives this object.
  ///
  /// `handler`, which may be empty, is called on the main queue with the browser's answer, with an
  /// error of the domain above when the content blocker is switched off in the browser, or with the
  /// error because of which the user's settings cannot be read, so that no list is built. It is
  /// not called when the reload is given up, when the browser does not tell whether the content
  /// blocker is enabled, or when the pre-installed packages are not loaded.
  void reload(BlockerPreferenceManager& preferences, bool allowsCancelling,
              SafariReloadingHandler handler);

 private:
  struct Request {
    BlockerPreferenceManager* preferences;
    bool allowsCancelling;
    SafariReloadingHandler handler;
  };
  using Requests = std::vector<Request>;

  void askForState();
  void tellState(const std::optional<SFContentBlockerState>& state,
                 const std::optional<NSError>& error);
  void enqueue(Request request);

  std::shared_ptr<const ReloadEnvironment> environment_;
  Requests asking_;   ///< what the question that the browser has not answered yet is about
  Requests waiting_;  ///< for the next question
  std::optional<NSOperationQueue> queue_;
};

}  // namespace orvane
