#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

#include "Platform/Foundation/NSFileManager.h"

namespace orvane {

/// A program's own read-only files.
class NSBundle {
 public:
  /// `fileManager` outlives the bundle; `resources` is the folder that holds the files.
  NSBundle(NSFileManager& fileManager, std::filesystem::path resources);

  /// The path of the resource with this base name and extension, or nothing when it is missing.
  std::optional<std::filesystem::path> pathForResource(std::string_view name,
                                                       std::string_view extension) const;

 private:
  NSFileManager& fileManager_;
  std::filesystem::path resources_;
};

}  // namespace orvane
