#pragma once

#include <functional>
#include <string>

namespace orvane {

/// Makes a new UUID in its string form: upper-case hexadecimal with hyphens. Any thread. It is a
/// service of the platform, so that a simulation can make the same identifiers at every run.
using UUIDGenerator = std::function<std::string()>;

}  // namespace orvane
