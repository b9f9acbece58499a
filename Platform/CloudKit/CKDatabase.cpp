#include "Platform/CloudKit/CKDatabase.h"

#include <utility>

#include "Platform/CloudKit/CKDatabaseOperation.h"
#include "Platform/CloudKit/RecordCheck.h"

namespace orvane {

void CKDatabase::addOperation(const std::shared_ptr<CKDatabaseOperation>& operation) const {
  operation->setDatabase(*this);
  operation->start([] {});
}

void CKDatabase::saveRecord(
    CKRecord record,
    std::function<void(const std::optional<CKRecord>& saved, const std::optional<CKError>& error)>
        completion) const {
  connection_.cloudQueue.post(
      [connection = connection_, record = std::move(record), completion = std::move(completion)] {
        const auto problem = problemWith(record);
        const auto added = problem ? tl::unexpected(*problem)
                                   : connection.backend.addPublicRecord(record, CloudCall{});
        connection.callbackQueue.post([record, completion, added] {
          if (added) {
            completion(record, std::nullopt);
          } else {
            completion(std::nullopt, added.error());
          }
        });
      });
}

}  // namespace orvane
