#pragma once

#include <functional>
#include <memory>

#include "Apps/Browser/BrowserOptions.h"
#include "Apps/Browser/BrowserWindow.h"
#include "Apps/Browser/ColorScheme.h"
#include "Apps/Browser/ContentBlocking.h"
#include "Apps/Browser/Downloads.h"
#include "Apps/Browser/ExtensionApplication.h"
#include "Apps/Browser/ExtensionPopover.h"
#include "Apps/Browser/SettingsWindow.h"
#include "Apps/Browser/WebEngine.h"
#include "Linux/LinuxPlatform.h"
#include "Linux/WebKitGTK/PageScript.h"
#include "Process/ExtensionProcess.h"

namespace orvane {

/// A browser with one window that hosts the extension. Needs `gtk_init` before, and whoever makes
/// it runs GLib's default main context. Main thread.
class Browser {
 public:
  /// Shows the window, opens what the options say, and starts the companion application. Once the
  /// user has closed the window `closed` is called, on the main loop; it must not destroy the
  /// browser. `systemLog` outlives the browser.
  Browser(const BrowserOptions& options, LineOutput& systemLog, std::function<void()> closed);
  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;
  ~Browser();

  BrowserWindow& window() { return window_; }
  WebEngine& engine() { return engine_; }
  ContentBlocking& contentBlocking() { return contentBlocking_; }
  ExtensionProcess& extension() { return extension_; }
  /// Null until the user has wanted to see it.
  SettingsWindow* settings() { return settings_.get(); }

 private:
  void openPopover();
  void openSettings();
  void blockingChanged();
  void loadPageScript();
  void messageArrived(const PageScript::Message& message);

  LinuxPlatform machine_;
  Platform platform_;
  ColorSchemeFollower colorScheme_;
  NSProcessInfo processInfo_;
  RunAlertModal runAlertModal_;
  ExtensionApplication application_;
  ExtensionHost host_;
  ExtensionProcess extension_;
  WebEngine engine_;
  ContentBlocking contentBlocking_;
  BrowserWindow window_;
  Downloads downloads_;
  std::unique_ptr<PageScript> pageScript_;
  std::unique_ptr<ExtensionPopover> popover_;
  std::unique_ptr<SettingsWindow> settings_;
  std::unique_ptr<NSUserDefaults::Observation> pauseObservation_;
};

}  // namespace orvane
