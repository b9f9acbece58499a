#include "SafariExtension/Extension/Report.h"

#include <utility>

#include <fmt/format.h>

#include "SafariExtension/Extension/BundleVersion.h"

namespace orvane {

CKRecord Report::cloudRecord(std::string recordName) const {
  CKRecord record("Report", {std::move(recordName), {"_defaultZone"}});
  record.setValue("type", CKRecordValue(std::string(rawValue(type))));
  record.setValue("url", CKRecordValue(url.absoluteString()));
  record.setValue("comment", comment ? CKRecord::Value(*comment) : std::nullopt);
  record.setValue("device", CKRecordValue(device));
  record.setValue("appVersion", CKRecordValue(appVersion));
  record.setValue("osVersion", CKRecordValue(osVersion));
  return record;
}

std::string applicationVersion(const NSBundle& mainBundle) {
  const auto version = BundleVersion::of(mainBundle);
  return version ? fmt::format("{} ({})", version->shortVersion, version->build) : "";
}

}  // namespace orvane
