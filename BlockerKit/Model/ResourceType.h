#pragma once

#include "BlockerKit/Model/RawValue.h"

namespace orvane {

/// What a load is for.
enum class ResourceType { Document, Image, StyleSheet, Script, Font, Raw, SVG, Media, Popup };

template <>
struct RawValues<ResourceType> {
  static constexpr RawValueTable<ResourceType, 9> table{{
      {ResourceType::Document, "document"},
      {ResourceType::Image, "image"},
      {ResourceType::StyleSheet, "style-sheet"},
      {ResourceType::Script, "script"},
      {ResourceType::Font, "font"},
      {ResourceType::Raw, "raw"},
      {ResourceType::SVG, "svg-document"},
      {ResourceType::Media, "media"},
      {ResourceType::Popup, "popup"},
  }};
};

}  // namespace orvane
