#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/AppKit/NSWindow.h"
#include "Platform/Foundation/Executor.h"
#include "Platform/SafariServices/ExtensionHost.h"

namespace orvane::test {

/// The answers of a browser: they come on the main queue, later than they were asked for; while it
/// is told to wait they come when the test says so.
class Answers {
 public:
  explicit Answers(Executor& mainQueue) : mainQueue_(mainQueue) {}

  void give(Executor::Task answer) {
    if (holdsBack) {
      held_.push_back(std::move(answer));
    } else {
      mainQueue_.post(std::move(answer));
    }
  }
  /// Gives the answers that were held back.
  void giveHeld() {
    for (auto& answer : std::exchange(held_, {})) mainQueue_.post(std::move(answer));
  }

  bool holdsBack = false;

 private:
  Executor& mainQueue_;
  std::vector<Executor::Task> held_;
};

class RecordingPage final : public SFSafariPage {
 public:
  /// A page without text has no URL; a closed one has no properties.
  RecordingPage(Answers& answers, std::string_view url)
      : properties(SFSafariPageProperties(NSURL::fromString(url))), answers_(answers) {}

  void getPagePropertiesWithCompletionHandler(PropertiesCompletion completion) override {
    answers_.give(
        [completion = std::move(completion), answer = properties] { completion(answer); });
  }
  void dispatchMessageToScriptWithName(std::string_view name) override {
    messages.emplace_back(name);
  }

  std::optional<SFSafariPageProperties> properties;
  std::vector<std::string> messages;

 private:
  Answers& answers_;
};

class RecordingTab final : public SFSafariTab {
 public:
  explicit RecordingTab(Answers& answers) : answers_(answers) {}

  void getActivePageWithCompletionHandler(PageCompletion completion) override {
    answers_.give([completion = std::move(completion), answer = page] { completion(answer); });
  }

  std::shared_ptr<RecordingPage> page;

 private:
  Answers& answers_;
};

class RecordingWindow final : public SFSafariWindow {
 public:
  explicit RecordingWindow(Answers& answers) : answers_(answers) {}

  void getActiveTabWithCompletionHandler(TabCompletion completion) override {
    answers_.give([completion = std::move(completion), answer = tab] { completion(answer); });
  }

  std::shared_ptr<RecordingTab> tab;

 private:
  Answers& answers_;
};

class RecordingApplication final : public SFSafariApplication {
 public:
  explicit RecordingApplication(Answers& answers) : answers_(answers) {}

  void getActiveWindowWithCompletionHandler(WindowCompletion completion) override {
    answers_.give([completion = std::move(completion), answer = window] { completion(answer); });
  }
  void setToolbarItemsNeedUpdate() override { ++toolbarUpdates; }

  std::shared_ptr<RecordingWindow> window;
  int toolbarUpdates = 0;

 private:
  Answers& answers_;
};

/// A popover's window. Closing it takes it away from its view.
class RecordingPopoverWindow final : public NSWindow {
 public:
  /// Shows that view.
  explicit RecordingPopoverWindow(NSView& view) : view_(view) { view_.setWindow(this); }
  ~RecordingPopoverWindow() override {
    if (view_.window() == this) view_.setWindow(nullptr);
  }

  void close() override {
    isClosed = true;
    view_.setWindow(nullptr);
  }
  void makeFirstResponder(NSView& view) override { firstResponder = &view; }

  bool isClosed = false;
  NSView* firstResponder = nullptr;

 private:
  NSView& view_;
};

/// A browser with one window, one tab in it, and a page.
struct RecordingExtensionHost {
  RecordingExtensionHost(Executor& mainQueue, std::string_view url) : answers(mainQueue) {
    page = std::make_shared<RecordingPage>(answers, url);
    tab->page = page;
    window->tab = tab;
    application.window = window;
  }

  Answers answers;
  std::shared_ptr<RecordingPage> page;
  std::shared_ptr<RecordingTab> tab = std::make_shared<RecordingTab>(answers);
  std::shared_ptr<RecordingWindow> window = std::make_shared<RecordingWindow>(answers);
  RecordingApplication application{answers};
  /// The alerts that were shown; the last one's completion is what dismissing it calls.
  std::vector<NSAlert> alerts;
  std::function<void()> dismissAlert;
  RunAlertModal runAlertModal = [this](const NSAlert& alert, std::function<void()> completion) {
    alerts.push_back(alert);
    dismissAlert = std::move(completion);
  };
  NSProcessInfo processInfo{"workshop", {12, 0, 7}};
  ExtensionHost host{application, runAlertModal, processInfo};
};

}  // namespace orvane::test
