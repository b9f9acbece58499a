#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// A URL in the form in which a browser reports it.
class NSURL {
 public:
  /// Nothing when the text is no URL: without a scheme, or with characters that have to be
  /// percent-encoded.
  static std::optional<NSURL> fromString(std::string_view text);

  const std::string& absoluteString() const { return absoluteString_; }

  /// Without user information, port, and the brackets of an IPv6 address; absent where the URL has
  /// none or an empty one.
  const std::optional<std::string>& host() const { return host_; }

  friend bool operator==(const NSURL&, const NSURL&) = default;

 private:
  explicit NSURL(std::string_view text);

  std::string absoluteString_;
  std::optional<std::string> host_;
};

/// `text` with everything percent-encoded that may not stand in the query of a URL; nothing when
/// it is not UTF-8.
std::optional<std::string> addingPercentEncodingForURLQuery(std::string_view text);

}  // namespace orvane
