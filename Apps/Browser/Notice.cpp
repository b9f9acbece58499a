#include "Apps/Browser/Notice.h"

#include <array>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "Platform/Foundation/NSURL.h"

namespace orvane {
namespace {

constexpr const char* tryAgain = "Try Again";

/// Of `WebKitPolicyError`; the public header does not name it.
constexpr int blockedByContentBlocker = 104;

std::string siteOf(const std::string& url) {
  const auto parsed = NSURL::fromString(url);
  return parsed && parsed->host() ? *parsed->host() : url;
}

Notice cannotBeLoaded(std::string explanation) {
  return {"dialog-error-symbolic", "This Page Cannot Be Loaded", std::move(explanation), tryAgain};
}

std::string transportFailure(const std::string& site, const GError& error) {
  if (error.domain == G_RESOLVER_ERROR) {
    return fmt::format("There is no server called “{}”, or the name service cannot be reached.",
                       site);
  }
  if (g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_CONNECTION_REFUSED) != FALSE) {
    return fmt::format("“{}” refuses connections.", site);
  }
  return fmt::format("“{}” does not answer as it should: {}", site, error.message);
}

}  // namespace

Notice emptyTabNotice() {
  return {"web-browser-symbolic", "New Tab", "Enter an address above to open a page.", ""};
}

Notice failedLoadNotice(const std::string& url, const GError& error) {
  if (g_error_matches(&error, WEBKIT_POLICY_ERROR, blockedByContentBlocker) != FALSE) {
    return {"action-unavailable-symbolic", "This Page Is Blocked",
            fmt::format("A rule of the content blocker blocks “{}”. Press the Orvane button beside "
                        "the address to allow this site.",
                        siteOf(url)),
            tryAgain};
  }
  if (g_error_matches(&error, WEBKIT_POLICY_ERROR, WEBKIT_POLICY_ERROR_CANNOT_SHOW_URI) != FALSE) {
    return cannotBeLoaded(fmt::format("Orvane cannot show addresses such as “{}”.", url));
  }
  if (g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_NOT_FOUND) != FALSE ||
      g_error_matches(&error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_FILE_DOES_NOT_EXIST) !=
          FALSE) {
    return cannotBeLoaded(fmt::format("There is no file “{}”.", url));
  }
  return cannotBeLoaded(transportFailure(siteOf(url), error));
}

Notice badCertificateNotice(const std::string& url, GTlsCertificateFlags errors) {
  static constexpr std::array<std::pair<GTlsCertificateFlags, std::string_view>, 6> reasons{{
      {G_TLS_CERTIFICATE_UNKNOWN_CA,
       "Its certificate was issued by an authority that is not known."},
      {G_TLS_CERTIFICATE_BAD_IDENTITY, "Its certificate belongs to another site."},
      {G_TLS_CERTIFICATE_NOT_ACTIVATED, "Its certificate is not valid yet."},
      {G_TLS_CERTIFICATE_EXPIRED, "Its certificate has expired."},
      {G_TLS_CERTIFICATE_REVOKED, "Its certificate has been revoked."},
      {G_TLS_CERTIFICATE_INSECURE, "Its certificate is not secure."},
  }};
  auto explanation = fmt::format(
      "“{}” does not prove that it is what it says, so nothing has been sent to it.", siteOf(url));
  for (const auto& [flag, reason] : reasons) {
    if ((errors & flag) != 0) explanation += fmt::format(" {}", reason);
  }
  return {"channel-insecure-symbolic", "This Connection Is Not Secure", std::move(explanation),
          tryAgain};
}

Notice endedWebProcessNotice(WebKitWebProcessTerminationReason reason) {
  const auto* explanation = reason == WEBKIT_WEB_PROCESS_EXCEEDED_MEMORY_LIMIT
                                ? "The page needed more memory than there is."
                                : "The process that showed the page has ended unexpectedly.";
  return {"dialog-warning-symbolic", "This Page Has Stopped", explanation, "Load Again"};
}

bool isIntended(const GError& error) {
  return g_error_matches(&error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED) != FALSE ||
         g_error_matches(&error, WEBKIT_POLICY_ERROR,
                         WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE) != FALSE ||
         g_error_matches(&error, WEBKIT_MEDIA_ERROR, WEBKIT_MEDIA_ERROR_WILL_HANDLE_LOAD) != FALSE;
}

}  // namespace orvane
