#include "SafariExtension/Reload/Communication.h"

#include <fmt/format.h>

namespace orvane {

Communication::Communication(Platform& platform, NSUserDefaults& defaults)
    : platform_(platform), defaults_(defaults) {}

void Communication::send(Message message) {
  const auto key = rawValue(message);
  platform_.standardOutput.print(fmt::format("Sending {}...", key));
  // A value that was never there before, since setting the present one would be no change.
  static_cast<void>(defaults_.setObject(platform_.makeUUID(), key));
  static_cast<void>(defaults_.synchronize());
}

}  // namespace orvane
