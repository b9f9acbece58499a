#include <cstdio>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "Apps/Companion/CheckCommand.h"
#include "Apps/Companion/DiagnosticLog.h"
#include "Apps/Companion/PackagesCommand.h"
#include "Apps/Companion/RebuildCommand.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"

namespace {

using namespace orvane;

constexpr int usageError = 2;

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
  CLI::App app("Blocks adverts, trackers and annoyances in the browser.", "orvane");
  app.require_subcommand(1);
  app.set_version_flag("--version", "orvane " ORVANE_VERSION);

  const auto* rebuild =
      app.add_subcommand("rebuild", "Build the blocker list from the packages and load it");
  auto* packages = app.add_subcommand("packages", "List the packages");
  bool asJSON = false;
  packages->add_flag("--json", asJSON, "Print JSON");
  auto* check = app.add_subcommand("check", "Say what is wrong with lists and packages");
  std::vector<std::string> checkedFiles;
  check->add_option("FILE", checkedFiles, "A list, a package or a list of packages")->required();
  check->add_flag("--json", asJSON, "Print JSON");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : usageError;
  }
  if (check->parsed()) return runCheckCommand(checkedFiles, asJSON);

  const auto log = openDiagnosticLog(XDGDirectories::ofThisProcess().state);
  LinuxPlatform machine(log.get());
  if (!hasSharedContainer(machine)) return 1;
  if (rebuild->parsed()) return runRebuildCommand(machine);
  return runPackagesCommand(machine, asJSON);
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
