#include "Platform/Foundation/NSBundle.h"

#include <utility>

#include <fmt/format.h>

namespace orvane {

NSBundle::NSBundle(NSFileManager& fileManager, std::filesystem::path resources,
                   InfoDictionary infoDictionary)
    : fileManager_(fileManager),
      resources_(std::move(resources)),
      infoDictionary_(std::move(infoDictionary)) {}

std::optional<std::filesystem::path> NSBundle::pathForResource(std::string_view name,
                                                               std::string_view extension) const {
  auto path = resources_ / fmt::format("{}.{}", name, extension);
  if (!fileManager_.fileExists(path)) return std::nullopt;
  return path;
}

}  // namespace orvane
