#include "Apps/Demonstration/DemonstrationBrowser.h"

#include <fmt/format.h>
#include <libsoup/soup.h>

#include "Apps/Demonstration/AsyncResult.h"
#include "Apps/Demonstration/MainLoop.h"
#include "Linux/GLib/GLibError.h"

namespace orvane {
namespace {

constexpr int windowWidth = 800;
constexpr int windowHeight = 960;

/// Scripts run where no script of a page can reach them.
constexpr const char* scriptWorld = "orvane-demonstration";

WebKitNetworkSession* networkThrough(const std::string& proxyURL) {
  WebKitNetworkSession* network = webkit_network_session_new_ephemeral();
  WebKitNetworkProxySettings* proxy = webkit_network_proxy_settings_new(proxyURL.c_str(), nullptr);
  webkit_network_session_set_proxy_settings(network, WEBKIT_NETWORK_PROXY_MODE_CUSTOM, proxy);
  webkit_network_proxy_settings_free(proxy);
  webkit_network_session_set_tls_errors_policy(network, WEBKIT_TLS_ERRORS_POLICY_IGNORE);
  webkit_cookie_manager_set_accept_policy(webkit_network_session_get_cookie_manager(network),
                                          WEBKIT_COOKIE_POLICY_ACCEPT_ALWAYS);
  return network;
}

WebKitWebContext* contextWithoutCache() {
  WebKitWebContext* context = webkit_web_context_new();
  webkit_web_context_set_cache_model(context, WEBKIT_CACHE_MODEL_DOCUMENT_VIEWER);
  return context;
}

Outcome outcomeNamed(std::string_view name) {
  if (name == nameOf(Outcome::Shown)) return Outcome::Shown;
  return name == nameOf(Outcome::Hidden) ? Outcome::Hidden : Outcome::Missing;
}

}  // namespace

DemonstrationBrowser::DemonstrationBrowser(const std::string& proxyURL,
                                           std::chrono::milliseconds limit)
    : limit_(limit),
      contentManager_(webkit_user_content_manager_new()),
      network_(networkThrough(proxyURL)),
      context_(contextWithoutCache()),
      view_(WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context", context_.get(),
                                         "network-session", network_.get(), "user-content-manager",
                                         contentManager_.get(), nullptr))),
      window_(GTK_WINDOW(gtk_window_new())) {
  webkit_settings_set_hardware_acceleration_policy(webkit_web_view_get_settings(view_),
                                                   WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
  connectSignals();
  gtk_window_set_title(window_, "Orvane demonstration");
  gtk_window_set_default_size(window_, windowWidth, windowHeight);
  gtk_window_set_child(window_, GTK_WIDGET(view_));
  gtk_window_present(window_);
}

DemonstrationBrowser::~DemonstrationBrowser() {
  g_signal_handlers_disconnect_by_data(view_, this);
  g_signal_handlers_disconnect_by_data(window_, this);
  gtk_window_destroy(window_);
}

void DemonstrationBrowser::connectSignals() {
  const auto changed = [](WebKitWebView*, WebKitLoadEvent event, gpointer data) {
    auto& result = static_cast<DemonstrationBrowser*>(data)->loadResult_;
    if (event == WEBKIT_LOAD_FINISHED && !result) result = "";
  };
  const auto failed = [](WebKitWebView*, WebKitLoadEvent, const char*, GError* error,
                         gpointer data) -> gboolean {
    static_cast<DemonstrationBrowser*>(data)->loadResult_ = error->message;
    return TRUE;
  };
  const auto terminated = [](WebKitWebView*, WebKitWebProcessTerminationReason, gpointer data) {
    static_cast<DemonstrationBrowser*>(data)->loadResult_ = "The web process has ended.";
  };
  const auto closing = [](GtkWindow*, gpointer data) -> gboolean {
    static_cast<DemonstrationBrowser*>(data)->closed_ = true;
    return TRUE;
  };
  g_signal_connect(view_, "load-changed", G_CALLBACK(+changed), this);
  g_signal_connect(view_, "load-failed", G_CALLBACK(+failed), this);
  g_signal_connect(view_, "web-process-terminated", G_CALLBACK(+terminated), this);
  g_signal_connect(window_, "close-request", G_CALLBACK(+closing), this);
}

Expected<void> DemonstrationBrowser::setCookie(const std::string& host, const std::string& name,
                                               const std::string& value) {
  SoupCookie* cookie = soup_cookie_new(name.c_str(), value.c_str(), host.c_str(), "/", -1);
  const AsyncResult answer;
  auto* cookies = webkit_network_session_get_cookie_manager(network_.get());
  webkit_cookie_manager_add_cookie(cookies, cookie, nullptr, AsyncResult::callback,
                                   answer.callbackData());
  soup_cookie_free(cookie);
  const auto result = answer.wait("Setting a cookie", limit_);
  if (!result) return tl::unexpected(result.error());
  GError* error = nullptr;
  webkit_cookie_manager_add_cookie_finish(cookies, *result, &error);
  if (error != nullptr) return tl::unexpected(takenError(error));
  return {};
}

Expected<void> DemonstrationBrowser::open(const std::string& url) {
  loadResult_.reset();
  webkit_web_view_load_uri(view_, url.c_str());
  const auto step = fmt::format("Loading {}", url);
  if (!runMainLoopUntil([&] { return loadResult_.has_value(); }, limit_)) {
    webkit_web_view_stop_loading(view_);
    return tl::unexpected(timeLimitError(step, limit_));
  }
  if (!loadResult_->empty()) {
    return tl::unexpected(demonstrationError(fmt::format("{} failed: {}", step, *loadResult_)));
  }
  return {};
}

Expected<Outcome> DemonstrationBrowser::stateOf(const std::string& elementId) {
  const auto script = fmt::format(
      R"((element => !element ? "missing"
          : getComputedStyle(element).display === "none" ? "hidden" : "shown")
         (document.getElementById("{}")))",
      elementId);
  const AsyncResult answer;
  webkit_web_view_evaluate_javascript(view_, script.c_str(), -1, scriptWorld, nullptr, nullptr,
                                      AsyncResult::callback, answer.callbackData());
  const auto result = answer.wait("Asking the page about an element", limit_);
  if (!result) return tl::unexpected(result.error());
  GError* error = nullptr;
  const GObjectPointer<JSCValue> value(
      webkit_web_view_evaluate_javascript_finish(view_, *result, &error));
  if (!value) return tl::unexpected(takenError(error));
  gchar* name = jsc_value_to_string(value.get());
  const Outcome outcome = outcomeNamed(name);
  g_free(name);
  return outcome;
}

Expected<GObjectPointer<GdkTexture>> DemonstrationBrowser::picture() {
  const AsyncResult answer;
  webkit_web_view_get_snapshot(view_, WEBKIT_SNAPSHOT_REGION_FULL_DOCUMENT,
                               WEBKIT_SNAPSHOT_OPTIONS_NONE, nullptr, AsyncResult::callback,
                               answer.callbackData());
  const auto result = answer.wait("Taking a picture of the page", limit_);
  if (!result) return tl::unexpected(result.error());
  GError* error = nullptr;
  GObjectPointer<GdkTexture> texture(webkit_web_view_get_snapshot_finish(view_, *result, &error));
  if (!texture) return tl::unexpected(takenError(error));
  return texture;
}

void DemonstrationBrowser::runUntilClosed() {
  while (!closed_ && !wasInterrupted()) g_main_context_iteration(nullptr, TRUE);
}

}  // namespace orvane
