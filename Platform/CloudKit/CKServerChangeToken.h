#pragma once

#include <optional>
#include <span>
#include <string>

#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

/// How far somebody has got in the changes of a zone. Only the cloud that has given it knows what
/// it means.
struct CKServerChangeToken {
  std::string value;

  PropertyListValue::Data archived() const;
  /// Nothing when that is not what was archived.
  static std::optional<CKServerChangeToken> unarchived(std::span<const std::byte> data);

  friend bool operator==(const CKServerChangeToken&, const CKServerChangeToken&) = default;
};

}  // namespace orvane
