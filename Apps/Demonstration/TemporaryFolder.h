#pragma once

#include <filesystem>
#include <memory>

#include "Platform/Foundation/NSError.h"

namespace orvane {

/// A new folder of our own, which is removed with everything in it at the end.
class TemporaryFolder {
 public:
  static Expected<std::unique_ptr<TemporaryFolder>> make();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  const std::filesystem::path& path() const { return path_; }

 private:
  explicit TemporaryFolder(std::filesystem::path path) : path_(std::move(path)) {}

  std::filesystem::path path_;
};

}  // namespace orvane
