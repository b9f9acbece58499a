#pragma once

#include <filesystem>
#include <optional>

#include "Linux/Posix/FileDescriptor.h"

namespace orvane {

/// Opens `orvane/orvane.log` in the user's state folder for appending: there go the product's own
/// diagnostic lines when a command answers on standard output. A log of more than 1 MB is renamed
/// to "orvane.log.old" first. Without such a folder, or when it cannot be written, the lines go
/// nowhere.
FileDescriptor openDiagnosticLog(const std::optional<std::filesystem::path>& stateFolder);

}  // namespace orvane
