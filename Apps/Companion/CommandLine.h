#pragma once

#include <functional>
#include <optional>

#include "Linux/LinuxPlatform.h"

namespace orvane {

/// What the user has asked for; nothing of it has been done.
struct CommandLine {
  /// There is nothing to do, since help was asked for or the command makes no sense; both have been
  /// said.
  std::optional<int> exitStatus;
  /// A command that touches nothing of the user's, or else one that does. When neither is there the
  /// companion is wanted. The results are exit statuses.
  std::function<int()> plainCommand;
  std::function<int(LinuxPlatform&)> command;
};

CommandLine parseCommandLine(int argc, char** argv);

}  // namespace orvane
