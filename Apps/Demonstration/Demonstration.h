#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <vector>

#include "Apps/Demonstration/DemonstrationBrowser.h"
#include "Apps/Demonstration/Judgement.h"
#include "Apps/Demonstration/LoopbackProxy.h"
#include "Apps/Demonstration/TemporaryFolder.h"
#include "Linux/GLib/MainLoopExecutor.h"
#include "Linux/Posix/PosixFileSystem.h"
#include "Linux/WebKitGTK/CompiledListLoader.h"

namespace orvane {

/// Opens the demonstration's pages in a real browser view, first without and then with the
/// demonstration's list. Everything that it writes is in a temporary folder. Needs `gtk_init`
/// before, and works on the default main context.
class Demonstration {
 public:
  struct Pass {
    Visits visits;
    GObjectPointer<GdkTexture> newspaperPicture;
  };

  /// `compiler` is the helper program that compiles a list; no step may take longer than `limit`.
  static Expected<std::unique_ptr<Demonstration>> prepare(std::filesystem::path compiler,
                                                          std::chrono::milliseconds limit);

  /// Opens every page and records what happens; the newspaper is the page that stays open.
  Expected<Pass> visitPages();

  /// Compiles the list with the helper program and waits until the open view has it in force.
  Expected<void> bringListIntoForce();

  DemonstrationBrowser& browser() { return browser_; }

 private:
  Demonstration(std::filesystem::path compiler, std::chrono::milliseconds limit,
                std::unique_ptr<TemporaryFolder> folder, std::unique_ptr<LoopbackProxy> proxy);

  Expected<Visit> visit(const std::string& page);
  Expected<void> compileList();
  CompiledListLoader::Observer loaderObserver();

  std::filesystem::path compiler_;
  std::chrono::milliseconds limit_;
  std::unique_ptr<TemporaryFolder> folder_;
  std::unique_ptr<LoopbackProxy> proxy_;
  MainLoopExecutor mainQueue_;
  PosixFileSystem files_;
  BrowserSettings settings_;
  CompiledListDirectory compiledLists_;
  std::vector<Expectation> expectations_;
  DemonstrationBrowser browser_;
  bool isListInForce_ = false;
  bool isListDamaged_ = false;
  CompiledListLoader loader_;
};

}  // namespace orvane
