#include "Platform/CloudKit/CKModifySubscriptionsOperation.h"

namespace orvane {
namespace {

CKError invalid(const char* description) {
  CKError error;
  error.code = CKErrorCode::invalidArguments;
  error.localizedDescription = description;
  return error;
}

CKResult<void> save(const CKSubscription& subscription, CloudBackend& backend,
                    const CloudCall& call) {
  if (!subscription.notificationInfo.shouldSendContentAvailable) {
    return tl::unexpected(invalid("A subscription that is not silent cannot be saved."));
  }
  if (subscription.type == CKSubscriptionType::recordZone && !backend.offersRecordZoneRequests()) {
    return tl::unexpected(invalid("There are no subscriptions to record zones here."));
  }
  return backend.saveSubscription(subscription, call);
}

}  // namespace

std::function<void()> CKModifySubscriptionsOperation::perform(
    const CKDatabase::Connection& connection, const std::optional<CKError>& refusal) {
  std::vector<CKSubscription> saved;
  auto error = refusal;
  for (const auto& subscription : subscriptionsToSave_) {
    if (error) break;
    const auto result = save(subscription, connection.backend, call());
    if (!result) error = result.error();
    if (result) saved.push_back(subscription);
  }
  return [this, saved, error] { completion_(saved, error); };
}

}  // namespace orvane
