#pragma once

#include "Benchmarks/Measurement.h"
#include "Platform/Platform.h"
#include "Process/ExtensionProcess.h"
#include "Tests/Support/RecordingExtension.h"

namespace orvane::benchmarks {

/// A browser that shows one page, with the extension in its popover.
struct BenchmarkBrowser {
  static constexpr const char* host = "www.example.test";

  /// The services outlive it.
  explicit BenchmarkBrowser(Platform& platform)
      : browser(platform.mainQueue, pageURL), process(platform, browser.host) {
    process.viewController().viewDidLoad();
  }

  /// `rest` runs what is due on the queues.
  void openPopover(const Work& rest) {
    process.handler().toolbarItemClickedInWindow(*browser.window);
    auto& controller = process.handler().popoverViewController();
    const test::RecordingPopoverWindow window(controller.view());
    controller.viewWillAppear();
    rest();
  }

  test::RecordingExtensionHost browser;
  ExtensionProcess process;

 private:
  static constexpr const char* pageURL = "https://www.example.test/news";
};

}  // namespace orvane::benchmarks
