#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// Why the browser does not take `selector`, a text in UTF-8, for a CSS selector list: a sentence
/// that names the place, counted in bytes from 1. Nothing when the selector is valid. The browser
/// drops a rule with such a selector in silence.
std::optional<std::string> lintSelector(std::string_view selector);

}  // namespace orvane
