#include <array>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Linux/WebKitGTK/PageScript.h"
#include "Tests/PageScript/ScriptedView.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using ::testing::IsEmpty;

constexpr std::array fileNames{"DOM.js",     "Names.js",  "Selector.js",
                               "Overlay.js", "Picker.js", "Messages.js"};

TEST(PageScriptFiles, areAllNeeded) {
  const GObjectPointer<WebKitUserContentManager> contentManager(webkit_user_content_manager_new());
  for (const char* missing : fileNames) {
    const TemporaryDirectory folder;
    std::filesystem::copy(scriptFolder(), folder.path(), std::filesystem::copy_options::recursive);
    std::filesystem::remove(folder / missing);
    const auto script = PageScript::load(folder.path(), contentManager.get(), [](auto) {});
    ASSERT_FALSE(script.has_value()) << missing;
    EXPECT_THAT(script.error().localizedDescription, ::testing::HasSubstr(missing));
  }
  EXPECT_TRUE(PageScript::load(scriptFolder(), contentManager.get(), [](auto) {}).has_value());
}

TEST(PageScriptFiles, areThoseThatAreShipped) {
  std::vector<std::string> shipped;
  for (const auto& entry : std::filesystem::directory_iterator(scriptFolder())) {
    shipped.push_back(entry.path().filename());
  }
  EXPECT_THAT(shipped, ::testing::UnorderedElementsAreArray(fileNames));
}

TEST(PageScriptFiles, areLoadedOnceIntoAContentManagerAndAgainWhenTheyHaveLeftIt) {
  const GObjectPointer<WebKitUserContentManager> contentManager(webkit_user_content_manager_new());
  auto first = PageScript::load(scriptFolder(), contentManager.get(), [](auto) {});
  ASSERT_TRUE(first.has_value());
  EXPECT_FALSE(PageScript::load(scriptFolder(), contentManager.get(), [](auto) {}).has_value());
  first->reset();
  EXPECT_TRUE(PageScript::load(scriptFolder(), contentManager.get(), [](auto) {}).has_value());
}

class PageScriptMessages : public ::testing::Test {
 protected:
  PageScriptMessages() { view.show("<!doctype html><p id=offer>Buy"); }

  void post(const std::string& value) {
    view.run("webkit.messageHandlers.orvane.postMessage(" + value + ");", World::Script);
  }

  ScriptedView view;
};

TEST_F(PageScriptMessages, areGivenToTheReceiver) {
  post("{ page: 'tab', name: 'hideSelector', userInfo: { sel: '#offer', count: 3, on: true } }");
  ASSERT_TRUE(view.hears(1));
  EXPECT_EQ(view.messages()[0].page, "tab");
  EXPECT_EQ(view.messages()[0].name, "hideSelector");
  EXPECT_EQ(
      view.messages()[0].userInfo,
      (PropertyListValue::Dictionary{{"sel", "#offer"}, {"count", std::int64_t{3}}, {"on", true}}));
}

TEST_F(PageScriptMessages, needNoUserInfo) {
  post("{ page: '', name: 'hello' }");
  ASSERT_TRUE(view.hears(1));
  EXPECT_EQ(view.messages()[0].userInfo, std::nullopt);
}

TEST_F(PageScriptMessages, withoutFormAreIgnored) {
  for (const char* value :
       {"undefined", "null", "1", "'text'", "[]", "{}", "{ page: 'tab' }", "{ name: 'hello' }",
        "{ page: 1, name: 'hello' }", "{ page: 'tab', name: ['hello'] }", "new Date()",
        "(() => { const a = []; a.push(a); return a; })()", "new Uint8Array(9)"}) {
    post(value);
  }
  post("{ page: 'tab', name: 'last', userInfo: 'text' }");
  ASSERT_TRUE(view.hears(1));
  EXPECT_EQ(view.messages()[0].name, "last");
  EXPECT_EQ(view.messages()[0].userInfo, std::nullopt);
}

TEST_F(PageScriptMessages, withAValueThatHoldsItselfDoNoHarm) {
  post(
      "(() => { const info = { name: 'x' }; info.self = info;"
      " return { page: 'tab', name: 'round', userInfo: info }; })()");
  ASSERT_TRUE(view.hears(1));
  EXPECT_EQ(view.messages()[0].name, "round");
}

