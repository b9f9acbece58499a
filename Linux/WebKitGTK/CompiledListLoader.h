#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <webkit/webkit.h>

#include "Linux/GLib/FolderWatch.h"
#include "Linux/WebKitGTK/BrowserSettings.h"
#include "Linux/WebKitGTK/CompiledListDirectory.h"

namespace orvane {

/// Keeps the compiled list that is current in force in a browser: loads it, swaps it live when a
/// newer one becomes current, and takes it away when there is none any more and while the user has
/// the content blocker switched off. While it cannot be told which list is current, the one in
/// force stays. It never compiles. Used on the main thread, which never waits for a file of the
/// list.
class CompiledListLoader {
 public:
  struct Observer {
    /// The list now in force, or nothing, is not what it was.
    std::function<void(const std::optional<CompiledList>&)> changed;
    /// The current list is damaged or of another browser version, so the one before it stays in
    /// force; somebody has to compile it again. Told once until another list has been loaded.
    std::function<void()> damaged;
  };

  /// Starts to load. The folders of the lists and of the settings may go and come. The loader keeps
  /// a reference to `contentManager`. `mainQueue` runs on GLib's default main context and outlives
  /// the loader.
  CompiledListLoader(Executor& mainQueue, CompiledListDirectory directory, BrowserSettings settings,
                     std::string contentBlockerIdentifier, WebKitUserContentManager* contentManager,
                     Observer observer);
  CompiledListLoader(const CompiledListLoader&) = delete;
  CompiledListLoader& operator=(const CompiledListLoader&) = delete;
  ~CompiledListLoader();

 private:
  struct Load;

  void update();
  void updateLater();
  void verify(const CompiledList& list);
  void load(const CompiledList& list);
  void reportDamage(const CompiledList& list);
  void takeAway();

  Executor& mainQueue_;
  CompiledListDirectory directory_;
  BrowserSettings settings_;
  std::string contentBlockerIdentifier_;
  WebKitUserContentManager* contentManager_;
  Observer observer_;
  std::optional<CompiledList> inForce_;
  std::optional<CompiledList> damaged_;
  /// Expires at the next update: the answer to an older load then does nothing.
  std::shared_ptr<CompiledListLoader*> wanted_;
  FolderWatch listWatch_;
  FolderWatch settingsWatch_;
};

}  // namespace orvane
