#include <csignal>
#include <filesystem>
#include <fstream>
#include <vector>

#include <gmock/gmock.h>
#include <unistd.h>

#include "SafariExtension/Extension/SafariExtensionHandler.h"
#include "Tests/Apps/Browser/BrowserFixture.h"

namespace orvane::test {
namespace {

using ::testing::HasSubstr;
using ::testing::SizeIs;

/// What stands behind "KEY:" in the status of a process.
std::string statusOf(const std::filesystem::path& process, const std::string& key) {
  std::ifstream file(process / "status");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(key + ":\t")) return line.substr(key.size() + 2);
  }
  return "";
}

bool isBelowThisProcess(pid_t process) {
  while (process > 1 && process != ::getpid()) {
    const auto parent = statusOf("/proc/" + std::to_string(process), "PPid");
    process = parent.empty() ? 0 : std::stoi(parent);
  }
  return process == ::getpid();
}

/// The processes of this browser that show pages.
std::vector<pid_t> webProcesses() {
  std::vector<pid_t> found;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const auto name = entry.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    if (!statusOf(entry.path(), "Name").starts_with("WebKitWebProces")) continue;
    if (isBelowThisProcess(std::stoi(name))) found.push_back(std::stoi(name));
  }
  return found;
}

class Failures : public BrowserTest {
 protected:
  bool saysInPlaceOfThePage(const std::string& title) {
    return becomes([&] { return front().showsNotice() && front().notice().title() == title; });
  }
  void block(const std::string& filter) {
    const auto json =
        R"([{"trigger":{"url-filter":")" + filter + R"("},"action":{"type":"block"}}])";
    const auto file = folder_->path() / "rules.json";
    std::ofstream(file) << json;
    auto* store = webkit_user_content_filter_store_new((folder_->path() / "filters").c_str());
    const auto saved = [](GObject* source, GAsyncResult* result, gpointer data) {
      *static_cast<WebKitUserContentFilter**>(data) = webkit_user_content_filter_store_save_finish(
          WEBKIT_USER_CONTENT_FILTER_STORE(source), result, nullptr);
    };
    WebKitUserContentFilter* filterOfTest = nullptr;
    GBytes* bytes = g_bytes_new(json.data(), json.size());
    webkit_user_content_filter_store_save(store, "test", bytes, nullptr, saved, &filterOfTest);
    ASSERT_TRUE(becomes([&] { return filterOfTest != nullptr; }));
    webkit_user_content_manager_add_filter(browser_->engine().contentManager(), filterOfTest);
    webkit_user_content_filter_unref(filterOfTest);
    g_bytes_unref(bytes);
    g_object_unref(store);
  }
  void unblock() {
    webkit_user_content_manager_remove_filter_by_id(browser_->engine().contentManager(), "test");
  }
  void killWebProcess() {
    const auto processes = webProcesses();
    ASSERT_THAT(processes, SizeIs(1));
    ASSERT_EQ(::kill(processes.front(), SIGKILL), 0);
  }
  void tryAgain() { gtk_widget_activate(GTK_WIDGET(front().notice().button().gobj())); }
};

TEST_F(Failures, areSaidInPlaceOfThePageAndTriedAgain) {
  start({"file:///nowhere/page.html"});
  ASSERT_TRUE(saysInPlaceOfThePage("This Page Cannot Be Loaded"));
  EXPECT_THAT(front().notice().explanation(), HasSubstr("/nowhere/page.html"));
  EXPECT_TRUE(becomes([&] { return !front().isLoading(); }));
  EXPECT_EQ(front().url(), "file:///nowhere/page.html");
  EXPECT_EQ(front().title(), "This Page Cannot Be Loaded");
}

TEST_F(Failures, areOverOnceThePageLoads) {
  const auto page = folder_->path() / "page.html";
  const auto url = "file://" + page.string();
  start({url});
  ASSERT_TRUE(saysInPlaceOfThePage("This Page Cannot Be Loaded"));
  std::ofstream(page) << "<title>Here it is</title>";
  tryAgain();
  EXPECT_TRUE(becomes([&] { return isLoaded(front(), url); }));
  EXPECT_TRUE(becomes([&] { return front().title() == "Here it is"; }));
}