TEST_F(PageScriptMessages, arriveNoMoreWhenTheScriptIsGone) {
  const GObjectPointer<WebKitUserContentManager> contentManager(webkit_user_content_manager_new());
  int received = 0;
  auto script = PageScript::load(scriptFolder(), contentManager.get(), [&](auto) { ++received; });
  ASSERT_TRUE(script.has_value());
  auto* shown = WEBKIT_WEB_VIEW(g_object_ref_sink(
      g_object_new(WEBKIT_TYPE_WEB_VIEW, "user-content-manager", contentManager.get(), nullptr)));
  webkit_web_view_load_html(shown, "<p>Text", nullptr);
  script->reset();
  webkit_web_view_evaluate_javascript(shown, "webkit.messageHandlers.orvane.postMessage({})", -1,
                                      "orvane", nullptr, nullptr, nullptr, nullptr);
  view.settle();
  EXPECT_EQ(received, 0);
  g_object_unref(shown);
}

TEST_F(PageScriptMessages, toAPageCarryAnyText) {
  const std::string name = "quote \" ' ` \\ ${} </script> \u2028 \U0001f600";
  view.script().dispatch(view.view(), name, "showSelector");
  EXPECT_TRUE(view.becomes("test.overlay?.host.isConnected === true", World::Script));
  view.hover("document.querySelector('#offer')");
  view.click();
  ASSERT_TRUE(view.hears(1));
  EXPECT_EQ(view.messages()[0].page, name);
}

TEST_F(PageScriptMessages, toAPageThatAreNotUTF8AreNotSent) {
  view.script().dispatch(view.view(), "\xff", "showSelector");
  view.script().dispatch(view.view(), "page", "showSelector\xc3");
  view.settle();
  EXPECT_EQ(view.value("test.overlay === null", World::Script), "true");
}

TEST_F(PageScriptMessages, toNamesThatObjectsInheritDoNothing) {
  for (const char* name :
       {"constructor", "__proto__", "toString", "hasOwnProperty", "", "receive"}) {
    view.script().dispatch(view.view(), "page", name);
  }
  view.settle();
  EXPECT_EQ(view.value("test.overlay === null", World::Script), "true");
  EXPECT_THAT(view.messages(), IsEmpty());
}

TEST_F(PageScriptMessages, toAViewWithoutAPageDoNoHarm) {
  auto* empty = WEBKIT_WEB_VIEW(g_object_ref_sink(
      g_object_new(WEBKIT_TYPE_WEB_VIEW, "user-content-manager", view.contentManager(), nullptr)));
  view.script().dispatch(empty, "page", "showSelector");
  view.script().dispatch(empty, "page", "reloadIfNeeded");
  view.settle();
  g_object_unref(empty);
  EXPECT_EQ(view.pick("document.querySelector('#offer')"), "#offer");
}

TEST_F(PageScriptMessages, ofViewsThatShareAContentManagerTellThePageTheyComeFrom) {
  auto* second = WEBKIT_WEB_VIEW(g_object_new(
      WEBKIT_TYPE_WEB_VIEW, "network-session", webkit_web_view_get_network_session(view.view()),
      "user-content-manager", view.contentManager(), nullptr));
  // It covers the first one.
  auto* window = GTK_WINDOW(gtk_window_new());
  gtk_window_set_decorated(window, FALSE);
  gtk_window_set_default_size(window, 1000, 800);
  gtk_window_set_child(window, GTK_WIDGET(second));
  gtk_window_present(window);
  view.waitForLoad(second, [&] { webkit_web_view_load_uri(second, "http://news.test/"); });

  view.startPicking();
  view.script().dispatch(second, "second", "showSelector");
  EXPECT_TRUE(becomesIn(second, "test.overlay?.host.isConnected === true", World::Script));
  EXPECT_TRUE(view.isPicking());
  view.input({"mousemove", "100", "25", "mousemove", "102", "25"});
  EXPECT_TRUE(becomesIn(second, "test.overlay.querySelector('.selector').textContent === '#offer'",
                        World::Script));
  view.click();
  ASSERT_TRUE(view.hears(1));
  EXPECT_EQ(view.messages()[0].page, "second");
  EXPECT_TRUE(view.isPicking()) << "the first view was not meant";
  gtk_window_destroy(window);
}

}  // namespace
}  // namespace orvane::test
