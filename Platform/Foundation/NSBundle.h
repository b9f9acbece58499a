#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

/// A program's own read-only files, and what it says of itself.
class NSBundle {
 public:
  using InfoDictionary = std::optional<PropertyListValue::Dictionary>;

  /// `fileManager` outlives the bundle; `resources` is the folder that holds the files.
  NSBundle(NSFileManager& fileManager, std::filesystem::path resources,
           InfoDictionary infoDictionary = std::nullopt);

  /// The program's version, among other things.
  const InfoDictionary& infoDictionary() const { return infoDictionary_; }

  /// The path of the resource with this base name and extension, or nothing when it is missing.
  std::optional<std::filesystem::path> pathForResource(std::string_view name,
                                                       std::string_view extension) const;

 private:
  NSFileManager& fileManager_;
  std::filesystem::path resources_;
  InfoDictionary infoDictionary_;
};

}  // namespace orvane
