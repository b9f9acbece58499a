#include "Linux/GLib/URLLoader.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <fmt/format.h>
#include <libsoup/soup.h>

namespace orvane {
namespace {

template <typename Object>
using Owned = std::unique_ptr<Object, decltype(&g_object_unref)>;

template <typename Object>
Owned<Object> owned(Object* object) {
  return {object, g_object_unref};
}

/// One fetch: it runs a main context of its own until the content is there, a limit is passed or
/// something fails.
class Fetch {
 public:
  Fetch(std::string url, URLLoader::Limits limits) : url_(std::move(url)), limits_(limits) {}

  Expected<std::string> run() {
    const std::unique_ptr<GMainContext, decltype(&g_main_context_unref)> context(
        g_main_context_new(), g_main_context_unref);
    g_main_context_push_thread_default(context.get());
    startClock(context.get());
    start();
    while (!finished_) g_main_context_iteration(context.get(), TRUE);
    // What was cancelled still reports back, and must find this object.
    while (pending_ > 0) g_main_context_iteration(context.get(), TRUE);
    g_source_destroy(clock_.get());
    // A stream and its session must end while the context that they belong to is the current one.
    stream_.reset();
    message_.reset();
    session_.reset();
    g_main_context_pop_thread_default(context.get());
    if (failure_) return tl::unexpected(failed(*failure_));
    return std::move(content_);
  }

 private:
  using Step = void (Fetch::*)(GObject*, GAsyncResult*);

  /// Passes the answer to an asynchronous call on to a member function.
  template <Step step>
  static void forward(GObject* object, GAsyncResult* result, gpointer data) {
    auto& fetch = *static_cast<Fetch*>(data);
    --fetch.pending_;
    (fetch.*step)(object, result);
  }

  NSError failed(const std::string& reason) const {
    return {"NSURLErrorDomain", 1, fmt::format("Cannot load '{}': {}", url_, reason)};
  }

  void finish(std::optional<std::string> failure) {
    if (finished_) return;
    finished_ = true;
    failure_ = std::move(failure);
    g_cancellable_cancel(cancellable_.get());
  }

  void finish(GError* error) {
    finish(std::string(error->message));
    g_error_free(error);
  }

  void startClock(GMainContext* context) {
    clock_.reset(g_timeout_source_new(static_cast<guint>(limits_.time.count())));
    const auto expired = [](gpointer fetch) -> gboolean {
      static_cast<Fetch*>(fetch)->finish(std::string("it took too long"));
      return G_SOURCE_REMOVE;
    };
    g_source_set_callback(clock_.get(), expired, this, nullptr);
    g_source_attach(clock_.get(), context);
  }

  void start() {
    GError* error = nullptr;
    const std::unique_ptr<GUri, decltype(&g_uri_unref)> uri(
        g_uri_parse(url_.c_str(), static_cast<GUriFlags>(SOUP_HTTP_URI_FLAGS), &error),
        g_uri_unref);
    if (error != nullptr) return finish(error);
    const std::string_view scheme = g_uri_get_scheme(uri.get());
    if (scheme == "file") return startFile();
    if (scheme == "http" || scheme == "https") return startHTTP();
    finish(fmt::format("the scheme '{}' is not supported", scheme));
  }

  void startFile() {
    const auto file = owned(g_file_new_for_uri(url_.c_str()));
    // Anything else, such as a pipe or a device, has no end of its own.
    if (g_file_query_file_type(file.get(), G_FILE_QUERY_INFO_NONE, nullptr) !=
        G_FILE_TYPE_REGULAR) {
      return finish(std::string("it is not a regular file"));
    }
    GError* error = nullptr;
    auto* stream = g_file_read(file.get(), nullptr, &error);
    if (stream == nullptr) return finish(error);
    read(G_INPUT_STREAM(stream));
  }

  void startHTTP() {
    session_.reset(soup_session_new());
    message_.reset(soup_message_new("GET", url_.c_str()));
    if (!message_) return finish(std::string("it names no host"));
    ++pending_;
    soup_session_send_async(session_.get(), message_.get(), G_PRIORITY_DEFAULT, cancellable_.get(),
                            forward<&Fetch::responseArrived>, this);
  }

  void responseArrived(GObject* session, GAsyncResult* result) {
    GError* error = nullptr;
    auto* stream = soup_session_send_finish(SOUP_SESSION(session), result, &error);
    if (stream == nullptr) return finish(error);
    const auto status = soup_message_get_status(message_.get());
    if (SOUP_STATUS_IS_SUCCESSFUL(status)) return read(stream);
    g_object_unref(stream);
    finish(fmt::format("the server answers with the status {}", static_cast<unsigned>(status)));
  }

  void read(GInputStream* stream) {
    stream_.reset(stream);
    readMore();
  }

  void readMore() {
    ++pending_;
    g_input_stream_read_async(stream_.get(), buffer_.data(), buffer_.size(), G_PRIORITY_DEFAULT,
                              cancellable_.get(), forward<&Fetch::bytesArrived>, this);
  }

  void bytesArrived(GObject* stream, GAsyncResult* result) {
    GError* error = nullptr;
    const auto count = g_input_stream_read_finish(G_INPUT_STREAM(stream), result, &error);
    if (count < 0) return finish(error);
    if (count == 0) return finish(std::optional<std::string>());
    content_.append(buffer_.data(), static_cast<std::size_t>(count));
    if (content_.size() > limits_.bytes) return finish(std::string("it is too large"));
    readMore();
  }

  std::string url_;
  URLLoader::Limits limits_;
  std::unique_ptr<GSource, decltype(&g_source_unref)> clock_{nullptr, g_source_unref};
  Owned<GCancellable> cancellable_ = owned(g_cancellable_new());
  Owned<SoupSession> session_ = owned<SoupSession>(nullptr);
  Owned<SoupMessage> message_ = owned<SoupMessage>(nullptr);
  Owned<GInputStream> stream_ = owned<GInputStream>(nullptr);
  std::array<char, 65536> buffer_{};
  std::string content_;
  int pending_ = 0;
  bool finished_ = false;
  std::optional<std::string> failure_;
};

}  // namespace

Expected<std::string> URLLoader::contents(std::string_view url) {
  return Fetch(std::string(url), limits_).run();
}

}  // namespace orvane
