#include "Platform/CloudKit/CKFetchRecordChangesOperation.h"

#include "Platform/CloudKit/FetchPage.h"

namespace orvane {

std::function<void()> CKFetchRecordChangesOperation::perform(
    const CKDatabase::Connection& connection, const std::optional<CKError>& refusal) {
  const auto fetched =
      refusal ? tl::unexpected(*refusal) : fetchPage(connection.backend, zoneID_, token_, call());
  return [this, fetched] {
    if (!fetched) return completion_(std::nullopt, fetched.error());
    const auto& changes = **fetched;
    moreComing_ = changes.moreComing;
    for (const auto& record : changes.changed) changed_(record);
    for (const auto& deletion : changes.deleted) deleted_(deletion.recordID);
    completion_(changes.token, std::nullopt);
  };
}

}  // namespace orvane
