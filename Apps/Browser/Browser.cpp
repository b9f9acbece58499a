#include "Apps/Browser/Browser.h"

#include <utility>

#include <unistd.h>

#include "Apps/Browser/Style.h"
#include "Linux/GLib/ProcessInfo.h"
#include "Linux/GTK/AlertDialog.h"
#include "Linux/Posix/ProgramFolder.h"
#include "SafariExtension/Reload/CompanionApplication.h"

namespace orvane {
namespace {

std::filesystem::path shareFolder() { return programFolder().parent_path() / "share"; }
std::filesystem::path resourceFolder() { return shareFolder() / "orvane"; }

/// The services of the machine, but for other programs those that the options say.
Platform platformOf(LinuxPlatform& machine, const BrowserOptions& options) {
  const auto& platform = machine.platform();
  return {platform.fileManager,
          platform.mainBundle,
          platform.notificationCenter,
          platform.urlLoader,
          platform.makeUUID,
          platform.standardOutput,
          platform.systemLog,
          platform.mainQueue,
          platform.makeSerialQueue,
          platform.userDefaultsSuite,
          platform.standardUserDefaults,
          platform.ubiquitousStore,
          platform.contentBlockerManager,
          options.workspace == nullptr ? platform.workspace : *options.workspace,
          platform.cloud,
          platform.cloudQueue};
}

NSProcessInfo processInfoOfThisMachine() {
  PosixFileSystem files;
  return processInfo(files);
}

}  // namespace

Browser::Browser(const BrowserOptions& options, LineOutput& systemLog, std::function<void()> closed)
    : machine_(PersistentStore::applicationGroup, STDOUT_FILENO, systemLog),
      platform_(platformOf(machine_, options)),
      colorScheme_(options.colorScheme),
      processInfo_(processInfoOfThisMachine()),
      application_(platform_.mainQueue),
      host_{application_, runAlertModal_, processInfo_},
      extension_(platform_, host_),
      engine_(options, machine_.directories()),
      contentBlocking_(machine_, platform_, extension_.process(), engine_.contentManager(),
                       [this] { blockingChanged(); }),
      window_(platform_, engine_, extension_.handler(),
              {.closed = std::move(closed),
               .settingsRequested = [this] { openSettings(); },
               .messageToPage =
                   [this](Tab& tab, std::string_view message) {
                     if (pageScript_) pageScript_->dispatch(tab.view(), tab.token(), message);
                   },
               .openPopover = [this](SFSafariExtensionViewController&) { openPopover(); }}),
      downloads_(engine_.network(),
                 [this](const std::string& message) { window_.message().show(message); }),
      pauseObservation_(extension_.process().defaults().addObserver(
          Communication::pausedKey, [this] { application_.setToolbarItemsNeedUpdate(); })) {
  loadStyle();
  Gtk::IconTheme::get_for_display(Gdk::Display::get_default())
      ->add_search_path((shareFolder() / "icons").string());
  runAlertModal_ = makeRunAlertModal(window_.window(), resourceFolder());
  application_.setWindow(window_.extensionWindow(),
                         [this] { window_.toolbarItem().setNeedsValidation(); });
  loadPageScript();
  launchCompanionHidden(platform_.workspace);
  window_.present();
  for (const auto& url : options.urls) window_.openTab(url);
  if (options.urls.empty()) window_.openEmptyTab();
}

Browser::~Browser() { application_.removeWindow(); }

void Browser::openSettings() {
  if (!settings_) {
    settings_ = std::make_unique<SettingsWindow>(
        window_.window(), [this](bool enabled) { return contentBlocking_.setEnabled(enabled); });
  }
  settings_->update(contentBlocking_.facts());
  settings_->present();
}

void Browser::blockingChanged() {
  if (settings_) settings_->update(contentBlocking_.facts());
}

void Browser::loadPageScript() {
  auto loaded =
      PageScript::load(resourceFolder() / "PageScript", engine_.contentManager(),
                       [this](const PageScript::Message& message) { messageArrived(message); });
  if (!loaded) return platform_.systemLog.print(loaded.error().localizedDescription);
  pageScript_ = *std::move(loaded);
}

/// A tab that has been closed meanwhile says nothing any more.
void Browser::messageArrived(const PageScript::Message& message) {
  if (const auto* tab = window_.tabs().withToken(message.page)) {
    extension_.handler().messageReceivedWithName(message.name, tab->page(), message.userInfo);
  }
}

void Browser::openPopover() {
  if (!popover_) {
    auto loaded = ExtensionPopover::load(extension_.viewController(),
                                         resourceFolder() / "SafariExtensionViewController.ui",
                                         window_.toolbarItem());
    if (!loaded) return platform_.systemLog.print(loaded.error().localizedDescription);
    popover_ = *std::move(loaded);
  }
  popover_->open();
}

}  // namespace orvane
