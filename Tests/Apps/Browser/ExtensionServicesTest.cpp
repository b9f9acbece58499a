#include <chrono>

#include <gmock/gmock.h>

#include "Apps/Demonstration/MainLoop.h"
#include "SafariExtension/Extension/SafariExtensionHandler.h"
#include "Tests/Apps/Browser/BrowserFixture.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

class ExtensionServices : public BrowserTest {
 protected:
  struct Answer {
    bool hasCome = false;
    std::optional<SFSafariPageProperties> properties;
  };

  Answer propertiesOf(SFSafariPage& page) {
    auto answer = std::make_shared<Answer>();
    page.getPagePropertiesWithCompletionHandler([answer](const auto& properties) {
      *answer = {true, properties};
    });
    EXPECT_FALSE(answer->hasCome) << "inside the call";
    EXPECT_TRUE(becomes([&] { return answer->hasCome; }));
    return *answer;
  }

  /// The page in front, as the extension comes to it.
  std::shared_ptr<SFSafariPage> pageInFront() {
    bool hasCome = false;
    std::shared_ptr<SFSafariPage> found;
    window().extensionWindow()->getActiveTabWithCompletionHandler(
        [&](const std::shared_ptr<SFSafariTab>& tab) {
          ASSERT_NE(tab, nullptr);
          tab->getActivePageWithCompletionHandler([&](std::shared_ptr<SFSafariPage> page) {
            found = std::move(page);
            hasCome = true;
          });
          EXPECT_FALSE(hasCome) << "inside the call";
        });
    EXPECT_TRUE(becomes([&] { return hasCome; }));
    return found;
  }
};

TEST_F(ExtensionServices, pageTellsTheURLOfTheView) {
  serve("news.test", "/", "<p>News");
  startAt("http://news.test/");
  const auto answer = propertiesOf(*pageInFront());
  ASSERT_TRUE(answer.properties.has_value());
  ASSERT_TRUE(answer.properties->nullableURL().has_value());
  EXPECT_EQ(answer.properties->nullableURL()->absoluteString(), "http://news.test/");
}

TEST_F(ExtensionServices, pageHasTheURLOfItsDocumentWhileAnotherIsOnlyAskedFor) {
  serve("news.test", "/", "<p>News");
  serve("other.test", "/", "<p>Other");
  startAt("http://news.test/");
  front().open("http://other.test/");
  ASSERT_EQ(front().url(), "http://other.test/");
  const auto urlOfPage = [&] {
    return propertiesOf(*pageInFront()).properties->nullableURL()->absoluteString();
  };
  EXPECT_EQ(front().documentURL(), "http://news.test/");
  EXPECT_TRUE(becomes([&] { return front().documentURL() == "http://other.test/"; }));
  EXPECT_EQ(urlOfPage(), "http://other.test/");
  value(front(), "history.pushState(null, '', '/elsewhere')");
  EXPECT_TRUE(becomes([&] { return urlOfPage() == "http://other.test/elsewhere"; }));
}

TEST_F(ExtensionServices, pageOfAnEmptyTabHasNoURL) {
  start();
  const auto answer = propertiesOf(*pageInFront());
  ASSERT_TRUE(answer.properties.has_value());
  EXPECT_EQ(answer.properties->nullableURL(), std::nullopt);
}

TEST_F(ExtensionServices, tabHasTheSamePageWhateverItShows) {
  serve("news.test", "/", "<p>News");
  serve("news.test", "/sport", "<p>Sport");
  auto& tab = startAt("http://news.test/");
  const auto page = pageInFront();
  tab.open("http://news.test/sport");
  ASSERT_TRUE(becomes([&] { return isLoaded(tab, "http://news.test/sport"); }));
  EXPECT_EQ(pageInFront(), page);
  EXPECT_EQ(propertiesOf(*page).properties->nullableURL()->absoluteString(),
            "http://news.test/sport");
}

TEST_F(ExtensionServices, pageOfAClosedTabHasNoPropertiesAndLosesMessages) {
  serve("news.test", "/", "<p>News");
  auto& tab = startAt("http://news.test/");
  window().openEmptyTab();
  const auto page = tab.page();
  window().closeTab(tab);
  EXPECT_EQ(propertiesOf(*page).properties, std::nullopt);
  page->dispatchMessageToScriptWithName(SafariExtensionHandler::reloadMessage);
  settle();
  EXPECT_EQ(tabs().size(), 1U);
}

TEST_F(ExtensionServices, pageHoldsNeitherItsTabNorItsView) {
  serve("news.test", "/", "<p>News");
  auto& tab = startAt("http://news.test/");
  window().openEmptyTab();
  const auto page = tab.page();
  bool isViewGone = false;
  g_object_weak_ref(
      G_OBJECT(tab.view()), [](gpointer gone, GObject*) { *static_cast<bool*>(gone) = true; },
      &isViewGone);
  window().closeTab(tab);
  EXPECT_TRUE(becomes([&] { return isViewGone; }));
}

TEST_F(ExtensionServices, messageToAPageReachesItsScript) {
  serve("news.test", "/", "<p>News");
  startAt("http://news.test/");
  proxy_->clearLog();
  pageInFront()->dispatchMessageToScriptWithName(SafariExtensionHandler::reloadMessage);
  EXPECT_TRUE(becomes([&] { return !proxy_->log().empty(); }));
}

TEST_F(ExtensionServices, elementPickedOnAPageIsHiddenByTheExtension) {
  serve("news.test", "/", "<p id=advert style='position:fixed;inset:0'>Advert");
  auto& tab = startAt("http://news.test/");
  const auto launches = workspace_.launches.size();
  window().openEmptyTab();
  tabs().bringToFront(tab);
  tab.page()->dispatchMessageToScriptWithName(SafariExtensionHandler::showSelectorMessage);
  const auto isHidden = [&] { return workspace_.launches.size() > launches; };
  // A press before the script has come to pick is one on the page.
  for (int presses = 0; presses < 100 && !isHidden(); ++presses) {
    input({"mousemove", "400", std::to_string(400 + presses % 2), "click", "1"});
    runMainLoopUntil(isHidden, std::chrono::milliseconds(200));
  }
  EXPECT_TRUE(isHidden());
  EXPECT_EQ(browser_->extension().handler().pageToReload(), tab.page());
  EXPECT_THAT(systemLog_.lines, Contains(HasSubstr("Recieved hideSelector message")));
  EXPECT_THAT(systemLog_.lines, Contains(HasSubstr("#advert")));
}

}  // namespace
}  // namespace orvane::test
