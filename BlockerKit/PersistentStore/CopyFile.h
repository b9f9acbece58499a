#pragma once

#include <filesystem>

#include "BlockerKit/PersistentStore/SetAside.h"
#include "Platform/Platform.h"

namespace orvane {

/// Copies a package file together with its modification date, and makes the destination's folder
/// when it is missing. A file at the destination is replaced when `overwrite` is set, and set aside
/// first when it is damaged; without `overwrite` it is an error. Prints each step on the standard
/// output. After a failure, which is printed too, the destination is as it was: the old file goes
/// only when the copy takes its place, and so "Removed file" is printed after that.
void copyFile(Platform& platform, const std::filesystem::path& from,
              const std::filesystem::path& to, bool overwrite, PackageFileForm form);

}  // namespace orvane
