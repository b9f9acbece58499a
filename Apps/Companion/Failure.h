#pragma once

#include <string_view>

namespace orvane {

/// Says on standard error what went wrong, or what the user should know.
void complain(std::string_view sentence);

/// The same, for a command that has failed; the result is its exit status.
int failure(std::string_view sentence);

}  // namespace orvane
