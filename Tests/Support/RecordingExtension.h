#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/AppKit/NSWindow.h"
#include "Platform/Foundation/Executor.h"
#include "Platform/SafariServices/ExtensionHost.h"

namespace orvane::test {

/// Gives the answers of a browser later than they were asked for, on one executor; while it is told
/// to wait, when the test says so.
class Answers {
 public:
  explicit Answers(Executor& mainQueue) : mainQueue_(mainQueue) {}

  void post(Executor::Task answer) {
    if (areHeldBack) {
      held_.push_back(std::move(answer));
    } else {
      mainQueue_.post(std::move(answer));
    }
  }
  /// Gives the answers that were held back.
  void postAll() {
    for (auto& held : std::exchange(held_, {})) mainQueue_.post(std::move(held));
  }

  bool areHeldBack = false;

 private:
  Executor& mainQueue_;
  std::vector<Executor::Task> held_;
};

/// A page at a URL, or without one; it is gone once its properties are absent.
class RecordingPage final : public SFSafariPage {
 public:
  RecordingPage(Answers& answers, const std::optional<std::string>& url)
      : properties(SFSafariPageProperties(url ? NSURL::fromString(*url) : std::nullopt)),
        answers_(answers) {}

  void getPagePropertiesWithCompletionHandler(PropertiesCompletion completion) override {
    ++queries;
    answers_.post([state = properties, completion = std::move(completion)] { completion(state); });
  }
  void dispatchMessageToScriptWithName(std::string_view name) override {
    messages.emplace_back(name);
    if (onMessage) onMessage();
  }

  std::optional<SFSafariPageProperties> properties;
  int queries = 0;
  /// The names of the messages to its script.
  std::vector<std::string> messages;
  /// Called when a message has been sent to it.
  std::function<void()> onMessage;

 private:
  Answers& answers_;
};

class RecordingTab final : public SFSafariTab {
 public:
  explicit RecordingTab(Answers& answers) : answers_(answers) {}

  void getActivePageWithCompletionHandler(PageCompletion completion) override {
    answers_.post([page = page, completion = std::move(completion)] { completion(page); });
  }

  std::shared_ptr<RecordingPage> page;

 private:
  Answers& answers_;
};

class RecordingWindow final : public SFSafariWindow {
 public:
  explicit RecordingWindow(Answers& answers) : answers_(answers) {}

  void getActiveTabWithCompletionHandler(TabCompletion completion) override {
    answers_.post([tab = tab, completion = std::move(completion)] { completion(tab); });
  }

  std::shared_ptr<RecordingTab> tab;

 private:
  Answers& answers_;
};

class RecordingApplication final : public SFSafariApplication {
 public:
  explicit RecordingApplication(Answers& answers) : answers_(answers) {}

  void getActiveWindowWithCompletionHandler(WindowCompletion completion) override {
    answers_.post([window = window, completion = std::move(completion)] { completion(window); });
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

/// Shows nothing; a test dismisses the alerts.
class RecordingAlerts {
 public:
  RecordingAlerts() = default;
  RecordingAlerts(const RecordingAlerts&) = delete;
  RecordingAlerts& operator=(const RecordingAlerts&) = delete;

  /// The alerts that were shown.
  std::vector<NSAlert> alerts;

  /// Dismisses the alert that has stood for longest; false when none stands.
  bool dismissOne() {
    if (completions_.empty()) return false;
    const auto completion = std::move(completions_.front());
    completions_.erase(completions_.begin());
    completion();
    return true;
  }

  RunAlertModal run = [this](const NSAlert& alert, std::function<void()> completion) {
    alerts.push_back(alert);
    completions_.push_back(std::move(completion));
  };

 private:
  std::vector<std::function<void()>> completions_;
};

/// A browser with one window, whose front tab shows `page`.
struct RecordingExtensionHost {
  explicit RecordingExtensionHost(Executor& mainQueue,
                                  const std::optional<std::string>& url = std::nullopt)
      : answers(mainQueue), page(std::make_shared<RecordingPage>(answers, url)) {
    tab->page = page;
    window->tab = tab;
    application.window = window;
  }

  Answers answers;
  std::shared_ptr<RecordingPage> page;
  std::shared_ptr<RecordingTab> tab = std::make_shared<RecordingTab>(answers);
  std::shared_ptr<RecordingWindow> window = std::make_shared<RecordingWindow>(answers);
  RecordingApplication application{answers};
  RecordingAlerts alerts;
  NSProcessInfo processInfo{"harbour", {12, 0, 7}};
  ExtensionHost host{application, alerts.run, processInfo};
};

}  // namespace orvane::test
