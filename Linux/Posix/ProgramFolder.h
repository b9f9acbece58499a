#pragma once

#include <filesystem>

namespace orvane {

/// The folder that holds the running program. The process stops when the system cannot tell.
std::filesystem::path programFolder();

}  // namespace orvane
