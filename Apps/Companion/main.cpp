#include <cstdio>

#include <fmt/format.h>
#include <unistd.h>

#include "Apps/Companion/CommandLine.h"
#include "Apps/Companion/CommandLog.h"
#include "Apps/Companion/CompanionCommand.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "Linux/GLib/SystemLog.h"
#include "Linux/Posix/DiagnosticLog.h"

namespace {

using namespace orvane;

/// Without the folder that the programs share nothing can be read or written; says so.
bool hasSharedContainer(LinuxPlatform& machine) {
  const auto data = machine.directories().data;
  if (!data) {
    fmt::print(stderr, "orvane: There is no home folder; set HOME or XDG_DATA_HOME.\n");
    return false;
  }
  if (machine.platform().fileManager.containerURLForSecurityApplicationGroupIdentifier(
          PersistentStore::applicationGroup)) {
    return true;
  }
  fmt::print(stderr, "orvane: The folder for Orvane's files cannot be made in '{}'.\n",
             data->string());
  return false;
}

/// An answer that nobody gets is a failure.
bool isWritten(std::FILE* output) {
  if (std::fflush(output) == 0 && std::ferror(output) == 0) return true;
  fmt::print(stderr, "orvane: The answer cannot be written.\n");
  return false;
}

int run(int argc, char** argv) {
  const auto commandLine = parseCommandLine(argc, argv);
  if (commandLine.exitStatus) return *commandLine.exitStatus;
  if (commandLine.plainCommand) return commandLine.plainCommand();

  const bool isCompanion = commandLine.command == nullptr;
  SystemLog systemLog;
  CommandLog commandLog;
  const auto log = openDiagnosticLog(XDGDirectories::ofThisProcess().state);
  LinuxPlatform machine(PersistentStore::applicationGroup, isCompanion ? STDOUT_FILENO : log.get(),
                        isCompanion ? static_cast<LineOutput&>(systemLog) : commandLog);
  if (!hasSharedContainer(machine)) return 1;
  return isCompanion ? runCompanionCommand(machine) : commandLine.command(machine);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const int status = run(argc, argv);
    return isWritten(stdout) ? status : 1;
  } catch (const std::exception& error) {
    static_cast<void>(std::fprintf(stderr, "orvane: %s\n", error.what()));
    return 1;
  }
}
