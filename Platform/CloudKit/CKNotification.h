#pragma once

#include <string>

namespace orvane {

/// What a silent push says: something has changed that the subscription is about.
struct CKNotification {
  std::string subscriptionID;
};

}  // namespace orvane
