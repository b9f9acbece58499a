#pragma once

#include <filesystem>

namespace orvane {

/// The folder that holds the running program.
std::filesystem::path programFolder();

}  // namespace orvane
