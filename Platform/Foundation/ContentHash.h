#pragma once

#include <string>
#include <string_view>

namespace orvane {

/// Stands for the bytes: 32 hexadecimal digits that are the same for the same bytes on every
/// machine, and in practice others for others. No protection against somebody who wants two files
/// to look the same.
std::string contentHash(std::string_view bytes);

}  // namespace orvane
