#pragma once

#include <filesystem>

namespace orvane {

/// Closes the file after writing to it, which wakes whoever watches it; makes it, with mode 0600,
/// when it is missing. A bell that cannot be rung is left alone.
void ringDoorbell(const std::filesystem::path& file);

}  // namespace orvane
