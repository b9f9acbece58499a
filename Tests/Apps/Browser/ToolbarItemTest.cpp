#include "Apps/Browser/BrowserWindow.h"
#include "Apps/Browser/ToolbarItem.h"
#include "SafariExtension/Extension/SafariExtensionHandler.h"
#include "Tests/Apps/Browser/BrowserFixture.h"
#include "Tests/Apps/Browser/RecordingHandler.h"

namespace orvane::test {
namespace {

/// A window of an extension that is not ours.
class ToolbarItemInWindow : public BrowserMachine {
 protected:
  void SetUp() override {
    BrowserMachine::SetUp();
    serve("news.test", "/",
          "<p>News<script>const move = () => history.pushState(0, '', '/moved')</script>");
    machine_ = std::make_unique<LinuxPlatform>("group", 1, systemLog_);
    engine_ = std::make_unique<WebEngine>(options(), machine_->directories());
    window_ = std::make_unique<BrowserWindow>(
        machine_->platform(), *engine_, handler_,
        BrowserWindow::Observer{
            .closed = [] {},
            .settingsRequested = [] {},
            .messageToPage = [](Tab&, std::string_view) {},
            .openPopover = [this](SFSafariExtensionViewController& shown) { opened_ = &shown; }});
    window_->present();
    window_->openTab("http://news.test/");
    ASSERT_TRUE(becomes([&] { return isLoaded(*window_->tabs().front(), "http://news.test/"); }));
    settle();
    handler_.validations.clear();
  }

  /// How often the item was validated because of that, once all is quiet.
  std::size_t validationsOf(const std::function<void()>& cause) {
    handler_.validations.clear();
    cause();
    EXPECT_TRUE(handler_.validations.empty()) << "inside the call";
    EXPECT_TRUE(becomes([&] { return !handler_.validations.empty(); }));
    settle();
    for (const auto* window : handler_.validations) {
      EXPECT_EQ(window, window_->extensionWindow().get());
    }
    return handler_.validations.size();
  }

  RecordingHandler handler_;
  std::unique_ptr<LinuxPlatform> machine_;
  std::unique_ptr<WebEngine> engine_;
  std::unique_ptr<BrowserWindow> window_;
  SFSafariExtensionViewController* opened_ = nullptr;
};

TEST_F(ToolbarItemInWindow, isValidatedOnceForAllThatAsksInOneTurn) {
  EXPECT_EQ(validationsOf([&] {
              for (int count = 0; count < 5; ++count) window_->toolbarItem().setNeedsValidation();
            }),
            1U);
}

TEST_F(ToolbarItemInWindow, isValidatedWhenATabIsOpenedSwitchedAndClosed) {
  EXPECT_EQ(validationsOf([&] { window_->openEmptyTab(); }), 1U);
  EXPECT_EQ(validationsOf([&] { window_->tabs().moveFront(1); }), 1U);
  EXPECT_EQ(validationsOf([&] { window_->closeTab(*window_->tabs().front()); }), 1U);
}

TEST_F(ToolbarItemInWindow, isValidatedWhenAPageComesAndWhenItsURLChanges) {
  auto& tab = *window_->tabs().front();
  EXPECT_GE(validationsOf([&] { tab.reload(); }), 1U);
  ASSERT_TRUE(becomes([&] { return !tab.isLoading(); }));
  settle();
  EXPECT_EQ(validationsOf([&] {
              webkit_web_view_evaluate_javascript(tab.view(), "move()", -1, nullptr, nullptr,
                                                  nullptr, nullptr, nullptr);
            }),
            1U);
  EXPECT_EQ(tab.url(), "http://news.test/moved");
}

TEST_F(ToolbarItemInWindow, looksAsTheExtensionSays) {
  auto& item = window_->toolbarItem();
  EXPECT_EQ(item.badge(), "");
  handler_.badge = "OFF";
  handler_.isEnabled = false;
  validationsOf([&] { item.setNeedsValidation(); });
  EXPECT_EQ(item.badge(), "OFF");
  EXPECT_FALSE(item.get_sensitive());
}

TEST_F(ToolbarItemInWindow, tellsTheExtensionOfAPressAndOpensItsPopover) {
  window_->toolbarItem().click();
  EXPECT_EQ(handler_.clicks, std::vector<SFSafariWindow*>{window_->extensionWindow().get()});
  EXPECT_EQ(opened_, &handler_.controller);
}

TEST_F(ToolbarItemInWindow, isPressedByItsKeys) {
  ASSERT_TRUE(becomes([&] { return window_->window().is_active(); }));
  press("ctrl+shift+e");
  EXPECT_TRUE(becomes([&] { return handler_.clicks.size() == 1; }));
}

TEST_F(ToolbarItemInWindow, contextMenuOfAPageHidesAnElement) {
  ASSERT_TRUE(becomes([&] { return window_->window().is_active(); }));
  input({"mousemove", "400", "400", "click", "3"});
  const auto isMenuOpen = [&] {
    return gtk_widget_get_focus_child(GTK_WIDGET(window_->tabs().front()->view())) != nullptr;
  };
  ASSERT_TRUE(becomes(isMenuOpen));
  press("Up");
  press("Return");
  ASSERT_TRUE(becomes([&] { return !handler_.commands.empty(); }));
  EXPECT_EQ(handler_.commands.front().first, SafariExtensionHandler::selectorModeCommand);
  EXPECT_EQ(handler_.commands.front().second, window_->tabs().front()->page().get());
}

class ToolbarItem : public BrowserTest {};

TEST_F(ToolbarItem, saysOffWhileBlockingIsPaused) {
  start();
  auto& defaults = browser_->extension().process().defaults();
  ASSERT_TRUE(defaults.setObject(true, Communication::pausedKey));
  EXPECT_TRUE(becomes([&] { return window().toolbarItem().badge() == "OFF"; }));
  ASSERT_TRUE(defaults.setObject(false, Communication::pausedKey));
  EXPECT_TRUE(becomes([&] { return window().toolbarItem().badge().empty(); }));
}

TEST_F(ToolbarItem, opensThePopoverOfTheExtension) {
  start();
  press("ctrl+shift+e");
  EXPECT_TRUE(
      becomes([&] { return browser_->extension().viewController().view().window() != nullptr; }));
  EXPECT_EQ(systemLog_.lines, std::vector<std::string>());
}

}  // namespace
}  // namespace orvane::test
