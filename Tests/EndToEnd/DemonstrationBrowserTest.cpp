#include <chrono>
#include <memory>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Apps/Demonstration/DemonstrationBrowser.h"
#include "Apps/Demonstration/LoopbackProxy.h"
#include "Tests/EndToEnd/VirtualDisplay.h"

namespace orvane {
namespace {

using namespace std::chrono_literals;

class DemonstrationBrowserTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(VirtualDisplay::ofThisProcess().isReady()); }
};

/// A port that takes connections and never says a word.
class SilentPort {
 public:
  SilentPort()
      : socket_(g_socket_new(G_SOCKET_FAMILY_IPV4, G_SOCKET_TYPE_STREAM, G_SOCKET_PROTOCOL_TCP,
                             nullptr)) {
    const GObjectPointer<GSocketAddress> any(g_inet_socket_address_new_from_string("127.0.0.1", 0));
    isListening_ = g_socket_bind(socket_.get(), any.get(), FALSE, nullptr) != FALSE &&
                   g_socket_listen(socket_.get(), nullptr) != FALSE;
  }

  bool isListening() const { return isListening_; }

  std::string url() const {
    const GObjectPointer<GSocketAddress> address(
        g_socket_get_local_address(socket_.get(), nullptr));
    return fmt::format("http://127.0.0.1:{}",
                       g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(address.get())));
  }

 private:
  GObjectPointer<GSocket> socket_;
  bool isListening_ = false;
};

TEST_F(DemonstrationBrowserTest, GivesUpAPageThatNeverArrives) {
  const SilentPort proxy;
  ASSERT_TRUE(proxy.isListening());
  DemonstrationBrowser browser(proxy.url(), 500ms);
  const auto opened = browser.open("http://slow.test/");
  ASSERT_FALSE(opened.has_value());
  EXPECT_EQ(opened.error().localizedDescription,
            "Loading http://slow.test/ took longer than 0.5 s.");
}

TEST_F(DemonstrationBrowserTest, SaysThatAPageCannotBeLoaded) {
  std::string url = LoopbackProxy::start().value()->url();
  DemonstrationBrowser browser(url, 20s);
  const auto opened = browser.open("http://gone.test/");
  ASSERT_FALSE(opened.has_value());
  EXPECT_THAT(opened.error().localizedDescription,
              testing::StartsWith("Loading http://gone.test/ failed: "));
}

TEST_F(DemonstrationBrowserTest, SeesElementsAndSendsCookies) {
  const auto proxy = LoopbackProxy::start().value();
  proxy->serve("page.test", "/",
               {.contentType = "text/html",
                .body = "<style>.gone { display: none }</style>"
                        "<p id=there>Here</p><p id=gone class=gone>Not here</p>"
                        // What a page does to its own scripts must not change the answer.
                        "<script>getComputedStyle = () => ({display: 'none'})</script>",
                .headers = {}});
  DemonstrationBrowser browser(proxy->url(), 20s);
  ASSERT_TRUE(browser.setCookie("page.test", "reader", "mia").has_value());
  ASSERT_TRUE(browser.open("http://page.test/").has_value());
  EXPECT_EQ(browser.stateOf("there").value(), Outcome::Shown);
  EXPECT_EQ(browser.stateOf("gone").value(), Outcome::Hidden);
  EXPECT_EQ(browser.stateOf("never-was").value(), Outcome::Missing);
  EXPECT_THAT(proxy->log(),
              testing::ElementsAre(LoopbackProxy::Request{"http", "page.test", "/", "reader=mia"}));
}

TEST_F(DemonstrationBrowserTest, OpensPagesOverHTTPS) {
  const auto proxy = LoopbackProxy::start().value();
  proxy->serve("page.test", "/",
               {.contentType = "text/html", .body = "<p id=there>Here</p>", .headers = {}});
  DemonstrationBrowser browser(proxy->url(), 20s);
  ASSERT_TRUE(browser.open("https://page.test/").has_value());
  EXPECT_EQ(browser.stateOf("there").value(), Outcome::Shown);
  EXPECT_THAT(proxy->log(),
              testing::ElementsAre(LoopbackProxy::Request{"https", "page.test", "/", ""}));
}

}  // namespace
}  // namespace orvane
