#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Foundation/NSError.h"

namespace orvane {

/// All that the browser knows of how content is blocked.
struct BlockingFacts {
  /// What the browser's settings say; an error when they cannot be read.
  Expected<bool> isEnabled = true;
  bool isPaused = false;
  bool isListInForce = false;
  /// The list that should be in force is damaged, or of another version of the browser's engine.
  bool isListDamaged = false;
  /// What went wrong when the companion application gave the browser its last list; empty when
  /// nothing did.
  std::string companionError;
  /// Of the last list.
  std::optional<std::int64_t> rules;
  /// When the list in force was compiled, for people; empty when that is not known.
  std::string compiled;
};

/// The same in words for the user.
struct BlockingStatus {
  enum class Kind { working, off, waiting, failing };

  Kind kind = Kind::working;
  std::string title;
  std::string explanation;
  /// How many rules are in force, and since when; empty when that is not known.
  std::string rules;
  std::string compiled;
};

BlockingStatus blockingStatus(const BlockingFacts& facts);

}  // namespace orvane
