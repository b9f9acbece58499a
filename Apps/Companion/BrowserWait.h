#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "Linux/LinuxPlatform.h"
#include "Process/Process.h"

namespace orvane {

/// What is waited for, and for how long.
struct AwaitedList {
  /// The companion's, before anything was changed; what it says of it is of no account.
  std::string earlierAttempt;
  /// Whether the list has to come of a later attempt. After a change the right list may be in force
  /// only because the companion is still at an earlier change, which this one has undone.
  bool isOfLaterAttempt = false;
  std::chrono::seconds timeout;
};

/// Waits until the browser has the list that packages, preferences and "paused" on disk demand,
/// whoever builds it and however often what they demand changes meanwhile. Nothing once the browser
/// has it, else why there is no more waiting: the content blocker is switched off, the companion
/// has failed in a later attempt and does not recover, or the time is up. Runs the default main
/// context.
std::optional<std::string> waitForBrowser(LinuxPlatform& machine, Process& process,
                                          const AwaitedList& awaited);

}  // namespace orvane
