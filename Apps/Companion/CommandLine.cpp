#include "Apps/Companion/CommandLine.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "Apps/Companion/AccountCommand.h"
#include "Apps/Companion/CheckCommand.h"
#include "Apps/Companion/CloudCommand.h"
#include "Apps/Companion/HideCommand.h"
#include "Apps/Companion/PackagesCommand.h"
#include "Apps/Companion/PauseCommand.h"
#include "Apps/Companion/RebuildCommand.h"
#include "Apps/Companion/SiteListCommand.h"
#include "Apps/Companion/StatusCommand.h"
#include "Apps/Companion/SwitchCommand.h"
#include "Apps/Companion/SyncCommand.h"

namespace orvane {
namespace {

constexpr int usageError = 2;

/// What the options and arguments of all commands are read into; only one command is given.
struct Arguments {
  ChangeOptions change;
  std::vector<std::string> files;
  bool printsIdentifiers = false;
  std::string identifiersOf;
  Switched switched;
  std::vector<std::string> domains;
  Hidden hidden;
  std::string serverAddress;
  CloudUser cloudUser;
};

class Declaration {
 public:
  explicit Declaration(CommandLine& parsed) : parsed_(parsed) {
    app_.require_subcommand(0, 1);
    app_.set_version_flag("--version", "orvane " ORVANE_VERSION);
    app_.set_help_all_flag("--help-all", "Print the help of all commands and exit");
    app_.add_flag("--hidden", isHidden_,
                  "Do not come to the front; without a window there is no difference");
    declareStatus();
    declarePause();
    declareSwitches();
    declareSites(whitelist, "Sites on which nothing is blocked");
    declareSites(httpsList, "Sites that are only loaded by HTTPS");
    declareHide();
    declarePackages();
    declareRebuild();
    declareCheck();
    declareAccount();
    declareSync();
    declareCloud();
  }

  void parse(int argc, char** argv) {
    try {
      app_.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
      parsed_.exitStatus = app_.exit(error) == 0 ? 0 : usageError;
    }
  }

 private:
  /// The arguments live as long as whatever is to be done with them.
  template <typename Run>
  void runs(CLI::App* command, Run run) {
    command->callback([&parsed = parsed_, arguments = arguments_, run] {
      parsed.command = [arguments, run](LinuxPlatform& machine) {
        return run(machine, *arguments);
      };
    });
  }

  void addJSON(CLI::App* command) {
    command->add_flag("--json", arguments_->change.asJSON, "Print JSON");
  }

