#include <fstream>
#include <future>
#include <thread>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libsoup/soup.h>
#include <sys/stat.h>

#include "Linux/GLib/URLLoader.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using ::testing::HasSubstr;
using namespace std::chrono_literals;

/// An HTTP server on the loopback interface, in a thread of its own.
class LoopbackServer {
 public:
  LoopbackServer() : context_(g_main_context_new()), loop_(g_main_loop_new(context_, FALSE)) {
    thread_ = std::thread([this] {
      g_main_context_push_thread_default(context_);
      server_ = soup_server_new(nullptr, nullptr);
      soup_server_add_handler(server_, nullptr, answer, this, nullptr);
      soup_server_listen_local(server_, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, nullptr);
      GSList* uris = soup_server_get_uris(server_);
      port_.set_value(g_uri_get_port(static_cast<GUri*>(uris->data)));
      g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
      g_main_loop_run(loop_);
      g_object_unref(server_);
      g_main_context_pop_thread_default(context_);
    });
    base_ = fmt::format("http://127.0.0.1:{}", port_.get_future().get());
  }
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;
  ~LoopbackServer() {
    // From the loop itself, since the loop may not have begun to run yet.
    GSource* quit = g_idle_source_new();
    const auto quitLoop = [](gpointer loop) -> gboolean {
      g_main_loop_quit(static_cast<GMainLoop*>(loop));
      return G_SOURCE_REMOVE;
    };
    g_source_set_callback(quit, quitLoop, loop_, nullptr);
    g_source_attach(quit, context_);
    g_source_unref(quit);
    thread_.join();
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
  }

  std::string url(const std::string& path) const { return base_ + path; }

 private:
  static void answer(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*,
                     gpointer) {
    const std::string_view asked(path);
    if (asked == "/package") {
      soup_server_message_set_response(message, "application/json", SOUP_MEMORY_STATIC, "{}", 2);
      soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
    } else if (asked == "/large") {
      const std::string large(5000, 'x');
      soup_server_message_set_response(message, "text/plain", SOUP_MEMORY_COPY, large.data(),
                                       large.size());
      soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
    } else if (asked == "/moved") {
      soup_server_message_set_redirect(message, SOUP_STATUS_FOUND, "/package");
    } else if (asked == "/to-file") {
      soup_server_message_set_redirect(message, SOUP_STATUS_FOUND, "file:///etc/hostname");
    } else if (asked == "/never") {
      soup_server_message_pause(message);
    } else {
      soup_server_message_set_status(message, SOUP_STATUS_NOT_FOUND, nullptr);
    }
  }

  GMainContext* context_;
  GMainLoop* loop_;
  SoupServer* server_ = nullptr;
  std::promise<int> port_;
  std::thread thread_;
  std::string base_;
};

class LoadingURLs : public ::testing::Test {
 protected:
  std::string failure(const std::string& url) {
    const auto contents = loader.contents(url);
    return contents ? "it was loaded" : contents.error().localizedDescription;
  }
  std::string fileURL(const std::string& name) { return "file://" + (folder / name).string(); }

  TemporaryDirectory folder;
  LoopbackServer server;
  URLLoader loader{{.bytes = 4000, .time = 10s}};
};

TEST_F(LoadingURLs, fetchesByHTTP) { EXPECT_EQ(loader.contents(server.url("/package")), "{}"); }

TEST_F(LoadingURLs, followsARedirection) { EXPECT_EQ(loader.contents(server.url("/moved")), "{}"); }

TEST_F(LoadingURLs, isNotRedirectedToAFile) {
  EXPECT_THAT(failure(server.url("/to-file")), HasSubstr("Cannot load '"));
}

TEST_F(LoadingURLs, readsAFile) {
  std::ofstream(folder / "p.json") << "content";
  EXPECT_EQ(loader.contents(fileURL("p.json")), "content");
  std::ofstream(folder / "empty").flush();
  EXPECT_EQ(loader.contents(fileURL("empty")), "");
}

TEST_F(LoadingURLs, statusOtherThanSuccessIsAnError) {
  EXPECT_EQ(failure(server.url("/missing")),
            "Cannot load '" + server.url("/missing") + "': the server answers with the status 404");
}

TEST_F(LoadingURLs, contentBeyondTheLimitIsAnError) {
  EXPECT_THAT(failure(server.url("/large")), HasSubstr("it is too large"));
  std::ofstream(folder / "large") << std::string(4001, 'x');
  EXPECT_THAT(failure(fileURL("large")), HasSubstr("it is too large"));
  std::ofstream(folder / "fits") << std::string(4000, 'x');
  EXPECT_EQ(loader.contents(fileURL("fits"))->size(), 4000U);
}

TEST_F(LoadingURLs, serverThatNeverAnswersRunsIntoTheLimitOfTime) {
  URLLoader impatient({.bytes = 4000, .time = 50ms});
  const auto contents = impatient.contents(server.url("/never"));
  ASSERT_FALSE(contents);
  EXPECT_THAT(contents.error().localizedDescription, HasSubstr("it took too long"));
}

TEST_F(LoadingURLs, whatIsNoRegularFileIsRefused) {
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_THAT(failure(fileURL("pipe")), HasSubstr("it is not a regular file"));
  EXPECT_THAT(failure("file://" + folder.path().string()), HasSubstr("it is not a regular file"));
  EXPECT_THAT(failure(fileURL("missing")), HasSubstr("it is not a regular file"));
}

TEST_F(LoadingURLs, otherSchemesAreRefused) {
  EXPECT_THAT(failure("ftp://127.0.0.1/x"), HasSubstr("the scheme 'ftp' is not supported"));
  EXPECT_THAT(failure("data:,x"), HasSubstr("the scheme 'data' is not supported"));
}

TEST_F(LoadingURLs, whatIsNoURLIsRefused) {
  EXPECT_THAT(failure(""), HasSubstr("Cannot load ''"));
  EXPECT_THAT(failure("no url"), HasSubstr("Cannot load 'no url'"));
  EXPECT_THAT(failure("http://"), HasSubstr("Cannot load 'http://'"));
}

TEST_F(LoadingURLs, serverThatIsNotThereIsAnError) {
  EXPECT_THAT(failure("http://127.0.0.1:1/"), HasSubstr("Cannot load 'http://127.0.0.1:1/'"));
}

}  // namespace
}  // namespace orvane::test
