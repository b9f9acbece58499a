#include "Platform/CloudKit/CKFetchRecordZoneChangesOperation.h"

#include <utility>

#include "Platform/CloudKit/FetchPage.h"

namespace orvane {
namespace {

CKError notOffered() {
  CKError error;
  error.code = CKErrorCode::invalidArguments;
  error.localizedDescription = "There are no requests for the changes of record zones here.";
  return error;
}

}  // namespace

std::function<void()> CKFetchRecordZoneChangesOperation::perform(
    const CKDatabase::Connection& connection, const std::optional<CKError>& refusal) {
  auto error = refusal;
  if (!error && !connection.backend.offersRecordZoneRequests()) error = notOffered();
  const auto fetched =
      error ? tl::unexpected(*error) : fetchPage(connection.backend, zoneID_, token_, call());
  return [this, fetched] {
    if (!fetched) return completion_({.token = {}, .error = fetched.error()});
    const auto& changes = **fetched;
    for (const auto& record : changes.changed) changed_(record);
    for (const auto& [recordID, recordType] : changes.deleted) deleted_(recordID, recordType);
    completion_({.token = changes.token, .moreComing = changes.moreComing, .error = {}});
  };
}

}  // namespace orvane
