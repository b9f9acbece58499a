#pragma once

#include <filesystem>

#include "Platform/Platform.h"

namespace orvane {

/// What a package file holds.
enum class PackageFileForm { onePackage, packageList };

/// To be called before a package file is replaced: a file that cannot be read back in full, because
/// it is damaged or holds rules that would be dropped, is renamed first, with the date of its last
/// change in its new name, so that nothing of the user's is lost. Says so in the system log. False
/// when such a file could not be renamed; then it must not be replaced.
bool setAsideIfDamaged(Platform& platform, const std::filesystem::path& path, PackageFileForm form);

}  // namespace orvane
