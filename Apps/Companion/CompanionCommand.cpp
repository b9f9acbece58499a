#include "Apps/Companion/CompanionCommand.h"

#include <csignal>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <glib-unix.h>

#include "Apps/Companion/Companion.h"
#include "Apps/Companion/Failure.h"
#include "BlockerKit/PersistentStore/SharedDefaults.h"
#include "BlockerKit/Support/DisplayInformation.h"
#include "BlockerKit/SyncManager/CloudIdentity.h"
#include "Linux/GLib/FolderWatch.h"
#include "Linux/Posix/SingleInstance.h"
#include "Linux/PostgreSQL/PostgreSQLAddress.h"
#include "Platform/CloudKit/KeyValueExchange.h"
#include "Process/CloudEvents.h"

namespace orvane {
namespace {

/// From its construction on, SIGTERM, SIGINT and SIGHUP end only the main loop.
class MainLoop {
 public:
  MainLoop() {
    const auto endLoop = [](gpointer self) -> gboolean {
      static_cast<MainLoop*>(self)->end();
      return G_SOURCE_CONTINUE;
    };
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
      sources_.push_back(g_unix_signal_add(signal, endLoop, this));
    }
  }
  MainLoop(const MainLoop&) = delete;
  MainLoop& operator=(const MainLoop&) = delete;
  ~MainLoop() {
    for (const auto source : sources_) g_source_remove(source);
  }

  void end() { isToEnd_ = true; }
  void run() const {
    while (!isToEnd_) g_main_context_iteration(nullptr, TRUE);
  }

 private:
  bool isToEnd_ = false;
  std::vector<guint> sources_;
};

/// The package files that the list is built from.
std::vector<std::string> packageFileNames() {
  std::vector<std::string> names;
  for (const auto type : {PackageType::PreinstalledPackages, PackageType::ConfigurablePackages,
                          PackageType::CustomPackages}) {
    names.emplace_back(rawValue(type));
  }
  return names;
}

/// The cloud, as a text that no other one has; nothing when it cannot be told.
std::optional<std::string> cloudIdentity(LinuxPlatform& machine) {
  const auto& account = machine.cloudAccount();
  if (!account) return std::nullopt;
  if (!account->address) return "this machine";
  const auto described = describedAddress(*account->address);
  return described ? std::optional(*described) : std::nullopt;
}

/// Keeps in touch with the user's other machines, if there can be any.
class CloudConnection {
 public:
  CloudConnection(LinuxPlatform& machine, Companion& companion)
      : exchange_(machine.exchangeTable(), machine.platform().cloud, machine.platform().cloudQueue,
                  machine.platform().mainQueue, machine.platform().systemLog),
        hasOtherMachines_(machine.cloudAccount() && machine.cloudAccount()->address),
        events_(machine.platform(), companion.syncManager(), [this] {
          if (hasOtherMachines_) exchange_.exchange();
        }) {
    if (hasOtherMachines_) exchange_.start();
  }

 private:
  KeyValueExchange exchange_;
  bool hasOtherMachines_;
  CloudEvents events_;
};

void work(LinuxPlatform& machine, SingleInstance& instance) {
  auto& platform = machine.platform();
  const auto messages = platform.notificationCenter.addObserver(
      displayInformationNotification, [&](const NSNotification& notification) {
        platform.systemLog.print(std::get<std::string>(notification.userInfo.at("message")));
      });
  MainLoop loop;
  if (const auto identity = cloudIdentity(machine)) {
    // After a failure, which is on the system log, the companion syncs as with the earlier cloud.
    (void)beginWithCloud(sharedUserDefaults(platform), *identity);
  }
  Companion companion(platform);
  const auto filesChanged = [&] {
    // In a folder that was made anew the right is another one, and another process may have it.
    if (!instance.isFor(machine.companionLock())) {
      auto anew = SingleInstance::acquire(machine.companionLock());
      if (anew && !*anew) return loop.end();
      if (anew) instance = std::move(**anew);
    }
    companion.packageFilesChanged();
  };
  std::list<FolderWatch> watches;
  watches.emplace_back(machine.container(), packageFileNames(), platform.mainQueue, filesChanged);
  for (const auto& folder : platform.fileManager.documentDirectories()) {
    watches.emplace_back(folder, packageFileNames(), platform.mainQueue, filesChanged);
  }
  const auto& settings = machine.browserSettings();
  watches.emplace_back(settings.parent_path(), std::vector{settings.filename().string()},
                       platform.mainQueue, [&] { companion.browserSettingsChanged(); });
  const CloudConnection cloud(machine, companion);
  companion.start();
  loop.run();
  instance.announceEnd();
}

}  // namespace

int runCompanionCommand(LinuxPlatform& machine) {
  auto instance = SingleInstance::acquire(machine.companionLock());
  if (!instance) {
    complain(instance.error().localizedDescription);
    return 1;
  }
  if (!*instance) {
    fmt::print("Orvane is running already.\n");
    return 0;
  }
  if (machine.platform().userDefaultsSuite(PersistentStore::applicationGroup) == nullptr) {
    complain("What Orvane's programs share cannot be opened, so nobody could be heard.");
    return 1;
  }
  work(machine, **instance);
  return 0;
}

}  // namespace orvane
