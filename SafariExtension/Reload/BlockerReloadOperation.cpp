#include "SafariExtension/Reload/BlockerReloadOperation.h"

#include <optional>
#include <span>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "SafariExtension/Reload/Communication.h"
#include "SafariExtension/Reload/Safari.h"

namespace orvane {
namespace {

SafariReloadingResult resultOf(const std::optional<NSError>& error) {
  return error ? SafariReloadingResult::error(*error) : SafariReloadingResult::success();
}

void printAnswer(const ReloadEnvironment& environment, const SafariReloadingResult& result) {
  const auto* error = result.failure();
  environment.platform.standardOutput.print(
      error == nullptr
          ? "Reloaded Safari"
          : fmt::format("Error reloading Safari JSON: {}", error->localizedDescription));
}

void tell(const ReloadEnvironment& environment, const ReloadReport& report,
          const SafariReloadingHandler& handler) {
  if (environment.observer) environment.observer(report);
  if (handler) handler(report.result);
}

}  // namespace

BlockerReloadOperation::BlockerReloadOperation(
    const std::shared_ptr<const ReloadEnvironment>& environment,
    BlockerPreferenceManager& preferences, SafariReloadingHandler handler, bool allowsCancelling)
    : environment_(*environment),
      lifetime_(environment),
      preferences_(preferences),
      handler_(std::move(handler)),
      allowsCancelling_(allowsCancelling) {}

BlockerReloadOperation::~BlockerReloadOperation() {
  if (!handler_) return;
  // What a handler holds belongs to the main queue, where it goes away also if it is never called.
  environment_.platform.mainQueue.post([handler = std::move(handler_)] {});
}

void BlockerReloadOperation::main() {
  if (isToStop()) return;
  auto& output = environment_.platform.standardOutput;
  if (environment_.catalogue.get()->preinstalled->empty()) {
    output.print("⛔️ Don't writing to tmp.json because DataManager.Preinstalled is empty");
    return;
  }
  const auto isPaused = readIsPaused();
  if (!isPaused) return giveUp(isPaused.error());
  const auto blockers = readBlockers(*isPaused);
  if (!blockers) return giveUp(blockers.error());
  if (isToStop()) return;
  const bool isWritten = environment_.store.writeBlockersToSafariJSONFile(
      blockers->empty() ? std::nullopt : std::optional(std::span(*blockers)));
  if (isToStop()) return;
  output.print("Updating content blocker extension");
  askForReload({.isPaused = *isPaused,
                .blockerCount = blockers->size(),
                .isWritten = isWritten,
                .result = SafariReloadingResult::success()});
}

Expected<bool> BlockerReloadOperation::readIsPaused() {
  return environment_.defaults.read(Communication::pausedKey)
      .map([](const KeyValueStore::Value& value) {
        const auto* isPaused = value ? value->as<bool>() : nullptr;
        return isPaused != nullptr && *isPaused;
      });
}

Expected<std::vector<Blocker>> BlockerReloadOperation::readBlockers(bool isPaused) {
  if (isPaused) return std::vector<Blocker>();
  return preferences_.readDisabledIDs().map(
      [this](const BlockerPreferenceManager::DisabledIDs& disabled) {
        return preferences_.enabledBlockers(disabled.packages, disabled.rules);
      });
}

/// Settings that cannot be read are not settings that are absent: a list that was built without
/// them would block what the user has switched off.
void BlockerReloadOperation::giveUp(const NSError& error) {
  ReloadReport report{.isListBuilt = false, .result = SafariReloadingResult::error(error)};
  environment_.platform.mainQueue.post([lifetime = lifetime_, report = std::move(report),
                                        handler = std::exchange(handler_, nullptr)] {
    if (const auto environment = lifetime.lock()) tell(*environment, report, handler);
  });
}

/// The answer comes when the operation is finished, perhaps after the end of the process's part.
void BlockerReloadOperation::askForReload(ReloadReport report) {
  auto& platform = environment_.platform;
  platform.contentBlockerManager.reloadContentBlocker(
      Safari::contentBlockerIdentifier,
      [&mainQueue = platform.mainQueue, lifetime = lifetime_, report = std::move(report),
       handler = std::exchange(handler_, nullptr)](const std::optional<NSError>& error) mutable {
        report.result = resultOf(error);
        mainQueue.post([lifetime, report = std::move(report), handler = std::move(handler)] {
          const auto environment = lifetime.lock();
          if (!environment) return;
          printAnswer(*environment, report.result);
          tell(*environment, report, handler);
        });
      });
}

}  // namespace orvane
