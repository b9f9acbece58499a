#pragma once

#include <optional>
#include <string>

#include "BlockerKit/Model/RawValue.h"
#include "Platform/CloudKit/CKRecord.h"
#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSURL.h"

namespace orvane {

/// In the order in which the reasons stand in the report's form.
enum class ReportType { brokenSite, somethingNotBlocked, emptySpace, otherProblem };

template <>
struct RawValues<ReportType> {
  static constexpr RawValueTable<ReportType, 4> table{{
      {ReportType::brokenSite, "brokenSite"},
      {ReportType::somethingNotBlocked, "somethingNotBlocked"},
      {ReportType::emptySpace, "emptySpace"},
      {ReportType::otherProblem, "otherProblem"},
  }};
};

/// What a user tells the makers of a site that is broken or badly blocked.
struct Report {
  ReportType type;
  NSURL url;
  std::optional<std::string> comment;
  std::string device;
  std::string appVersion;
  std::string osVersion;

  /// As the makers read it, under a name that no other record has.
  CKRecord cloudRecord(std::string recordName) const;

  friend bool operator==(const Report&, const Report&) = default;
};

/// The version and build of the program, such as "3.1 (1024)"; empty when the bundle does not say
/// both.
std::string applicationVersion(const NSBundle& mainBundle);

}  // namespace orvane
