#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <libsoup/soup.h>

#include "Linux/GLib/GObjectPointer.h"
#include "Platform/Foundation/NSError.h"

namespace orvane {

/// An HTTP proxy on this machine's loopback interface that is the whole Internet to who uses it:
/// it answers for any host name, over http and https, from what it was given to serve, and keeps a
/// log of the requests that reached it. The https certificate is self-signed and fits no host.
/// Works on the default main context, on the thread that runs it.
class LoopbackProxy {
 public:
  struct Request {
    std::string scheme;  ///< "http" or "https"
    std::string host;    ///< without a port
    std::string path;    ///< with the query, if there is one
    std::string cookie;  ///< the Cookie header; empty when there is none

    friend bool operator==(const Request&, const Request&) = default;
  };

  struct Response {
    std::string contentType;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    unsigned status = 200;
    bool isHeldBack = false;  ///< the answer never comes
  };

  using Handler = std::function<Response(const Request&)>;

  /// Listens on `port`; 0 takes any that is free.
  static Expected<std::unique_ptr<LoopbackProxy>> start(std::uint16_t port = 0);
  LoopbackProxy(const LoopbackProxy&) = delete;
  LoopbackProxy& operator=(const LoopbackProxy&) = delete;
  /// Closes every connection.
  ~LoopbackProxy();

  /// What a browser has to be told: "http://127.0.0.1:PORT".
  std::string url() const;

  /// Answers requests for `path` of `host`, whatever their query, in the place of an older answer.
  /// What is not served is answered with status 404. No answer may be cached.
  void serve(const std::string& host, const std::string& path, Response response);
  void serve(const std::string& host, const std::string& path, Handler handler);

  /// Every request since the start or the last `clearLog()`, those answered with 404 too, in the
  /// order of arrival.
  const std::vector<Request>& log() const { return log_; }
  void clearLog() { log_.clear(); }

 private:
  explicit LoopbackProxy(GObjectPointer<GTlsCertificate> certificate);

  Expected<void> listen(std::uint16_t port);
  void answer(SoupServerMessage* message, const char* scheme);
  void openTunnel(SoupServerMessage* message);
  Response responseTo(const Request& request) const;

  GObjectPointer<GTlsCertificate> certificate_;
  GObjectPointer<SoupServer> server_;
  /// Serves the inside of the tunnels.
  GObjectPointer<SoupServer> tunnelServer_;
  std::uint16_t port_ = 0;
  std::map<std::pair<std::string, std::string>, Handler> handlers_;
  std::vector<Request> log_;
};

}  // namespace orvane
