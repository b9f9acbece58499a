#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "Platform/Foundation/Executor.h"
#include "Platform/SafariServices/SFSafariApplication.h"

namespace orvane {

// The browser, its window and its tabs as the extension knows them. Main queue, which outlives them
// all; every answer arrives there later, and is what is true then.

class ExtensionTab final : public SFSafariTab {
 public:
  ExtensionTab(Executor& mainQueue, std::weak_ptr<SFSafariPage> page)
      : mainQueue_(mainQueue), page_(std::move(page)) {}

  void getActivePageWithCompletionHandler(PageCompletion completion) override;

 private:
  Executor& mainQueue_;
  std::weak_ptr<SFSafariPage> page_;
};

class ExtensionWindow final : public SFSafariWindow,
                              public std::enable_shared_from_this<ExtensionWindow> {
 public:
  using ActiveTab = std::function<std::shared_ptr<SFSafariTab>()>;

  ExtensionWindow(Executor& mainQueue, ActiveTab activeTab)
      : mainQueue_(mainQueue), activeTab_(std::move(activeTab)) {}

  /// To be called before whatever `activeTab` asks ends.
  void windowEnds() { activeTab_ = nullptr; }

  void getActiveTabWithCompletionHandler(TabCompletion completion) override;

 private:
  Executor& mainQueue_;
  ActiveTab activeTab_;
};

class ExtensionApplication final : public SFSafariApplication {
 public:
  explicit ExtensionApplication(Executor& mainQueue) : mainQueue_(mainQueue) {}

  /// `validate` has the toolbar item of the window validated, later.
  void setWindow(std::shared_ptr<SFSafariWindow> window, std::function<void()> validate);
  /// To be called before the window ends.
  void removeWindow() { setWindow(nullptr, nullptr); }

  void getActiveWindowWithCompletionHandler(WindowCompletion completion) override;
  void setToolbarItemsNeedUpdate() override;

 private:
  /// Shared with the answers under way.
  struct Front {
    std::shared_ptr<SFSafariWindow> window;
    std::function<void()> validate;
  };

  Executor& mainQueue_;
  std::shared_ptr<Front> front_ = std::make_shared<Front>();
};

}  // namespace orvane
