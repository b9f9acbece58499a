#include "Apps/Companion/CompanionCommand.h"

#include <csignal>
#include <list>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <glib-unix.h>

#include "Apps/Companion/Companion.h"
#include "Apps/Companion/Failure.h"
#include "BlockerKit/Support/DisplayInformation.h"
#include "Linux/GLib/FolderWatch.h"
#include "Linux/Posix/SingleInstance.h"
#include "Platform/CloudKit/KeyValueExchange.h"

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

/// Preferences go to the user's other machines and come from them, if there can be any.
class PreferenceExchange {
 public:
  explicit PreferenceExchange(LinuxPlatform& machine)
      : platform_(machine.platform()),
        exchange_(machine.exchangeTable(), platform_.cloud, platform_.cloudQueue,
                  platform_.mainQueue, platform_.systemLog) {
    if (!machine.cloudAccount() || !machine.cloudAccount()->address) return;
    platform_.cloud.setListener([this](const CloudEvent& event) {
      if (event.kind != CloudEvent::Kind::keyValuesChanged) return;
      platform_.mainQueue.post([this] { exchange_.exchange(); });
    });
    exchange_.start();
  }
  PreferenceExchange(const PreferenceExchange&) = delete;
  PreferenceExchange& operator=(const PreferenceExchange&) = delete;
  ~PreferenceExchange() { platform_.cloud.setListener({}); }

 private:
  Platform& platform_;
  KeyValueExchange exchange_;
};

void work(LinuxPlatform& machine, SingleInstance& instance) {
  auto& platform = machine.platform();
  const auto messages = platform.notificationCenter.addObserver(
      displayInformationNotification, [&](const NSNotification& notification) {
        platform.systemLog.print(std::get<std::string>(notification.userInfo.at("message")));
      });
  MainLoop loop;
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
  companion.start();
  const PreferenceExchange preferences(machine);
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
