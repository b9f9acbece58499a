#pragma once

#include <chrono>
#include <functional>

namespace orvane {

/// From now on SIGINT and SIGTERM do not end the process but every wait, so that it cleans up.
void endWaitsOnSignals();

/// Whether such a signal has arrived.
bool wasInterrupted();

/// Runs the default main context until `isDone` says so; false when `limit` passed before, or when
/// a signal ended the wait.
bool runMainLoopUntil(const std::function<bool()>& isDone, std::chrono::milliseconds limit);

}  // namespace orvane
