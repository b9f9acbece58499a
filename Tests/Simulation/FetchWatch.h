#pragma once

#include <cstddef>
#include <set>
#include <string>

#include "Platform/CloudKit/CloudBackend.h"

namespace orvane::test {

/// Watches what a machine fetches. Deletions are applied before additions: what one page changes
/// and a later page deletes, before both are applied, stays on the machine for good.
class FetchWatch {
 public:
  void answered(const CloudChanges& changes, bool hasPagesToApply) {
    if (inFlight_ == 0 && !hasPagesToApply) unsettled_.clear();
    ++inFlight_;
    for (const auto& record : changes.changed) {
      unsettled_.insert(record.recordID().recordName);
      overtaken_.erase(record.recordID().recordName);
    }
    for (const auto& deletion : changes.deleted) {
      const auto& name = deletion.recordID.recordName;
      if (unsettled_.contains(name)) overtaken_.insert(name);
    }
  }
  /// The process has dealt with an answer.
  void completed() {
    if (inFlight_ > 0) --inFlight_;
  }
  void processEnded() { inFlight_ = 0; }

  const std::set<std::string>& overtaken() const { return overtaken_; }

 private:
  std::size_t inFlight_ = 0;
  std::set<std::string> unsettled_;
  std::set<std::string> overtaken_;
};

}  // namespace orvane::test
