#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "Platform/Foundation/NSError.h"

namespace orvane {

/// Which cloud the user has chosen.
struct CloudAccount {
  static constexpr const char* environmentVariable = "ORVANE_CLOUD";

  /// A connection string, URI or service name for libpq; absent when nothing was chosen, which
  /// means the cloud of this machine alone.
  std::optional<std::string> address;
  /// The file that says so; absent when it is the environment, or nothing.
  std::optional<std::filesystem::path> file;

  /// The environment variable, when it is there and not empty; otherwise the first line of the file
  /// that is neither empty nor a comment ("#"). A file that others can read is refused, since there
  /// may be a password in it; so is one that cannot be read. Neither counts as nothing chosen.
  static Expected<CloudAccount> read(const char* environment,
                                     const std::optional<std::filesystem::path>& file);

  /// What `text` stands for: a word by itself names a service.
  static std::string addressOf(const std::string& text);

  /// `cloud` in the folder of the user's settings for this program.
  static std::optional<std::filesystem::path> defaultFile(
      const std::optional<std::filesystem::path>& configurationFolder);
};

}  // namespace orvane
