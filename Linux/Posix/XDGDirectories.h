#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "Platform/Foundation/NSFileManager.h"

namespace orvane {

/// The user's folders by the XDG base directory rules, each from its environment variable or else
/// below `$HOME`; absent when neither is an absolute path.
struct XDGDirectories {
  std::optional<std::filesystem::path> data;    ///< `$XDG_DATA_HOME`
  std::optional<std::filesystem::path> config;  ///< `$XDG_CONFIG_HOME`
  std::optional<std::filesystem::path> state;   ///< `$XDG_STATE_HOME`
  std::optional<std::filesystem::path> cache;   ///< `$XDG_CACHE_HOME`

  static XDGDirectories ofThisProcess();

  /// `orvane` for the application groups and `orvane/Documents` for documents, in the data folder.
  UserDirectories userDirectories() const;
};

}  // namespace orvane
