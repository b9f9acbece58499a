#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Platform/CloudKit/CKRecord.h"
#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

/// What one request for changes has brought.
struct FetchPass {
  /// The records that stand for a package or rule, as the cloud has them.
  std::vector<CKRecord> changed;
  /// The names of those that were deleted.
  std::vector<std::string> deleted;
  /// The archived system fields of the records from now on, by their names; nothing for deleted
  /// ones.
  std::map<std::string, std::optional<PropertyListValue>> metadata;

  bool isEmpty() const { return changed.empty() && deleted.empty(); }
};

}  // namespace orvane
