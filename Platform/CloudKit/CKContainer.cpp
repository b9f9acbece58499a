#include "Platform/CloudKit/CKContainer.h"

#include <utility>

namespace orvane {

void CKContainer::accountStatus(
    std::function<void(CKAccountStatus, const std::optional<CKError>&)> completion) const {
  const auto& connection = database_.connection();
  connection.cloudQueue.post([connection, completion = std::move(completion)] {
    const auto status = connection.backend.accountStatus(CloudCall{});
    connection.callbackQueue.post([completion, status] {
      if (status) {
        completion(*status, std::nullopt);
      } else {
        completion(CKAccountStatus::couldNotDetermine, status.error());
      }
    });
  });
}

}  // namespace orvane
