#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "Linux/WebKitGTK/BrowserSettings.h"
#include "Platform/Foundation/Executor.h"
#include "Platform/SafariServices/SFContentBlockerManager.h"

namespace orvane {

/// The content-blocker manager of the browser on this machine. A reload runs the helper program
/// that compiles the blocker list, so that neither this process nor a browser waits for the
/// compiler. Any thread may ask; whatever a question takes is done on the main queue, after the
/// call.
class ContentBlockerManager final : public SFContentBlockerManager {
 public:
  struct Locations {
    std::filesystem::path helper;         ///< the program that compiles
    std::filesystem::path blockerList;    ///< the JSON list that it compiles
    std::filesystem::path compiledLists;  ///< where the compiled lists are kept
  };

  static constexpr std::chrono::seconds defaultLimit = std::chrono::minutes(5);

  /// `mainQueue` runs on the thread of the default main context, and outlives the manager. A helper
  /// that has not ended after `limit` is killed, which is an error.
  ContentBlockerManager(Executor& mainQueue, BrowserSettings settings, Locations locations,
                        std::chrono::seconds limit = defaultLimit);
  /// Completions that have not been called by then never are. Main queue.
  ~ContentBlockerManager() override;

  bool hasStateQuery() const override { return true; }
  void getStateOfContentBlocker(std::string_view identifier, StateCompletion completion) override;
  void reloadContentBlocker(std::string_view identifier, ReloadCompletion completion) override;

 private:
  /// Runs `task` on the main queue, unless the manager has ended by then.
  void onMainQueue(std::function<void()> task);
  void compile(ReloadCompletion completion);

  Executor& mainQueue_;
  BrowserSettings settings_;
  Locations locations_;
  std::chrono::seconds limit_;
  /// Expires with the manager; whoever is to call a completion asks it first, on the main queue.
  std::shared_ptr<void> lifetime_;
};

}  // namespace orvane
