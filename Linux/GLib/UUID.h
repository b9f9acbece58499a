#pragma once

#include <string>

namespace orvane {

/// A new random UUID, in upper-case hexadecimal with hyphens. Any thread.
std::string randomUUID();

}  // namespace orvane
