#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// Why the browser refuses `urlFilter`, a text in UTF-8, as the regular expression of a rule: a
/// sentence that names the place, counted in bytes from 1. Nothing when the browser accepts it.
std::optional<std::string> lintURLFilter(std::string_view urlFilter);

}  // namespace orvane
