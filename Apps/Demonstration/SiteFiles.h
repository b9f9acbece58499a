#pragma once

#include <span>
#include <string_view>

namespace orvane {

struct SiteFile {
  std::string_view host;
  std::string_view path;  ///< from the host's root, with a leading slash
  std::string_view content;
};

/// The files below the folder Site, which holds a folder for each host.
extern const std::span<const SiteFile> siteFiles;

}  // namespace orvane
