#pragma once

#include <cstdint>
#include <string_view>

#include "Platform/Foundation/NSURL.h"

namespace orvane {

// NOLINTBEGIN(readability-identifier-naming): the platform's own names
using NSWorkspaceLaunchOptions = std::uint32_t;
/// The program starts without coming to the front.
inline constexpr NSWorkspaceLaunchOptions NSWorkspaceLaunchWithoutActivation = 0x00000200;
/// The program starts with its windows hidden.
inline constexpr NSWorkspaceLaunchOptions NSWorkspaceLaunchAndHide = 0x00100000;
// NOLINTEND(readability-identifier-naming)

/// Starts other programs of this machine, and has them open things. Main queue.
class NSWorkspace {
 public:
  NSWorkspace() = default;
  NSWorkspace(const NSWorkspace&) = delete;
  NSWorkspace& operator=(const NSWorkspace&) = delete;
  virtual ~NSWorkspace() = default;

  /// Starts the program with that bundle identifier, or leaves it to the one that runs already.
  /// Does not wait for it. False when there is no such program or it cannot be started.
  virtual bool launchApp(std::string_view bundleIdentifier, NSWorkspaceLaunchOptions options) = 0;

  /// Has the user's program for such URLs open this one. Does not wait for it. False when there is
  /// no such program.
  virtual bool openURL(const NSURL& url) = 0;
};

}  // namespace orvane
