#pragma once

#include <string>

#include <tl/expected.hpp>

namespace orvane {

/// Why an operation of the platform failed.
struct NSError {
  std::string domain;
  int code = 0;
  /// A sentence for a person.
  std::string localizedDescription;

  friend bool operator==(const NSError&, const NSError&) = default;
};

/// The domain of errors whose code is an `errno` value.
// NOLINTNEXTLINE(readability-identifier-naming): the platform's own name
inline constexpr const char* NSPOSIXErrorDomain = "NSPOSIXErrorDomain";

template <typename Value>
using Expected = tl::expected<Value, NSError>;

}  // namespace orvane
