#include <chrono>
#include <optional>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libsoup/soup.h>

#include "Apps/Demonstration/LoopbackProxy.h"
#include "Apps/Demonstration/MainLoop.h"

namespace orvane {
namespace {

using Request = LoopbackProxy::Request;
using namespace std::chrono_literals;

struct Answer {
  unsigned status = 0;
  std::string contentType;
  std::string body;
};

/// A client that reaches everything through one proxy and accepts any certificate.
class Client {
 public:
  explicit Client(const std::string& proxy)
      : session_(
            soup_session_new_with_options("max-conns", 1000, "max-conns-per-host", 1000, nullptr)) {
    const GObjectPointer<GProxyResolver> resolver(
        g_simple_proxy_resolver_new(proxy.c_str(), nullptr));
    soup_session_set_proxy_resolver(session_.get(), resolver.get());
  }

  /// Sends a request at once; the answer is there when `answer` is.
  void send(const std::string& url, std::optional<Answer>& answer, const char* cookie = nullptr) {
    auto* pending =
        new Pending{GObjectPointer<SoupMessage>(soup_message_new("GET", url.c_str())), &answer};
    const auto accept = [](SoupMessage*, GTlsCertificate*, GTlsCertificateFlags,
                           gpointer) -> gboolean { return TRUE; };
    g_signal_connect(pending->message.get(), "accept-certificate", G_CALLBACK(+accept), nullptr);
    if (cookie != nullptr) {
      soup_message_headers_append(soup_message_get_request_headers(pending->message.get()),
                                  "Cookie", cookie);
    }
    soup_session_send_and_read_async(session_.get(), pending->message.get(), G_PRIORITY_DEFAULT,
                                     nullptr, received, pending);
  }

 private:
  struct Pending {
    GObjectPointer<SoupMessage> message;
    std::optional<Answer>* answer;
  };

  static void received(GObject* session, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<Pending> pending(static_cast<Pending*>(data));
    GBytes* bytes = soup_session_send_and_read_finish(SOUP_SESSION(session), result, nullptr);
    pending->answer->emplace();
    if (bytes == nullptr) return;
    auto& answer = **pending->answer;
    auto* headers = soup_message_get_response_headers(pending->message.get());
    const char* contentType = soup_message_headers_get_content_type(headers, nullptr);
    gsize size = 0;
    const auto* body = static_cast<const char*>(g_bytes_get_data(bytes, &size));
    answer = {static_cast<unsigned>(soup_message_get_status(pending->message.get())),
              contentType == nullptr ? "" : contentType, std::string(body, size)};
    g_bytes_unref(bytes);
  }

  GObjectPointer<SoupSession> session_;
};

class LoopbackProxyTest : public testing::Test {
 protected:
  Answer get(const std::string& url, const char* cookie = nullptr) {
    std::optional<Answer> answer;
    client_.send(url, answer, cookie);
    EXPECT_TRUE(runMainLoopUntil([&] { return answer.has_value(); }, 10s)) << url;
    return answer.value_or(Answer());
  }

  std::unique_ptr<LoopbackProxy> proxy_ = LoopbackProxy::start().value();
  Client client_{proxy_->url()};
};

TEST_F(LoopbackProxyTest, AnswersAPlainRequest) {
  proxy_->serve("news.test", "/", {.contentType = "text/html", .body = "<p>Hello", .headers = {}});
  const Answer answer = get("http://news.test/?today");
  EXPECT_EQ(answer.status, 200U);
  EXPECT_EQ(answer.contentType, "text/html");
  EXPECT_EQ(answer.body, "<p>Hello");
  EXPECT_THAT(proxy_->log(), testing::ElementsAre(Request{"http", "news.test", "/?today", ""}));
}

TEST_F(LoopbackProxyTest, AnswersInsideATunnel) {
  proxy_->serve("bank.test", "/in", {.contentType = "text/plain", .body = "safe", .headers = {}});
  const Answer answer = get("https://bank.test/in", "user=mia");
  EXPECT_EQ(answer.status, 200U);
  EXPECT_EQ(answer.body, "safe");
  EXPECT_THAT(proxy_->log(),
              testing::ElementsAre(Request{"https", "bank.test", "/in", "user=mia"}));
}

TEST_F(LoopbackProxyTest, TellsTheHandlerWhatWasAsked) {
  proxy_->serve("shop.test", "/cart", [](const Request& request) {
    return LoopbackProxy::Response{
        .contentType = "text/plain", .body = request.scheme + " " + request.cookie, .headers = {}};
  });
  EXPECT_EQ(get("http://shop.test/cart", "items=3").body, "http items=3");
  EXPECT_EQ(get("https://shop.test/cart").body, "https ");
}

TEST_F(LoopbackProxyTest, AnswersWhatIsNotServedWith404AndLogsIt) {
  proxy_->serve("news.test", "/", {.contentType = "text/html", .body = "x", .headers = {}});
  EXPECT_EQ(get("http://news.test/other").status, 404U);
  EXPECT_EQ(get("https://elsewhere.test/").status, 404U);
  EXPECT_THAT(proxy_->log(), testing::ElementsAre(Request{"http", "news.test", "/other", ""},
                                                  Request{"https", "elsewhere.test", "/", ""}));
}

TEST_F(LoopbackProxyTest, ForgetsItsLogWhenAsked) {
  get("http://news.test/first");
  proxy_->clearLog();
  get("http://news.test/second");
  EXPECT_THAT(proxy_->log(), testing::ElementsAre(Request{"http", "news.test", "/second", ""}));
}

TEST_F(LoopbackProxyTest, AnswersManyConnectionsAtOnce) {
  constexpr std::size_t count = 200;
  std::vector<std::optional<Answer>> answers(count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto host = fmt::format("host{}.test", i);
    proxy_->serve(host, "/", {.contentType = "text/plain", .body = host, .headers = {}});
    client_.send(fmt::format("{}://{}/", i % 4 == 0 ? "https" : "http", host), answers[i]);
  }
  const auto allAnswered = [&] {
    return std::all_of(answers.begin(), answers.end(), [](auto& a) { return a.has_value(); });
  };
  ASSERT_TRUE(runMainLoopUntil(allAnswered, 20s));
  for (std::size_t i = 0; i < count; ++i)
    EXPECT_EQ(answers[i]->body, fmt::format("host{}.test", i));
  EXPECT_EQ(proxy_->log().size(), count);
}

TEST_F(LoopbackProxyTest, RefusesAPortThatIsTaken) {
  const auto port = static_cast<std::uint16_t>(
      std::stoi(proxy_->url().substr(std::string("http://127.0.0.1:").size())));
  EXPECT_FALSE(LoopbackProxy::start(port).has_value());
}

}  // namespace
}  // namespace orvane
