#include "Apps/Demonstration/DemonstrationSite.h"

#include <algorithm>
#include <string>

#include "Apps/Demonstration/SiteFiles.h"

namespace orvane::site {
namespace {

using Request = LoopbackProxy::Request;
using Response = LoopbackProxy::Response;

constexpr const char* indexFile = "/index.html";

std::string contentTypeOf(std::string_view path) {
  if (path.ends_with(".html")) return "text/html; charset=utf-8";
  if (path.ends_with(".css")) return "text/css";
  if (path.ends_with(".js")) return "text/javascript";
  return "image/svg+xml";
}

Response responseWith(std::string_view host, std::string_view path) {
  const auto found = std::find_if(siteFiles.begin(), siteFiles.end(), [&](const SiteFile& file) {
    return file.host == host && file.path == path;
  });
  if (found == siteFiles.end()) return {"text/plain", "", {}, 500};
  return {contentTypeOf(path), std::string(found->content), {}};
}

/// The widget tells at a glance whether it was sent its cookie.
Response widget(const Request& request) {
  const bool isKnown = request.cookie.find(widgetCookieName) != std::string::npos;
  return responseWith(widgetHost, isKnown ? "/known-reader.html" : "/unknown-reader.html");
}

/// The timetable tells at a glance how it was loaded.
Response timetable(const Request& request) {
  return responseWith(request.host, "/timetable-" + request.scheme + ".svg");
}

}  // namespace

void serve(LoopbackProxy& proxy) {
  for (const auto& file : siteFiles) {
    const std::string path(file.path == indexFile ? "/" : file.path);
    proxy.serve(std::string(file.host), path, responseWith(file.host, file.path));
  }
  for (const char* script : {"/scripts/reader.js", "/scripts/sponsored.js"}) {
    proxy.serve("www.lighthouseweekly.test", script,
                responseWith("www.harbourgazette.test", script));
  }
  proxy.serve(widgetHost, "/", widget);
  proxy.serve("tickets.ferryline.test", "/timetable.svg", timetable);
}

}  // namespace orvane::site
