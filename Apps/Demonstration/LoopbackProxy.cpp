#include "Apps/Demonstration/LoopbackProxy.h"

#include <optional>

#include <fmt/format.h>

#include "Apps/Demonstration/LoopbackCertificate.h"
#include "Linux/GLib/GLibError.h"

namespace orvane {
namespace {

/// A page may open many connections at once, and none of them shall be refused.
constexpr int backlog = 256;

std::string headerOf(SoupServerMessage* message, const char* name) {
  const char* value =
      soup_message_headers_get_list(soup_server_message_get_request_headers(message), name);
  return value == nullptr ? "" : value;
}

LoopbackProxy::Request requestOf(SoupServerMessage* message, const char* scheme) {
  GUri* uri = soup_server_message_get_uri(message);
  std::string path = g_uri_get_path(uri);
  if (const char* query = g_uri_get_query(uri)) path.append("?").append(query);
  return {scheme, g_uri_get_host(uri), std::move(path), headerOf(message, "Cookie")};
}

void respond(SoupServerMessage* message, const LoopbackProxy::Response& response) {
  if (response.isHeldBack) return soup_server_message_pause(message);
  auto* headers = soup_server_message_get_response_headers(message);
  soup_message_headers_replace(headers, "Cache-Control", "no-store");
  for (const auto& [name, value] : response.headers) {
    soup_message_headers_append(headers, name.c_str(), value.c_str());
  }
  soup_server_message_set_status(message, response.status, nullptr);
  soup_server_message_set_response(message, response.contentType.c_str(), SOUP_MEMORY_COPY,
                                   response.body.data(), response.body.size());
}

Expected<GObjectPointer<GSocket>> listeningSocket(std::uint16_t port) {
  GError* error = nullptr;
  GObjectPointer<GSocket> socket(
      g_socket_new(G_SOCKET_FAMILY_IPV4, G_SOCKET_TYPE_STREAM, G_SOCKET_PROTOCOL_TCP, &error));
  if (!socket) return tl::unexpected(takenError(error));
  g_socket_set_listen_backlog(socket.get(), backlog);
  const GObjectPointer<GSocketAddress> address(
      g_inet_socket_address_new_from_string("127.0.0.1", port));
  if (g_socket_bind(socket.get(), address.get(), TRUE, &error) == FALSE ||
      g_socket_listen(socket.get(), &error) == FALSE) {
    return tl::unexpected(takenError(error));
  }
  return socket;
}

std::uint16_t portOf(GSocket* socket) {
  const GObjectPointer<GSocketAddress> address(g_socket_get_local_address(socket, nullptr));
  return g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(address.get()));
}

}  // namespace

Expected<std::unique_ptr<LoopbackProxy>> LoopbackProxy::start(std::uint16_t port) {
  GError* error = nullptr;
  GObjectPointer<GTlsCertificate> certificate(
      g_tls_certificate_new_from_pem(loopbackCertificate, -1, &error));
  if (!certificate) return tl::unexpected(takenError(error));
  std::unique_ptr<LoopbackProxy> proxy(new LoopbackProxy(std::move(certificate)));
  if (auto listening = proxy->listen(port); !listening) return tl::unexpected(listening.error());
  return proxy;
}

LoopbackProxy::LoopbackProxy(GObjectPointer<GTlsCertificate> certificate)
    : certificate_(std::move(certificate)),
      server_(soup_server_new(nullptr, nullptr)),
      tunnelServer_(soup_server_new(nullptr, nullptr)) {
  const auto plain = [](SoupServer*, SoupServerMessage* message, const char*, GHashTable*,
                        gpointer self) {
    if (soup_server_message_get_method(message) == SOUP_METHOD_CONNECT) {
      static_cast<LoopbackProxy*>(self)->openTunnel(message);
    } else {
      static_cast<LoopbackProxy*>(self)->answer(message, "http");
    }
  };
  const auto tunnelled = [](SoupServer*, SoupServerMessage* message, const char*, GHashTable*,
                            gpointer self) {
    static_cast<LoopbackProxy*>(self)->answer(message, "https");
  };
  soup_server_add_handler(server_.get(), nullptr, plain, this, nullptr);
  soup_server_add_handler(tunnelServer_.get(), nullptr, tunnelled, this, nullptr);
}

LoopbackProxy::~LoopbackProxy() {
  soup_server_disconnect(server_.get());
  soup_server_disconnect(tunnelServer_.get());
}

Expected<void> LoopbackProxy::listen(std::uint16_t port) {
  const auto socket = listeningSocket(port);
  if (!socket) return tl::unexpected(socket.error());
  GError* error = nullptr;
  soup_server_listen_socket(server_.get(), socket->get(), SoupServerListenOptions{}, &error);
  if (error != nullptr) return tl::unexpected(takenError(error));
  port_ = portOf(socket->get());
  return {};
}

std::string LoopbackProxy::url() const { return fmt::format("http://127.0.0.1:{}", port_); }

void LoopbackProxy::serve(const std::string& host, const std::string& path, Response response) {
  serve(host, path, [response = std::move(response)](const Request&) { return response; });
}

void LoopbackProxy::serve(const std::string& host, const std::string& path, Handler handler) {
  handlers_[{host, path}] = std::move(handler);
}

void LoopbackProxy::answer(SoupServerMessage* message, const char* scheme) {
  log_.push_back(requestOf(message, scheme));
  respond(message, responseTo(log_.back()));
}

LoopbackProxy::Response LoopbackProxy::responseTo(const Request& request) const {
  const auto path = request.path.substr(0, request.path.find('?'));
  const auto found = handlers_.find({request.host, path});
  if (found == handlers_.end()) {
    return {.contentType = "text/plain", .body = "Not found.\n", .headers = {}, .status = 404};
  }
  return found->second(request);
}

/// The connection becomes a tunnel once the answer to CONNECT has been written; the proxy itself
/// is the far end of it.
void LoopbackProxy::openTunnel(SoupServerMessage* message) {
  const auto answered = [](SoupServerMessage* connect, gpointer data) {
    auto& self = *static_cast<LoopbackProxy*>(data);
    const auto local = retained(soup_server_message_get_local_address(connect));
    const auto remote = retained(soup_server_message_get_remote_address(connect));
    const GObjectPointer<GIOStream> connection(soup_server_message_steal_connection(connect));
    const GObjectPointer<GIOStream> secured(
        g_tls_server_connection_new(connection.get(), self.certificate_.get(), nullptr));
    if (!secured) return;
    soup_server_accept_iostream(self.tunnelServer_.get(), secured.get(), local.get(), remote.get(),
                                nullptr);
  };
  soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
  g_signal_connect(message, "wrote-body", G_CALLBACK(+answered), this);
}

}  // namespace orvane
