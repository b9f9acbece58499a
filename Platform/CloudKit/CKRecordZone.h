#pragma once

#include <string>
#include <utility>

#include "Platform/CloudKit/CKRecordID.h"

namespace orvane {

/// A place for records of the user's own that are saved together.
struct CKRecordZone {
  explicit CKRecordZone(std::string zoneName) : zoneID{std::move(zoneName)} {}

  CKRecordZoneID zoneID;
};

}  // namespace orvane