  void addChangeOptions(CLI::App* command) {
    addJSON(command);
    auto* wait =
        command->add_flag("--wait", arguments_->change.waits, "End when the browser has the list");
    command
        ->add_option("--timeout", arguments_->change.timeout,
                     "Wait for so many seconds at the most (60)")
        ->type_name("SECONDS")
        ->check(CLI::Range(1U, 86'400U))
        ->needs(wait);
  }

  void declareStatus() {
    auto* status = app_.add_subcommand("status", "Say whether blocking works");
    addJSON(status);
    runs(status, [](LinuxPlatform& machine, const Arguments& arguments) {
      return runStatusCommand(machine, arguments.change.asJSON);
    });
  }

  void declarePause() {
    const auto declare = [this](const char* name, const char* description, bool pauses) {
      auto* command = app_.add_subcommand(name, description);
      addChangeOptions(command);
      runs(command, [pauses](LinuxPlatform& machine, const Arguments& arguments) {
        return runPauseCommand(machine, arguments.change, pauses);
      });
    };
    declare("pause", "Block nothing until 'resume'", true);
    declare("resume", "Block again", false);
  }

  void declareSwitches() {
    const auto declare = [this](const char* name, const char* description, bool enables) {
      auto* command = app_.add_subcommand(name, description);
      command->add_option("PACKAGE", arguments_->switched.package, "Its id or name")
          ->type_name("")
          ->required();
      command->add_option("RULE", arguments_->switched.rule, "The id or name of one of its rules")
          ->type_name("");
      addChangeOptions(command);
      runs(command, [enables](LinuxPlatform& machine, const Arguments& arguments) {
        return runSwitchCommand(machine, arguments.change, arguments.switched, enables);
      });
    };
    declare("enable", "Switch a package or a rule on", true);
    declare("disable", "Switch a package or a rule off", false);
  }

  CLI::App* addSiteCommand(CLI::App* parent, const char* name, const std::string& description) {
    auto* command = parent->add_subcommand(name, description);
    command->add_option("DOMAIN", arguments_->domains, "A domain, or the URL of a page")
        ->type_name("")
        ->required();
    addChangeOptions(command);
    return command;
  }

  void declareSites(const SiteList& list, const char* description) {
    auto* parent = app_.add_subcommand(std::string(list.command), description);
    parent->require_subcommand(1);
    runs(addSiteCommand(parent, "add", "Add sites"),
         [&list](LinuxPlatform& machine, const Arguments& arguments) {
           return runSiteAddCommand(machine, arguments.change, list, arguments.domains);
         });
    runs(addSiteCommand(parent, "remove", "Remove sites"),
         [&list](LinuxPlatform& machine, const Arguments& arguments) {
           return runSiteRemoveCommand(machine, arguments.change, list, arguments.domains);
         });
    auto* listing = parent->add_subcommand("list", "List the sites");
    addJSON(listing);
    runs(listing, [&list](LinuxPlatform& machine, const Arguments& arguments) {
      return runSiteListCommand(machine, list, arguments.change.asJSON);
    });
  }

  CLI::App* addHideCommand(CLI::App* parent, const char* name, const char* description,
                           const char* selector) {
    auto* command = parent->add_subcommand(name, description);
    command->add_option("SELECTOR", arguments_->hidden.selector, selector)
        ->type_name("")
        ->required();
    // Each takes one site, so that a selector may follow.
    auto* on = command->add_option("--on", arguments_->hidden.on, "On this site; may be repeated")
                   ->type_name("DOMAIN")
                   ->allow_extra_args(false);
    command
        ->add_option("--except", arguments_->hidden.except,
                     "On every site but this one; may be repeated")
        ->type_name("DOMAIN")
        ->allow_extra_args(false)
        ->excludes(on);
    addChangeOptions(command);
    return command;
  }

  void declareHide() {
    auto* parent = app_.add_subcommand("hide", "Page elements that are hidden");
    parent->require_subcommand(1);
    runs(addHideCommand(parent, "add", "Hide elements", "A CSS selector"),
         [](LinuxPlatform& machine, const Arguments& arguments) {
           return runHideAddCommand(machine, arguments.change, arguments.hidden);
         });
    runs(addHideCommand(parent, "remove", "Show elements again", "A CSS selector, or a rule's id"),
         [](LinuxPlatform& machine, const Arguments& arguments) {
           return runHideRemoveCommand(machine, arguments.change, arguments.hidden);
         });
    auto* listing = parent->add_subcommand("list", "List what is hidden");
    addJSON(listing);
    runs(listing, [](LinuxPlatform& machine, const Arguments& arguments) {
      return runHideListCommand(machine, arguments.change.asJSON);
    });
  }

  void declarePackages() {
    auto* packages = app_.add_subcommand("packages", "List the packages");
    addJSON(packages);
    // For the completion of command lines alone, which is why no help names them.
    packages->add_flag("--ids", arguments_->printsIdentifiers)->group("");
    packages->add_option("--rule-ids", arguments_->identifiersOf)->group("");
    runs(packages, [](LinuxPlatform& machine, const Arguments& arguments) {
      if (arguments.printsIdentifiers || !arguments.identifiersOf.empty()) {
        return runIdentifiersCommand(machine, arguments.identifiersOf);
      }
      return runPackagesCommand(machine, arguments.change.asJSON);
    });
  }

  void declareRebuild() {
    auto* rebuild =
        app_.add_subcommand("rebuild", "Build the blocker list from the packages and load it");
    runs(rebuild,
         [](LinuxPlatform& machine, const Arguments&) { return runRebuildCommand(machine); });
  }

  void declareCheck() {
    auto* check = app_.add_subcommand("check", "Say what is wrong with lists and packages");
    check->add_option("FILE", arguments_->files, "A list, a package or a list of packages")
        ->required();
    addJSON(check);
    check->callback([&parsed = parsed_, arguments = arguments_] {
      parsed.plainCommand = [arguments] {
        return runCheckCommand(arguments->files, arguments->change.asJSON);
      };
    });
  }

  void declareAccount() {
    auto* account = app_.add_subcommand("account", "Say which cloud it is, and whether it works");
    addJSON(account);
    runs(account, [](LinuxPlatform& machine, const Arguments& arguments) {
      return runAccountCommand(machine, arguments.change.asJSON);
    });
  }

  void declareSync() {
    auto* sync = app_.add_subcommand("sync", "Say how the user's machines are kept the same");
    addJSON(sync);
    auto* now = sync->add_subcommand("now", "Send and fetch everything");
    addJSON(now);
    now->add_option("--timeout", arguments_->change.timeout,
                    "Wait for so many seconds at the most (60)")
        ->type_name("SECONDS")
        ->check(CLI::Range(1U, 86'400U));
    runs(now, [](LinuxPlatform& machine, const Arguments& arguments) {
      return runSyncNowCommand(machine, arguments.change.asJSON, arguments.change.timeout);
    });
    // The callback of a command comes behind that of its subcommand.
    sync->callback([sync, now, &parsed = parsed_, arguments = arguments_] {
      if (sync->got_subcommand(now)) return;
      parsed.command = [arguments](LinuxPlatform& machine) {
        return runSyncCommand(machine, arguments->change.asJSON);
      };
    });
  }

  void addServerAddress(CLI::App* command) {
    command
        ->add_option("ADDRESS", arguments_->serverAddress,
                     "The database, as its administrator connects to it: a connection string, a "
                     "URI or the name of a service")
        ->type_name("")
        ->required();
  }

  void declareCloud() {
    auto* cloud = app_.add_subcommand("cloud", "For whoever runs a server for several machines");
    cloud->require_subcommand(1);
    auto* install = cloud->add_subcommand("install", "Prepare a PostgreSQL database");
    addServerAddress(install);
    install->callback([&parsed = parsed_, arguments = arguments_] {
      parsed.plainCommand = [arguments] {
        return runCloudInstallCommand(arguments->serverAddress);
      };
    });
    auto* addUser = cloud->add_subcommand("add-user", "Give a user an account");
    addUser->add_option("NAME", arguments_->cloudUser.name, "The user's role on the server")
        ->type_name("")
        ->required();
    addServerAddress(addUser);
    addUser->add_flag("--password", arguments_->cloudUser.hasPassword,
                      "Set the password that is the first line of the standard input");
    addUser->callback([&parsed = parsed_, arguments = arguments_] {
      parsed.plainCommand = [arguments] {
        return runCloudAddUserCommand(arguments->cloudUser, arguments->serverAddress);
      };
    });
  }

  CommandLine& parsed_;
  std::shared_ptr<Arguments> arguments_ = std::make_shared<Arguments>();
  bool isHidden_ = false;
  CLI::App app_{"Blocks adverts, trackers and annoyances in the browser.", "orvane"};
};

}  // namespace

CommandLine parseCommandLine(int argc, char** argv) {
  CommandLine parsed;
  Declaration(parsed).parse(argc, argv);
  return parsed;
}

}  // namespace orvane
