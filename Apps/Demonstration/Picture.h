#pragma once

#include <filesystem>
#include <string>

#include <gdk/gdk.h>

#include "Platform/Foundation/NSError.h"

namespace orvane {

struct CaptionedPicture {
  GdkTexture* texture;
  std::string caption;
};

/// Writes a PNG file with the two pictures side by side, each below its caption.
Expected<void> writeSideBySide(const CaptionedPicture& left, const CaptionedPicture& right,
                               const std::filesystem::path& file);

}  // namespace orvane
