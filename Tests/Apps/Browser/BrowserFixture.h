#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "Apps/Browser/Browser.h"
#include "Apps/Demonstration/LoopbackProxy.h"
#include "Apps/Demonstration/TemporaryFolder.h"
#include "Tests/Support/RecordingOutput.h"
#include "Tests/Support/RecordingServices.h"

namespace orvane::test {

/// A user's home of its own, a screen that nobody sees, and a proxy that is the whole Internet.
class BrowserMachine : public ::testing::Test {
 protected:
  BrowserMachine();
  void SetUp() override;

  /// Serves a page at this address.
  void serve(const std::string& host, const std::string& path, const std::string& html);
  /// Takes requests for that address and never answers them.
  void holdBack(const std::string& host, const std::string& path);
  BrowserOptions options();

  /// Whether it comes true in time.
  static bool becomes(const std::function<bool()>& condition);
  /// Lets everything happen that is on its way on the main loop.
  static void settle();
  /// Runs xdotool: real keys and a real pointer.
  void input(const std::vector<std::string>& arguments);
  void press(const std::string& keys) { input({"key", keys}); }
  void type(const std::string& text) { input({"type", text}); }

  /// The value of an expression on the tab's page, as text.
  static std::string value(Tab& tab, const std::string& expression);
  static bool isLoaded(Tab& tab, const std::string& url);

  std::unique_ptr<TemporaryFolder> folder_ = TemporaryFolder::make().value();
  std::unique_ptr<LoopbackProxy> proxy_;
  RecordingWorkspace workspace_;
  RecordingOutput systemLog_;
};

/// The whole browser. What it would start is only written down.
class BrowserTest : public BrowserMachine {
 protected:
  /// Starts the browser at these URLs and waits until its window can take keys.
  void start(const std::vector<std::string>& urls = {});
  /// The same, at one page, which is loaded then.
  Tab& startAt(const std::string& url);

  BrowserWindow& window() { return browser_->window(); }
  TabStrip& tabs() { return browser_->window().tabs(); }
  Tab& front() { return *tabs().front(); }

  bool isClosed_ = false;
  std::unique_ptr<Browser> browser_;
};

}  // namespace orvane::test
