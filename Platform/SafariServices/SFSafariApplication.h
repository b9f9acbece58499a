#pragma once

#include <functional>
#include <memory>

#include "Platform/SafariServices/SFSafariPage.h"

namespace orvane {

// The browser's windows, tabs and pages as an extension may ask for them. Each answer is null when
// there is no such thing. Completions are never called inside the call that asks. Main queue.

class SFSafariTab {
 public:
  using PageCompletion = std::function<void(std::shared_ptr<SFSafariPage>)>;

  SFSafariTab() = default;
  SFSafariTab(const SFSafariTab&) = delete;
  SFSafariTab& operator=(const SFSafariTab&) = delete;
  virtual ~SFSafariTab() = default;

  virtual void getActivePageWithCompletionHandler(PageCompletion completion) = 0;
};

class SFSafariWindow {
 public:
  using TabCompletion = std::function<void(std::shared_ptr<SFSafariTab>)>;

  SFSafariWindow() = default;
  SFSafariWindow(const SFSafariWindow&) = delete;
  SFSafariWindow& operator=(const SFSafariWindow&) = delete;
  virtual ~SFSafariWindow() = default;

  virtual void getActiveTabWithCompletionHandler(TabCompletion completion) = 0;
};

class SFSafariApplication {
 public:
  using WindowCompletion = std::function<void(std::shared_ptr<SFSafariWindow>)>;

  SFSafariApplication() = default;
  SFSafariApplication(const SFSafariApplication&) = delete;
  SFSafariApplication& operator=(const SFSafariApplication&) = delete;
  virtual ~SFSafariApplication() = default;

  virtual void getActiveWindowWithCompletionHandler(WindowCompletion completion) = 0;

  /// The browser validates the extension's toolbar item in every window again, later.
  virtual void setToolbarItemsNeedUpdate() = 0;
};

}  // namespace orvane
