#include "Tests/Simulation/FaultyCloud.h"

#include <algorithm>
#include <array>
#include <utility>

#include <fmt/format.h>

namespace orvane::test {
namespace {

constexpr std::size_t mostRetriesWithoutTime = 4;

constexpr std::array everyCode{
    CKErrorCode::internalError,
    CKErrorCode::partialFailure,
    CKErrorCode::networkFailure,
    CKErrorCode::badContainer,
    CKErrorCode::serviceUnavailable,
    CKErrorCode::requestRateLimited,
    CKErrorCode::notAuthenticated,
    CKErrorCode::permissionFailure,
    CKErrorCode::unknownItem,
    CKErrorCode::invalidArguments,
    CKErrorCode::serverRecordChanged,
    CKErrorCode::serverRejectedRequest,
    CKErrorCode::operationCancelled,
    CKErrorCode::batchRequestFailed,
    CKErrorCode::zoneBusy,
    CKErrorCode::quotaExceeded,
    CKErrorCode::zoneNotFound,
    CKErrorCode::limitExceeded,
};

constexpr std::array withoutAccount{CKAccountStatus::noAccount, CKAccountStatus::restricted,
                                    CKAccountStatus::couldNotDetermine};

std::string description(const CloudBatch& batch) {
  std::string text;
  for (const auto& record : batch.recordsToSave) {
    text += fmt::format(" {}@{}", record.recordID().recordName,
                        record.recordChangeTag().value_or("new"));
  }
  for (const auto& recordID : batch.recordIDsToDelete) text += " -" + recordID.recordName;
  return text;
}

std::string description(const CloudChanges& changes) {
  std::string text;
  for (const auto& record : changes.changed) {
    text += fmt::format(" {}@{}", record.recordID().recordName,
                        record.recordChangeTag().value_or("none"));
  }
  for (const auto& deletion : changes.deleted) text += " -" + deletion.recordID.recordName;
  return text + (changes.moreComing ? " ..." : "");
}

}  // namespace

FaultyCloud::FaultyCloud(World& world, CloudAccess& access, Risk& risk, Executor& wire)
    : world_(world),
      access_(access),
      risk_(risk),
      wire_(wire),
      cloud_(world.cloud->connect(World::user)) {}

CKError FaultyCloud::error(CKErrorCode code) {
  CKError error;
  error.code = code;
  error.localizedDescription = fmt::format("error {}", static_cast<int>(code));
  if (!isRetryable(code)) return error;
  const bool hasTime = world_.random.chance(50) || retries_ >= mostRetriesWithoutTime;
  ++retries_;
  if (hasTime) error.retryAfter = static_cast<double>(world_.random.below(300)) / 10;
  return error;
}

CKError FaultyCloud::anyError() {
  auto code = world_.random.oneOf(everyCode);
  if (code == CKErrorCode::invalidArguments && !world_.faults.refusesRecords) {
    code = CKErrorCode::networkFailure;
  }
  return error(code);
}

/// About the whole request or some items of it, of which the first decides.
CKError FaultyCloud::batchError(const CloudBatch& batch) {
  const auto& records = batch.recordsToSave;
  const auto deciding = anyError();
  auto recordID = records.empty() ? batch.recordIDsToDelete.front() : records.front().recordID();
  auto result = deciding;
  if (!records.empty() && world_.random.chance(50)) {
    recordID = world_.random.oneOf(records).recordID();
    result = CKError();
    result.code = CKErrorCode::partialFailure;
    result.localizedDescription = "errors of items";
    result.partialErrorsByItemID.push_back({recordID, deciding});
    while (world_.random.chance(30)) {
      result.partialErrorsByItemID.push_back({world_.random.oneOf(records).recordID(), anyError()});
    }
  }
  if (deciding.code == CKErrorCode::invalidArguments) {
    world_.history.neverSends(access_.machine, recordID.recordName);
  }
  return result;
}

std::optional<CKError> FaultyCloud::failureBefore() {
  if (!risk_.mayHappen()) return error(CKErrorCode::networkFailure);
  if (!access_.hasAccount) return error(CKErrorCode::notAuthenticated);
  return std::nullopt;
}

template <typename Value, typename Call>
CKResult<Value> FaultyCloud::perform(const char* what, const Call& call) {
  if (const auto failure = failureBefore()) return tl::unexpected(*failure);
  const auto& faults = world_.faults;
  if (faults.isOn && world_.random.chance(faults.errorPercent)) {
    auto failure = anyError();
    note(fmt::format("{} fails: {}", what, failure.localizedDescription));
    return tl::unexpected(std::move(failure));
  }
  CKResult<Value> result = call();
  if (!result) note(fmt::format("{}: {}", what, result.error().localizedDescription));
  if (result && faults.isOn && world_.random.chance(faults.lostAnswerPercent)) {
    note(fmt::format("{}: the answer is lost", what));
    return tl::unexpected(error(world_.random.chance(80) ? CKErrorCode::networkFailure
                                                         : CKErrorCode::operationCancelled));
  }
  return result;
}

CKResult<CKAccountStatus> FaultyCloud::accountStatus(const CloudCall& call) {
  if (!access_.hasAccount) return world_.random.oneOf(withoutAccount);
  return perform<CKAccountStatus>("account", [&] { return cloud_->accountStatus(call); });
}

CKResult<void> FaultyCloud::saveZone(const CKRecordZoneID& zoneID, const CloudCall& call) {
  return perform<void>("zone", [&] { return cloud_->saveZone(zoneID, call); });
}

CKResult<void> FaultyCloud::deleteZone(const CKRecordZoneID& zoneID, const CloudCall& call) {
  return perform<void>("no zone", [&] { return cloud_->deleteZone(zoneID, call); });
}

CKResult<void> FaultyCloud::saveSubscription(const CKSubscription& subscription,
                                             const CloudCall& call) {
  return perform<void>("subscription",
                       [&] { return cloud_->saveSubscription(subscription, call); });
}

CKResult<CloudBatchResult> FaultyCloud::modifyRecords(const CloudBatch& batch,
                                                      const CloudCall& call) {
  if (const auto failure = failureBefore()) return tl::unexpected(*failure);
  note("pushes" + description(batch));
  for (const auto& record : batch.recordsToSave) {
    world_.noteOnItsWay(record.recordID().recordName);
  }
  const auto count = batch.recordsToSave.size() + batch.recordIDsToDelete.size();
  if (count > world_.faults.batchLimit) return tl::unexpected(error(CKErrorCode::limitExceeded));
  if (world_.faults.isOn && world_.random.chance(world_.faults.errorPercent)) {
    auto failure = batchError(batch);
    note("push fails: " + failure.localizedDescription +
         (failure.partialErrorsByItemID.empty()
              ? ""
              : ", " + failure.partialErrorsByItemID.front().error.localizedDescription));
    return tl::unexpected(std::move(failure));
  }
  auto result = cloud_->modifyRecords(batch, call);
  watchResult(batch, result);
  if (result && world_.faults.isOn && world_.random.chance(world_.faults.lostAnswerPercent)) {
    note("push: the answer is lost");
    return tl::unexpected(error(CKErrorCode::networkFailure));
  }
  return result;
}

void FaultyCloud::watchResult(const CloudBatch& batch, const CKResult<CloudBatchResult>& result) {
  if (result) return world_.history.modified(batch);
  note("push: " + result.error().localizedDescription);
  for (const auto& [itemID, itemError] : result.error().partialErrorsByItemID) {
    const auto& name = std::get<CKRecordID>(itemID).recordName;
    note(fmt::format("  {}: {}", name, itemError.localizedDescription));
    if (itemError.code != CKErrorCode::serverRecordChanged) continue;
    for (const auto& record : batch.recordsToSave) {
      const bool isNew = record.recordID().recordName == name && !record.recordChangeTag();
      if (isNew) world_.model.metAsNew(name);
    }
  }
}

CKResult<CloudChanges> FaultyCloud::fetchChanges(const CKRecordZoneID& zoneID,
                                                 const std::optional<CKServerChangeToken>& token,
                                                 std::size_t limit, const CloudCall& call) {
  auto result = perform<CloudChanges>("fetch", [&] {
    return cloud_->fetchChanges(zoneID, token, std::min(limit, world_.faults.pageSize), call);
  });
  if (!result) return result;
  note("fetches" + description(*result));
  for (const auto& record : result->changed) world_.noteOnItsWay(record.recordID().recordName);
  access_.watch.answered(*result, access_.hasPagesToApply());
  return result;
}

CKResult<CloudKeyValues> FaultyCloud::exchangeKeyValues(
    const CloudKeyValueChanges& changes, const std::optional<CKServerChangeToken>& token,
    const CloudCall& call) {
  return perform<CloudKeyValues>("preferences",
                                 [&] { return cloud_->exchangeKeyValues(changes, token, call); });
}

CKResult<void> FaultyCloud::addPublicRecord(const CKRecord& record, const CloudCall& call) {
  return perform<void>("report", [&] { return cloud_->addPublicRecord(record, call); });
}

void FaultyCloud::setListener(std::function<void(const CloudEvent&)> told) {
  told_ = std::move(told);
  cloud_->setListener([this](const CloudEvent& event) { this->told(event); });
}

void FaultyCloud::told(const CloudEvent& event) {
  const auto& faults = world_.faults;
  if (faults.isOn && world_.random.chance(faults.lostPushPercent)) {
    note("does not get a push");
    return;
  }
  const auto delay = std::chrono::milliseconds(faults.isSlow ? world_.random.below(20'000) : 0);
  wire_.postAfter(delay, [this, event] {
    if (told_) told_(event);
  });
}

}  // namespace orvane::test
