#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// The scheme of a URL, in lower case; empty when there is none.
std::string schemeOf(std::string_view url);

/// Whether the browser itself shows what URLs of that scheme name; others are for other programs.
bool isShownHere(std::string_view scheme);

/// The URL that a person means who types `text`: a URL of one of the schemes http, https, file,
/// about and data, a host with or without a path, or the path of a file. Nothing when it is none of
/// them.
std::optional<std::string> urlOfAddress(std::string_view text);

}  // namespace orvane
