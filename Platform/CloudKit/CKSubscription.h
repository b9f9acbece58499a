#pragma once

#include <string>

#include "Platform/CloudKit/CKRecordID.h"

namespace orvane {

/// How a subscription tells of a change. The only way there is here is silent: no word to the user.
struct CKNotificationInfo {
  bool shouldSendContentAvailable = false;
};

/// The two forms of a subscription to a zone mean the same; an older system offers the older alone.
enum class CKSubscriptionType { recordZone, zone };

/// The wish to be told of the changes of a zone.
struct CKSubscription {
  std::string subscriptionID;
  CKRecordZoneID zoneID;
  CKSubscriptionType type = CKSubscriptionType::recordZone;
  CKNotificationInfo notificationInfo = {.shouldSendContentAvailable = true};
};

}  // namespace orvane
