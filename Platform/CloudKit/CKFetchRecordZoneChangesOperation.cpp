#include "Platform/CloudKit/CKFetchRecordZoneChangesOperation.h"

#include <memory>

namespace orvane {
namespace {

/// As many as a catalogue of some size has, in a few megabytes.
constexpr std::size_t pageSize = 2000;

}  // namespace

std::function<void()> CKFetchRecordZoneChangesOperation::perform(
    const CKDatabase::Connection& connection, const std::optional<CKError>& refusal) {
  auto fetched = refusal ? CKResult<CloudChanges>(tl::unexpected(*refusal))
                         : connection.backend.fetchChanges(zoneID_, token_, pageSize, call());
  if (!fetched) {
    return
        [this, error = std::move(fetched.error())] { completion_({.token = {}, .error = error}); };
  }
  // Functions are copied, a page of records should not be.
  return [this, changes = std::make_shared<CloudChanges>(*std::move(fetched))] {
    for (const auto& record : changes->changed) changed_(record);
    for (const auto& [recordID, recordType] : changes->deleted) deleted_(recordID, recordType);
    completion_({.token = changes->token, .moreComing = changes->moreComing, .error = {}});
  };
}

}  // namespace orvane
