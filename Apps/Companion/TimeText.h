#pragma once

#include <ctime>
#include <string>

namespace orvane {

/// In the user's time zone, for a person.
std::string localTimeText(std::time_t time);

/// In UTC, as programs write it.
std::string utcTimeText(std::time_t time);

}  // namespace orvane
