#pragma once

#include <compare>
#include <string>

namespace orvane {

/// A zone of the user's private database, by its name.
struct CKRecordZoneID {
  std::string zoneName;

  // NOLINTNEXTLINE(modernize-use-nullptr): the check takes a comparison with zero for a pointer
  friend auto operator<=>(const CKRecordZoneID&, const CKRecordZoneID&) = default;
};

/// Names one record of a zone, whatever its type.
struct CKRecordID {
  std::string recordName;
  CKRecordZoneID zoneID;

  // NOLINTNEXTLINE(modernize-use-nullptr): the check takes a comparison with zero for a pointer
  friend auto operator<=>(const CKRecordID&, const CKRecordID&) = default;
};

}  // namespace orvane
