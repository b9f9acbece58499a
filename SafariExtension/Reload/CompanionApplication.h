#pragma once

#include "Platform/AppKit/NSWorkspace.h"

namespace orvane {

/// The bundle identifier of the companion application.
inline constexpr const char* companionIdentifier = "com.tessaly.BlockerMac";

/// Starts the companion application without showing it, or leaves it at work, so that it finds what
/// has changed. False when it cannot be started.
inline bool launchCompanionHidden(NSWorkspace& workspace) {
  return workspace.launchApp(companionIdentifier,
                             NSWorkspaceLaunchWithoutActivation | NSWorkspaceLaunchAndHide);
}

}  // namespace orvane
