#include "BlockerKit/SyncManager/RemoteChanges.h"

#include "BlockerKit/SyncManager/RecordDecoding.h"
#include "BlockerKit/SyncManager/RecordKind.h"

namespace orvane {

RemoteChanges remoteChanges(const FetchPass& pass) {
  RemoteChanges changes;
  changes.deleted = pass.deleted;
  for (const auto& record : pass.changed) {
    if (record.recordType() == rawValue(RecordKind::package)) {
      if (auto package = packageFromRecord(record)) changes.packages.push_back(*std::move(package));
    } else if (auto identifier = packageIdentifierFromRecord(record)) {
      auto rule = ruleFromRecord(record);
      if (rule) changes.rules.emplace_back(*std::move(rule), *std::move(identifier));
    }
  }
  return changes;
}

}  // namespace orvane
