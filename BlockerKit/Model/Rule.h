#pragma once

#include <string>

#include "BlockerKit/Model/Blocker.h"

namespace orvane {

/// A blocker with an identity and a display name.
struct Rule {
  /// Unique within its package; a UUID string for rules that the system makes itself.
  std::string id;
  /// May be empty.
  std::string name;
  Blocker blocker;

  friend bool operator==(const Rule&, const Rule&) = default;
};

}  // namespace orvane
