#include "SafariExtension/Reload/Safari.h"

#include <utility>

#include <fmt/format.h>

namespace orvane {
namespace {

constexpr const char* disabledText =
    "Error reloading Safari content blocker: it's disabled in Settings";

NSError disabledError() { return {Safari::errorDomain, Safari::disabledErrorCode, disabledText}; }

void refuse(const std::shared_ptr<const ReloadEnvironment>& environment,
            const SafariReloadingHandler& handler) {
  auto& platform = environment->platform;
  platform.standardOutput.print(disabledText);
  platform.standardOutput.print("Content blocker extension is disabled in Settings");
  platform.notificationCenter.post({.name = Safari::disabledNotification, .object = "Safari"});
  if (!handler) return;
  platform.mainQueue.post([lifetime = std::weak_ptr(environment), handler] {
    if (!lifetime.expired()) handler(SafariReloadingResult::error(disabledError()));
  });
}

}  // namespace

NSOperationQueue::Properties Safari::reloadQueueProperties() {
  return {.name = "Write JSON and reload Safari",
          .maxConcurrentOperationCount = 1,
          .qualityOfService = NSQualityOfService::userInitiated};
}

Safari::Safari(Platform& platform, PersistentStore& store, NSUserDefaults& defaults,
               const Published<Catalogue>& catalogue, ReloadObserver observer)
    : environment_(std::make_shared<const ReloadEnvironment>(
          ReloadEnvironment{platform, store, defaults, catalogue, std::move(observer)})) {}

void Safari::reload(BlockerPreferenceManager& preferences, bool allowsCancelling,
                    SafariReloadingHandler handler) {
  Request request{&preferences, allowsCancelling, std::move(handler)};
  if (!environment_->platform.contentBlockerManager.hasStateQuery()) {
    return enqueue(std::move(request));
  }
  waiting_.push_back(std::move(request));
  askForState();
}

void Safari::askForState() {
  if (waiting_.empty() || !asking_.empty()) return;
  asking_ = std::exchange(waiting_, {});
  environment_->platform.contentBlockerManager.getStateOfContentBlocker(
      contentBlockerIdentifier,
      [this, lifetime = std::weak_ptr(environment_)](
          const std::optional<SFContentBlockerState>& state, const std::optional<NSError>& error) {
        if (!lifetime.expired()) tellState(state, error);
      });
}

void Safari::tellState(const std::optional<SFContentBlockerState>& state,
                       const std::optional<NSError>& error) {
  auto requests = std::exchange(asking_, {});
  askForState();
  if (!state) {
    for (std::size_t i = 0; i < requests.size(); ++i) {
      environment_->platform.standardOutput.print(
          fmt::format("Can't check blocker state {}", error->localizedDescription));
    }
  } else if (state->isEnabled) {
    enqueue(std::move(requests.back()));
  } else {
    // Whoever is told of the notification may end this object.
    const auto environment = environment_;
    for (const auto& request : requests) refuse(environment, request.handler);
  }
}

void Safari::enqueue(Request request) {
  if (!queue_) queue_.emplace(environment_->platform.makeSerialQueue, reloadQueueProperties());
  queue_->cancelAllOperations();
  queue_->addOperation(std::make_shared<BlockerReloadOperation>(
      environment_, *request.preferences, std::move(request.handler), request.allowsCancelling));
}

}  // namespace orvane
