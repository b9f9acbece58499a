#include "Apps/Companion/ChangeCommand.h"

#include <fmt/format.h>

#include "Apps/Companion/BrowserWait.h"
#include "Apps/Companion/CompanionStatus.h"
#include "Apps/Companion/Failure.h"
#include "Apps/Companion/Printable.h"
#include "SafariExtension/Reload/CompanionApplication.h"

namespace orvane {

bool opensSharedSettings(Platform& platform) {
  if (platform.userDefaultsSuite(PersistentStore::applicationGroup) != nullptr) return true;
  complain("The settings that Orvane's programs share cannot be opened; nothing has changed.");
  return false;
}

ChangeCommand::ChangeCommand(LinuxPlatform& machine, const ChangeOptions& options)
    : machine_(machine), options_(options), process_(machine.platform()) {}

bool ChangeCommand::canStore() {
  if (!opensSharedSettings(platform())) return false;
  earlierAttempt_ = companionStatus(process_.defaults()).attempt;
  return true;
}

bool ChangeCommand::tellCompanion(const ChangeAnswer& answer) {
  if (answer.change == ChangeAnswer::Change::none && !options_.waits) return true;
  const bool isLaunched = launchCompanionHidden(platform().workspace);
  if (answer.change == ChangeAnswer::Change::packageFiles) {
    process_.communication().send(Communication::Message::reloadRulesFromDisk);
  }
  if (!isLaunched) {
    complain("The companion, which gives the browser its list, cannot be started.");
  }
  return isLaunched;
}

bool ChangeCommand::wait(const ChangeAnswer& answer) {
  const auto obstacle =
      waitForBrowser(machine_, process_,
                     {.earlierAttempt = earlierAttempt_,
                      .isOfLaterAttempt = answer.change != ChangeAnswer::Change::none,
                      .timeout = std::chrono::seconds(options_.timeout)});
  if (obstacle) complain(*obstacle);
  return !obstacle;
}

int ChangeCommand::conclude(const ChangeAnswer& answer) {
  if (!options_.asJSON) {
    for (const auto& line : answer.lines) fmt::print("{}\n", printable(line));
    static_cast<void>(std::fflush(stdout));
  }
  const bool isTold = tellCompanion(answer);
  const bool browserHasList = options_.waits && isTold && wait(answer);
  if (options_.asJSON) {
    printJSON([&](JSONWriter& writer) {
      writer.StartObject();
      writeBoolean(writer, "changed", answer.change != ChangeAnswer::Change::none);
      answer.members(writer);
      if (options_.waits) writeBoolean(writer, "browserHasList", browserHasList);
      writer.EndObject();
    });
  } else if (browserHasList) {
    fmt::print("The browser has the list.\n");
  }
  return isTold && (browserHasList || !options_.waits) ? 0 : 1;
}

}  // namespace orvane
