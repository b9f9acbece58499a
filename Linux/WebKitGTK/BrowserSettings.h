#pragma once

#include <filesystem>
#include <string_view>

#include "Platform/Foundation/NSError.h"

namespace orvane {

/// The browser's settings, a key file that the user owns. It is read at every question, so that a
/// change made by any program counts at once. Blocking; any thread.
class BrowserSettings {
 public:
  explicit BrowserSettings(std::filesystem::path file);

  const std::filesystem::path& file() const { return file_; }

  /// Whether the user has this content blocker switched on; true until the user says otherwise. A
  /// file that cannot be read or understood is an error.
  Expected<bool> isContentBlockerEnabled(std::string_view identifier) const;

  /// Replaces the file by one that says so and keeps whatever else the old one says, comments too.
  /// A file that cannot be read or understood is left as it is, which is an error.
  Expected<void> setContentBlockerEnabled(std::string_view identifier, bool enabled) const;

 private:
  std::filesystem::path file_;
};

}  // namespace orvane
