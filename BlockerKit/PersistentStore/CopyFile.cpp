#include "BlockerKit/PersistentStore/CopyFile.h"

#include <string_view>

#include <fmt/format.h>

namespace orvane {

void copyFile(Platform& platform, const std::filesystem::path& from,
              const std::filesystem::path& to, bool overwrite, PackageFileForm form) {
  auto& files = platform.fileManager;
  auto& output = platform.standardOutput;
  const auto fail = [&](std::string_view reason) {
    output.print(fmt::format("Error copying '{}' to '{}': {}", from.string(), to.string(), reason));
  };
  const bool replaces = overwrite && files.fileExists(to);
  const auto name = to.filename().string();
  if (replaces) {
    output.print(fmt::format("File {} already exists in '{}'", name, to.string()));
    if (!setAsideIfDamaged(platform, to, form)) {
      return fail("the damaged file there could not be set aside");
    }
  } else if (const auto folder = to.parent_path(); !files.fileExists(folder)) {
    const auto created = files.createDirectoryWithIntermediateDirectories(folder);
    if (!created) return fail(created.error().localizedDescription);
  }
  const auto copied = replaces ? files.replaceItemWithCopy(from, to) : files.copyItem(from, to);
  if (!copied) return fail(copied.error().localizedDescription);
  if (replaces) output.print(fmt::format("Removed file {} from '{}'", name, to.string()));
  output.print(fmt::format("Copied '{}' to '{}'", from.string(), to.string()));
}

}  // namespace orvane
