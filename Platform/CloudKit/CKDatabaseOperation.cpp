#include "Platform/CloudKit/CKDatabaseOperation.h"

#include <memory>

namespace orvane {
namespace {

CKError cancelled() {
  CKError error;
  error.code = CKErrorCode::operationCancelled;
  error.localizedDescription = "The operation was cancelled.";
  return error;
}

}  // namespace

void CKDatabaseOperation::start(const std::function<void()>& finished) {
  const auto self = std::static_pointer_cast<CKDatabaseOperation>(shared_from_this());
  database_->connection().cloudQueue.post([self, finished] {
    const auto& connection = self->database_->connection();
    auto callBack =
        self->perform(connection, self->isCancelled() ? std::optional(cancelled()) : std::nullopt);
    connection.callbackQueue.post([self, callBack = std::move(callBack), finished] {
      callBack();
      finished();
    });
  });
}

CloudCall CKDatabaseOperation::call() const {
  return {.isCancelled = [this] { return isCancelled(); }};
}

}  // namespace orvane