TEST_F(Failures, areOverAlsoWhenTheExtensionHasThePageLoadedAgain) {
  serve("news.test", "/", "<title>News</title>");
  start();
  block("news");
  front().open("http://news.test/");
  ASSERT_TRUE(saysInPlaceOfThePage("This Page Is Blocked"));
  EXPECT_EQ(front().url(), "http://news.test/") << "the extension is to know whose page it is";
  EXPECT_THAT(front().notice().explanation(), HasSubstr("“news.test”"));
  EXPECT_TRUE(proxy_->log().empty());
  unblock();
  front().page()->dispatchMessageToScriptWithName(SafariExtensionHandler::reloadMessage);
  EXPECT_TRUE(becomes([&] { return isLoaded(front(), "http://news.test/"); }));
}

TEST_F(Failures, leaveThePageBeforeToGoBackTo) {
  serve("news.test", "/", "<title>News</title>");
  startAt("http://news.test/");
  block("blocked");
  front().open("http://blocked.test/");
  ASSERT_TRUE(saysInPlaceOfThePage("This Page Is Blocked"));
  ASSERT_TRUE(becomes([&] { return front().canGoBack() && !front().isLoading(); }));
  front().goBack();
  EXPECT_TRUE(becomes([&] { return isLoaded(front(), "http://news.test/"); }));
  front().goForward();
  EXPECT_TRUE(saysInPlaceOfThePage("This Page Is Blocked"));
}

TEST_F(Failures, ofACertificateAreSaidAndNothingIsSent) {
  serve("news.test", "/", "<title>News</title>");
  auto strict = options();
  strict.acceptsAnyCertificate = false;
  strict.urls = {"https://news.test/"};
  browser_ = std::make_unique<Browser>(strict, systemLog_, [] {});
  ASSERT_TRUE(saysInPlaceOfThePage("This Connection Is Not Secure"));
  EXPECT_THAT(front().notice().explanation(), HasSubstr("authority that is not known"));
  EXPECT_TRUE(proxy_->log().empty());
}

TEST_F(Failures, ofTheWebProcessAreNoticedAndThePageIsLoadedAgain) {
  serve("news.test", "/", "<title>News</title>");
  startAt("http://news.test/");
  killWebProcess();
  ASSERT_TRUE(saysInPlaceOfThePage("This Page Has Stopped"));
  EXPECT_EQ(front().url(), "http://news.test/");
  tryAgain();
  EXPECT_TRUE(becomes([&] { return isLoaded(front(), "http://news.test/"); }));
  EXPECT_EQ(value(front(), "document.title"), "News");
}

TEST_F(Failures, ofTheWebProcessAreOverWhenTheExtensionHasThePageLoadedAgain) {
  serve("news.test", "/", "<title>News</title>");
  startAt("http://news.test/");
  killWebProcess();
  ASSERT_TRUE(saysInPlaceOfThePage("This Page Has Stopped"));
  front().page()->dispatchMessageToScriptWithName(SafariExtensionHandler::reloadMessage);
  EXPECT_TRUE(becomes([&] { return isLoaded(front(), "http://news.test/"); }));
}

TEST_F(Failures, areNotSaidOfALoadThatTheUserStops) {
  start();
  bool isAsked = false;
  proxy_->serve("news.test", "/", [&](const LoopbackProxy::Request&) {
    isAsked = true;
    front().stop();
    return LoopbackProxy::Response{.contentType = "text/html", .body = "", .headers = {}};
  });
  front().open("http://news.test/");
  ASSERT_TRUE(becomes([&] { return isAsked && !front().isLoading(); }));
  EXPECT_NE(front().notice().title(), "This Page Cannot Be Loaded");
}

}  // namespace
}  // namespace orvane::test
