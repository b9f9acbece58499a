#include "Apps/Browser/WebEngine.h"

namespace orvane {
namespace {

GObjectPointer<WebKitNetworkSession> makeNetwork(const BrowserOptions& options,
                                                 const XDGDirectories& directories) {
  if (options.isEphemeral || !directories.data || !directories.cache) {
    return GObjectPointer<WebKitNetworkSession>(webkit_network_session_new_ephemeral());
  }
  const auto data = *directories.data / "orvane" / "Browser";
  const auto cache = *directories.cache / "orvane" / "Browser";
  GObjectPointer<WebKitNetworkSession> network(
      webkit_network_session_new(data.c_str(), cache.c_str()));
  webkit_cookie_manager_set_persistent_storage(
      webkit_network_session_get_cookie_manager(network.get()), (data / "Cookies.sqlite").c_str(),
      WEBKIT_COOKIE_PERSISTENT_STORAGE_SQLITE);
  return network;
}

void useProxy(WebKitNetworkSession* network, const std::string& url) {
  auto* settings = webkit_network_proxy_settings_new(url.c_str(), nullptr);
  webkit_network_session_set_proxy_settings(network, WEBKIT_NETWORK_PROXY_MODE_CUSTOM, settings);
  webkit_network_proxy_settings_free(settings);
}

}  // namespace

WebEngine::WebEngine(const BrowserOptions& options, const XDGDirectories& directories)
    : contentManager_(webkit_user_content_manager_new()),
      network_(makeNetwork(options, directories)),
      context_(webkit_web_context_new()),
      settings_(webkit_settings_new()) {
  if (!options.proxyURL.empty()) useProxy(network_.get(), options.proxyURL);
  webkit_network_session_set_tls_errors_policy(network_.get(), options.acceptsAnyCertificate
                                                                   ? WEBKIT_TLS_ERRORS_POLICY_IGNORE
                                                                   : WEBKIT_TLS_ERRORS_POLICY_FAIL);
  webkit_network_session_set_itp_enabled(network_.get(), TRUE);
}

GObjectPointer<WebKitWebView> WebEngine::makeView(WebKitWebView* opener) const {
  gpointer view =
      opener == nullptr
          ? g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context", context_.get(), "network-session",
                         network_.get(), "user-content-manager", contentManager_.get(), "settings",
                         settings_.get(), nullptr)
          : g_object_new(WEBKIT_TYPE_WEB_VIEW, "related-view", opener, "user-content-manager",
                         contentManager_.get(), "settings", settings_.get(), nullptr);
  return GObjectPointer<WebKitWebView>(WEBKIT_WEB_VIEW(g_object_ref_sink(view)));
}

}  // namespace orvane
