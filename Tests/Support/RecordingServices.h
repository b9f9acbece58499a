#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/AppKit/NSWorkspace.h"
#include "Platform/Foundation/Executor.h"
#include "Platform/SafariServices/SFContentBlockerManager.h"

namespace orvane::test {

/// A browser whose answers a test orders. They come on the main queue, later than they were asked
/// for; while it is told to wait they come when the test says so.
class RecordingContentBlockerManager final : public SFContentBlockerManager {
 public:
  explicit RecordingContentBlockerManager(Executor& mainQueue) : mainQueue_(mainQueue) {}

  bool hasStateQuery() const override { return canBeAsked; }
  void getStateOfContentBlocker(std::string_view identifier, StateCompletion completion) override {
    stateQueries.emplace_back(identifier);
    answer([this, completion = std::move(completion)] { completion(state, stateError); });
  }
  void reloadContentBlocker(std::string_view identifier, ReloadCompletion completion) override {
    reloads.emplace_back(identifier);
    answer([completion = std::move(completion), error = reloadError] { completion(error); });
  }

  /// Gives the answers that were held back.
  void answerAll() {
    for (auto& held : std::exchange(held_, {})) mainQueue_.post(std::move(held));
  }

  bool canBeAsked = true;
  std::optional<SFContentBlockerState> state = SFContentBlockerState{};
  std::optional<NSError> stateError = std::nullopt;
  std::optional<NSError> reloadError = std::nullopt;
  bool holdsAnswersBack = false;
  /// The identifiers that were asked for.
  std::vector<std::string> stateQueries;
  std::vector<std::string> reloads;

 private:
  void answer(Executor::Task task) {
    if (holdsAnswersBack) {
      held_.push_back(std::move(task));
    } else {
      mainQueue_.post(std::move(task));
    }
  }

  Executor& mainQueue_;
  std::vector<Executor::Task> held_;
};

/// Starts nothing, and remembers what it was to start.
class RecordingWorkspace final : public NSWorkspace {
 public:
  struct Launch {
    std::string bundleIdentifier;
    NSWorkspaceLaunchOptions options;
    friend bool operator==(const Launch&, const Launch&) = default;
  };

  bool launchApp(std::string_view bundleIdentifier, NSWorkspaceLaunchOptions options) override {
    if (onLaunch) onLaunch();
    launches.push_back({std::string(bundleIdentifier), options});
    return true;
  }

  bool openURL(const NSURL& url) override {
    openedURLs.push_back(url.absoluteString());
    return true;
  }

  std::vector<Launch> launches;
  /// Called when something is launched.
  std::function<void()> onLaunch;
  std::vector<std::string> openedURLs;
};

}  // namespace orvane::test
