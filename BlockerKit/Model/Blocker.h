#pragma once

#include "BlockerKit/Model/Action.h"
#include "BlockerKit/Model/Trigger.h"

namespace orvane {

/// One entry of the browser's content-blocker list.
struct Blocker {
  Trigger trigger;
  Action action;

  friend bool operator==(const Blocker&, const Blocker&) = default;
};

}  // namespace orvane
