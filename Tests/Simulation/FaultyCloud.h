#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Platform/CloudKit/CloudBackend.h"
#include "Platform/Foundation/Executor.h"
#include "Tests/Simulation/FetchWatch.h"
#include "Tests/Simulation/Risk.h"
#include "Tests/Simulation/World.h"

namespace orvane::test {

/// What the cloud knows of one machine.
struct CloudAccess {
  std::string machine;
  bool hasAccount = true;
  FetchWatch watch;
  /// Whether pages that were fetched wait to be applied.
  std::function<bool()> hasPagesToApply;
};

/// A cloud behind a bad line, as one process has it: calls fail, answers are lost, silent pushes
/// come late, in another order or not at all.
class FaultyCloud final : public CloudBackend {
 public:
  /// `wire` is where pushes are on their way; all arguments outlive this.
  FaultyCloud(World& world, CloudAccess& access, Risk& risk, Executor& wire);

  CKResult<CKAccountStatus> accountStatus(const CloudCall& call) override;
  CKResult<void> saveZone(const CKRecordZoneID& zoneID, const CloudCall& call) override;
  CKResult<void> deleteZone(const CKRecordZoneID& zoneID, const CloudCall& call) override;
  CKResult<void> saveSubscription(const CKSubscription& subscription,
                                  const CloudCall& call) override;
  CKResult<CloudBatchResult> modifyRecords(const CloudBatch& batch, const CloudCall& call) override;
  CKResult<CloudChanges> fetchChanges(const CKRecordZoneID& zoneID,
                                      const std::optional<CKServerChangeToken>& token,
                                      std::size_t limit, const CloudCall& call) override;
  CKResult<CloudKeyValues> exchangeKeyValues(const CloudKeyValueChanges& changes,
                                             const std::optional<CKServerChangeToken>& token,
                                             const CloudCall& call) override;
  CKResult<void> addPublicRecord(const CKRecord& record, const CloudCall& call) override;
  void setListener(std::function<void(const CloudEvent&)> told) override;

 private:
  template <typename Value, typename Call>
  CKResult<Value> perform(const char* what, const Call& call);
  std::optional<CKError> failureBefore();
  CKError anyError();
  CKError error(CKErrorCode code);
  CKError batchError(const CloudBatch& batch);
  void watchResult(const CloudBatch& batch, const CKResult<CloudBatchResult>& result);
  void told(const CloudEvent& event);
  void note(const std::string& what) { world_.trace.note(access_.machine, what); }

  World& world_;
  CloudAccess& access_;
  Risk& risk_;
  Executor& wire_;
  std::unique_ptr<CloudBackend> cloud_;
  std::function<void(const CloudEvent&)> told_;
  /// Each failure that leads to a retry squares the delay of the next one that comes without a
  /// time; a few of them are more than a clock can count.
  std::size_t retries_ = 0;
};

}  // namespace orvane::test
