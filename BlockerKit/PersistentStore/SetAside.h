#pragma once

#include <filesystem>

#include "Platform/Platform.h"

namespace orvane {

/// What a package file holds.
enum class PackageFileForm { onePackage, packageList };

/// Whether there is something at `path` that would not survive being read and written back: because
/// it cannot be read, is no such JSON, or says more than the records keep.
bool isDamaged(Platform& platform, const std::filesystem::path& path, PackageFileForm form);

/// To be called before a package file is replaced: keeps a copy of one that is damaged, with the
/// date of its last change in the copy's name, so that nothing of the user's is lost. What cannot
/// even be read is renamed. Says so in the system log. False when that failed; then the file must
/// not be replaced.
bool setAsideIfDamaged(Platform& platform, const std::filesystem::path& path, PackageFileForm form);

}  // namespace orvane
