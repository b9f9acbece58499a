#pragma once

#include <functional>
#include <variant>

#include "Platform/Foundation/NSError.h"

namespace orvane {

/// How a reload of the content blocker ended.
struct SafariReloadingResult {
  struct Success {
    friend bool operator==(const Success&, const Success&) = default;
  };

  static SafariReloadingResult error(NSError error) { return {std::move(error)}; }
  static SafariReloadingResult success() { return {Success{}}; }

  bool isSuccess() const { return std::holds_alternative<Success>(value); }
  /// Null for a success.
  const NSError* failure() const { return std::get_if<NSError>(&value); }

  friend bool operator==(const SafariReloadingResult&, const SafariReloadingResult&) = default;

  std::variant<NSError, Success> value;
};

/// Called on the main queue. May be empty.
using SafariReloadingHandler = std::function<void(const SafariReloadingResult&)>;

}  // namespace orvane
