#pragma once

#include <filesystem>
#include <string_view>

#include "Platform/Foundation/NSError.h"

namespace orvane {

/// The error for the current `errno`: "Cannot open '/a/b': Permission denied".
NSError posixError(std::string_view operation, const std::filesystem::path& path);

}  // namespace orvane
