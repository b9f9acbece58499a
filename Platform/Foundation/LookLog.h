#pragma once

#include <string>
#include <utility>

#include "Platform/Foundation/LineOutput.h"
#include "Platform/Foundation/NSError.h"

namespace orvane {

/// Says in the system log why something that is looked at again and again cannot be read: once for
/// a reason, and not again before another one or a look that succeeds. One thread.
class LookLog {
 public:
  /// `systemLog` outlives this one.
  explicit LookLog(LineOutput& systemLog) : systemLog_(systemLog) {}

  template <typename Value>
  void note(const Expected<Value>& look) {
    auto reason = look ? std::string() : look.error().localizedDescription;
    if (!look && reason != said_) systemLog_.print(reason);
    said_ = std::move(reason);
  }

 private:
  LineOutput& systemLog_;
  std::string said_;
};

}  // namespace orvane
