#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "Platform/CloudKit/CKDatabaseOperation.h"

namespace orvane {

/// Saves subscriptions one after the other, up to the first that fails.
class CKModifySubscriptionsOperation final : public CKDatabaseOperation {
 public:
  using Completion = std::function<void(const std::vector<CKSubscription>& saved,
                                        const std::optional<CKError>& error)>;

  explicit CKModifySubscriptionsOperation(std::vector<CKSubscription> toSave)
      : subscriptionsToSave_(std::move(toSave)) {}

  const std::vector<CKSubscription>& subscriptionsToSave() const { return subscriptionsToSave_; }

  void setModifySubscriptionsCompletionBlock(Completion block) { completion_ = std::move(block); }

 protected:
  std::function<void()> perform(const CKDatabase::Connection& connection,
                                const std::optional<CKError>& refusal) override;

 private:
  std::vector<CKSubscription> subscriptionsToSave_;
  Completion completion_ = [](const auto&, const auto&) {};
};

}  // namespace orvane
