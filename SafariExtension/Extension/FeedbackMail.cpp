#include "SafariExtension/Extension/FeedbackMail.h"

#include <fmt/format.h>

#include "SafariExtension/Extension/Addresses.h"
#include "SafariExtension/Extension/BundleVersion.h"

namespace orvane {
namespace {

std::string subject(const std::optional<NSURL>& currentURL) {
  const auto host = currentURL ? currentURL->host() : std::nullopt;
  return "Feedback on " + host.value_or("Orvane");
}

std::string versionPart(const NSBundle& mainBundle) {
  const auto version = BundleVersion::of(mainBundle);
  if (!version) return " for Mac";
  return fmt::format(" v{} ({})", version->shortVersion, version->build);
}

std::string body(const std::optional<NSURL>& currentURL, const NSBundle& mainBundle) {
  auto text = fmt::format("\n\nOrvane{}.", versionPart(mainBundle));
  if (currentURL) text += "\nFull URL: " + currentURL->absoluteString();
  return text;
}

}  // namespace

std::string feedbackMailLink(const std::optional<NSURL>& currentURL, const NSBundle& mainBundle) {
  const auto recipient = fmt::format("mailto:{}", supportAddress);
  const auto link = fmt::format("{}?Subject={}&body={}", recipient, subject(currentURL),
                                body(currentURL, mainBundle));
  return addingPercentEncodingForURLQuery(link).value_or(recipient);
}

}  // namespace orvane
