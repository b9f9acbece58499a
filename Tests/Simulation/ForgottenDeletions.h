#pragma once

#include <optional>
#include <set>
#include <string>

#include "BlockerKit/SyncManager/LocalChangesEdit.h"
#include "BlockerKit/SyncManager/SyncManager.h"
#include "Tests/Simulation/CloudHistory.h"
#include "Tests/Simulation/Risk.h"

namespace orvane::test {

/// Notes the deletions that wait for the cloud and are forgotten since an earlier deletion of the
/// same rule is fetched. If the rule was made again in between and is being saved, it is back.
class ForgottenDeletions final : public TransactionWatch {
 public:
  explicit ForgottenDeletions(CloudHistory& history) : history_(history) {}

  void begins(Transaction& transaction) override {
    token_ = transaction.value(SyncManager::serverTokenKey);
    waiting_ = waiting(transaction);
  }
  void ends(Transaction& transaction) override {
    if (transaction.value(SyncManager::serverTokenKey) == token_) return;
    const auto left = waiting(transaction);
    for (const auto& name : waiting_) {
      if (!left.contains(name)) history_.forgottenDeletions.insert(name);
    }
  }

 private:
  static std::set<std::string> waiting(Transaction& transaction) {
    std::set<std::string> names;
    for (const auto kind : {RecordKind::rule, RecordKind::package}) {
      const auto value = transaction.value(LocalChangesEdit::deletedKey(kind));
      const auto* array = value ? value->as<PropertyListValue::Array>() : nullptr;
      if (array == nullptr) continue;
      for (const auto& name : *array) {
        if (const auto* text = name.as<std::string>()) names.insert(*text);
      }
    }
    return names;
  }

  CloudHistory& history_;
  std::optional<PropertyListValue> token_;
  std::set<std::string> waiting_;
};

}  // namespace orvane::test
