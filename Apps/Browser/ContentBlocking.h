#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <webkit/webkit.h>

#include "Apps/Browser/BlockingStatus.h"
#include "Linux/GLib/FolderWatch.h"
#include "Linux/LinuxPlatform.h"
#include "Linux/WebKitGTK/CompiledListLoader.h"
#include "Process/Process.h"

namespace orvane {

/// Keeps the list in force, and knows how content is blocked and what hinders it. A damaged list it
/// has made again by the companion application. Main queue.
class ContentBlocking {
 public:
  /// `changed` is called whenever the facts may have changed. All other arguments outlive this
  /// object.
  ContentBlocking(LinuxPlatform& machine, Platform& platform, Process& process,
                  WebKitUserContentManager* contentManager, std::function<void()> changed);

  BlockingFacts facts();
  /// Switches the content blocker in the browser's settings. For one that is switched on the
  /// companion application makes a list.
  Expected<void> setEnabled(bool enabled);

 private:
  void listChanged(const std::optional<CompiledList>& list);
  void listDamaged();
  void observe(std::string_view key);
  std::string compiledDate();

  Platform& platform_;
  Process& process_;
  BrowserSettings settings_;
  std::function<void()> changed_;
  PosixFileSystem fileSystem_;
  CompiledListDirectory lists_;
  std::optional<CompiledList> inForce_;
  bool isDamaged_ = false;
  FolderWatch settingsWatch_;
  std::vector<std::unique_ptr<NSUserDefaults::Observation>> observations_;
  CompiledListLoader loader_;
};

}  // namespace orvane
