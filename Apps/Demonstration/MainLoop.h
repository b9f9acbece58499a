#pragma once

#include <chrono>
#include <functional>

namespace orvane {

/// Runs the default main context until `isDone` says so; false when `limit` passed before.
bool runMainLoopUntil(const std::function<bool()>& isDone, std::chrono::milliseconds limit);

}  // namespace orvane
