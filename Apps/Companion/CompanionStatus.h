#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Foundation/NSUserDefaults.h"
#include "Platform/Platform.h"

namespace orvane {

/// Where the status stands in the shared defaults: a dictionary of "attempt" (a text that is
/// another one each time), "error" (what went wrong, empty if nothing did) and "rules" (how many
/// the list has).
inline constexpr const char* companionStatusKey = "CompanionStatus";

/// What is known of the last attempt to give the browser its list, by the companion or by a command
/// that did it in its stead.
struct CompanionStatus {
  /// Another text for every attempt; empty before the first.
  std::string attempt;
  /// A text for the user; empty when the attempt succeeded.
  std::string error;
  /// How many rules the list has.
  std::optional<std::int64_t> rules;
};

CompanionStatus companionStatus(NSUserDefaults& defaults);

/// Says of an attempt that has ended just now how it ended; `error` is empty when it succeeded.
void publishCompanionStatus(Platform& platform, NSUserDefaults& defaults, const std::string& error,
                            std::size_t rules);

}  // namespace orvane
