#include "Platform/CloudKit/CKModifySubscriptionsOperation.h"

namespace orvane {

std::function<void()> CKModifySubscriptionsOperation::perform(
    const CKDatabase::Connection& connection, const std::optional<CKError>& refusal) {
  std::vector<CKRecordZoneSubscription> saved;
  auto error = refusal;
  for (const auto& subscription : subscriptionsToSave_) {
    if (error) break;
    const auto result = connection.backend.saveSubscription(subscription, call());
    if (!result) error = result.error();
    if (result) saved.push_back(subscription);
  }
  return [this, saved, error] { completion_(saved, error); };
}

}  // namespace orvane
