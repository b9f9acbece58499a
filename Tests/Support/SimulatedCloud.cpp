#include "Tests/Support/SimulatedCloud.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <fmt/format.h>

namespace orvane::test {
namespace {

constexpr std::size_t mostKeys = 1024;
constexpr std::size_t mostBytes = 1'000'000;

CKError makeError(CKErrorCode code, std::string description) {
  CKError error;
  error.code = code;
  error.localizedDescription = std::move(description);
  if (isRetryable(code)) error.retryAfter = 1;
  return error;
}

tl::unexpected<CKError> failure(CKErrorCode code, std::string description) {
  return tl::unexpected(makeError(code, std::move(description)));
}

tl::unexpected<CKError> noSuchZone(const CKRecordZoneID& zoneID) {
  return failure(CKErrorCode::zoneNotFound, fmt::format("There is no zone “{}”.", zoneID.zoneName));
}

CKServerChangeToken tokenFor(std::uint64_t epoch, std::uint64_t change) {
  return {fmt::format("{}:{}", epoch, change)};
}

/// Nothing for a token of another epoch.
std::optional<std::uint64_t> changeAt(const std::optional<CKServerChangeToken>& token,
                                      std::uint64_t epoch) {
  const auto prefix = fmt::format("{}:", epoch);
  if (!token || !token->value.starts_with(prefix)) return std::nullopt;
  return std::stoull(token->value.substr(prefix.size()));
}

/// About as many bytes as the value takes.
std::size_t sizeOf(const PropertyListValue& value) {
  constexpr std::size_t scalar = 8;
  if (const auto* text = value.as<std::string>()) return text->size();
  std::size_t size = scalar;
  if (const auto* array = value.as<PropertyListValue::Array>()) {
    for (const auto& item : *array) size += sizeOf(item);
  }
  return size;
}

}  // namespace

class SimulatedCloud::Backend final : public CloudBackend {
 public:
  Backend(SimulatedCloud& cloud, std::string user) : cloud_(cloud), user_(std::move(user)) {
    const std::lock_guard lock(cloud_.mutex_);
    cloud_.backends_.push_back(this);
  }
  Backend(const Backend&) = delete;
  Backend& operator=(const Backend&) = delete;
  ~Backend() override {
    const std::lock_guard lock(cloud_.mutex_);
    std::erase(cloud_.backends_, this);
  }

  bool offersRecordZoneRequests() const override { return cloud_.offersRecordZoneRequests_; }

  CKResult<CKAccountStatus> accountStatus(const CloudCall& call) override {
    return answer<CKAccountStatus>(
        CloudRequest::accountStatus, call,
        [&](User&) -> CKResult<CKAccountStatus> { return cloud_.accountStatus_; });
  }

  CKResult<void> saveZone(const CKRecordZoneID& zoneID, const CloudCall& call) override {
    return answer<void>(CloudRequest::saveZone, call, [&](User& user) -> CKResult<void> {
      const auto [place, isNew] = user.zones.try_emplace(zoneID.zoneName);
      if (!isNew) return failure(CKErrorCode::serverRejectedRequest, "The zone is there already.");
      place->second.epoch = ++cloud_.epochCount_;
      return {};
    });
  }

  CKResult<void> deleteZone(const CKRecordZoneID& zoneID, const CloudCall& call) override {
    return answer<void>(CloudRequest::deleteZone, call, [&](User& user) -> CKResult<void> {
      if (user.zones.erase(zoneID.zoneName) == 0) return noSuchZone(zoneID);
      return {};
    });
  }

  CKResult<void> saveSubscription(const CKSubscription& subscription,
                                  const CloudCall& call) override {
    return answer<void>(CloudRequest::saveSubscription, call, [&](User& user) -> CKResult<void> {
      const auto zone = user.zones.find(subscription.zoneID.zoneName);
      if (zone == user.zones.end()) return noSuchZone(subscription.zoneID);
      auto& saved = zone->second.subscriptionID;
      if (!saved.empty()) {
        return failure(CKErrorCode::serverRejectedRequest,
                       "The subscription is a duplicate of " + saved);
      }
      saved = subscription.subscriptionID;
      return {};
    });
  }

  CKResult<CloudBatchResult> modifyRecords(const CloudBatch& batch,
                                           const CloudCall& call) override {
    return answer<CloudBatchResult>(
        CloudRequest::modifyRecords, call,
        [&](User& user) -> CKResult<CloudBatchResult> {
          const auto found = user.zones.find(batch.zoneID.zoneName);
          if (found == user.zones.end()) return noSuchZone(batch.zoneID);
          auto& zone = found->second;
          if (auto conflicts = conflictsIn(batch, zone); !conflicts.empty()) {
            auto error = makeError(CKErrorCode::partialFailure, "Some records have changed.");
            error.partialErrorsByItemID = std::move(conflicts);
            return tl::unexpected(error);
          }
          auto result = apply(batch, zone);
          if (!zone.subscriptionID.empty()) {
            cloud_.tell(user_, {CloudEvent::Kind::zoneChanged, zone.subscriptionID});
          }
          return result;
        },
        &batch);
  }

  CKResult<CloudChanges> fetchChanges(const CKRecordZoneID& zoneID,
                                      const std::optional<CKServerChangeToken>& token,
                                      std::size_t limit, const CloudCall& call) override {
    return answer<CloudChanges>(
        CloudRequest::fetchChanges, call, [&](User& user) -> CKResult<CloudChanges> {
          const auto found = user.zones.find(zoneID.zoneName);
          if (found == user.zones.end()) return noSuchZone(zoneID);
          return changesBehind(found->second, zoneID, token, std::min(limit, cloud_.pageSize_));
        });
  }

  CKResult<CloudKeyValues> exchangeKeyValues(const CloudKeyValueChanges& changes,
                                             const std::optional<CKServerChangeToken>& token,
                                             const CloudCall& call) override {
    return answer<CloudKeyValues>(CloudRequest::exchangeKeyValues, call,
                                  [&](User& user) { return exchange(user, changes, token); });
  }

  CKResult<void> addPublicRecord(const CKRecord& record, const CloudCall& call) override {
    return answer<void>(CloudRequest::addPublicRecord, call, [&](User&) -> CKResult<void> {
      auto& records = cloud_.publicRecords_;
      const auto isThere = std::any_of(records.begin(), records.end(), [&](const auto& added) {
        return added.recordID() == record.recordID();
      });
      if (!isThere) records.push_back(record);
      return {};
    });
  }

  void setListener(std::function<void(const CloudEvent&)> told) override {
    const std::lock_guard lock(cloud_.mutex_);
    told_ = std::move(told);
  }

 private:
  friend class SimulatedCloud;

  template <typename Value, typename Work>
  CKResult<Value> answer(CloudRequest request, const CloudCall& call, const Work& work,
                         const CloudBatch* batch = nullptr) {
    if (call.isCancelled()) return failure(CKErrorCode::operationCancelled, "Cancelled.");
    if (const auto watching = cloud_.watching()) watching(request, batch);
    std::unique_lock lock(cloud_.mutex_);
    if (!cloud_.waitForRelease(lock, call)) {
      return failure(CKErrorCode::operationCancelled, "Cancelled.");
    }
    if (auto error = cloud_.takeFailure(request)) return tl::unexpected(*std::move(error));
    auto result = work(cloud_.userNamed(user_));
    auto& callsBefore = cloud_.callsBeforeLostAnswer_;
    if (callsBefore && (*callsBefore)-- == 0) {
      callsBefore.reset();
      return failure(CKErrorCode::networkFailure, "The connection was lost.");
    }
    return result;
  }

  static std::vector<CKPartialError> conflictsIn(const CloudBatch& batch, const Zone& zone) {
    std::vector<CKPartialError> conflicts;
    for (const auto& record : batch.recordsToSave) {
      const auto& recordID = record.recordID();
      const auto found = zone.records.find(recordID.recordName);
      const auto isThere = found != zone.records.end() && !found->second.isDeleted;
      const auto tag = isThere ? std::optional(std::to_string(found->second.tag)) : std::nullopt;
      if (tag == record.recordChangeTag()) continue;
      if (!isThere) {
        conflicts.push_back(
            {recordID, makeError(CKErrorCode::unknownItem, "There is no such record.")});
        continue;
      }
      auto error = makeError(CKErrorCode::serverRecordChanged, "The record has changed.");
      error.serverRecord = std::make_shared<const CKRecord>(found->second.type, recordID, *tag,
                                                            found->second.fields);
      conflicts.push_back({recordID, error});
    }
    return conflicts;
  }

  static CloudBatchResult apply(const CloudBatch& batch, Zone& zone) {
    CloudBatchResult result;
    for (const auto& record : batch.recordsToSave) {
      auto& entry = zone.records[record.recordID().recordName];
      if (std::exchange(entry.isDeleted, false)) entry.fields.clear();
      entry.type = record.recordType();
      entry.tag = ++zone.changeCount;
      for (const auto& key : record.changedKeys()) {
        entry.fields.erase(key);
        if (const auto value = record.value(key)) entry.fields.emplace(key, *value);
      }
      result.changeTags.push_back(std::to_string(entry.tag));
    }
    for (const auto& recordID : batch.recordIDsToDelete) {
      const auto found = zone.records.find(recordID.recordName);
      if (found == zone.records.end() || found->second.isDeleted) {
        result.unknownIDs.push_back(recordID);
        continue;
      }
      found->second.isDeleted = true;
      found->second.tag = ++zone.changeCount;
    }
    return result;
  }

  static CloudChanges changesBehind(const Zone& zone, const CKRecordZoneID& zoneID,
                                    const std::optional<CKServerChangeToken>& token,
                                    std::size_t limit) {
    const auto seen = changeAt(token, zone.epoch).value_or(0);
    std::map<std::uint64_t, std::string> inOrder;
    for (const auto& [name, entry] : zone.records) {
      if (entry.tag > seen) inOrder.emplace(entry.tag, name);
    }
    CloudChanges changes;
    auto last = zone.changeCount;
    for (const auto& [tag, name] : inOrder) {
      if (changes.changed.size() + changes.deleted.size() == limit) {
        changes.moreComing = true;
        break;
      }
      const auto& entry = zone.records.at(name);
      const CKRecordID recordID{name, zoneID};
      if (entry.isDeleted) {
        changes.deleted.push_back({recordID, entry.type});
      } else {
        changes.changed.emplace_back(entry.type, recordID, std::to_string(tag), entry.fields);
      }
      last = tag;
    }
    if (!changes.moreComing) last = zone.changeCount;
    changes.token = tokenFor(zone.epoch, last);
    return changes;
  }

  CKResult<CloudKeyValues> exchange(User& user, const CloudKeyValueChanges& changes,
                                    const std::optional<CKServerChangeToken>& token) const {
    auto keyValues = user.keyValues;
    for (const auto& [key, value] : changes) {
      keyValues[key] = {value, user.keyValueChangeCount + 1};
    }
    std::size_t keys = 0;
    std::size_t bytes = 0;
    for (const auto& [key, entry] : keyValues) {
      if (!entry.value) continue;
      ++keys;
      bytes += key.size() + sizeOf(*entry.value);
    }
    if (keys > mostKeys || bytes > mostBytes) {
      return failure(CKErrorCode::quotaExceeded, "The key-value store is full.");
    }
    const auto seen = changeAt(token, user.epoch);
    if (!changes.empty()) {
      ++user.keyValueChangeCount;
      cloud_.tell(user_, {CloudEvent::Kind::keyValuesChanged, ""});
    }
    user.keyValues = std::move(keyValues);
    CloudKeyValues result;
    result.isAll = !seen;
    for (const auto& [key, entry] : user.keyValues) {
      const bool isNews = seen ? entry.change > *seen : entry.value.has_value();
      if (isNews && !changes.contains(key)) result.changes[key] = entry.value;
    }
    result.token = tokenFor(user.epoch, user.keyValueChangeCount);
    return result;
  }

  SimulatedCloud& cloud_;
  std::string user_;
  std::function<void(const CloudEvent&)> told_;
};

std::unique_ptr<CloudBackend> SimulatedCloud::connect(const std::string& user) {
  return std::make_unique<Backend>(*this, user);
}

std::vector<CKRecord> SimulatedCloud::publicRecords() {
  const std::lock_guard lock(mutex_);
  return publicRecords_;
}

void SimulatedCloud::failWith(CKError error) {
  const std::lock_guard lock(mutex_);
  failures_.push_back({std::nullopt, std::move(error)});
}

void SimulatedCloud::failWith(CloudRequest request, CKError error) {
  const std::lock_guard lock(mutex_);
  failures_.push_back({request, std::move(error)});
}

std::optional<CKError> SimulatedCloud::takeFailure(CloudRequest request) {
  const auto found = std::ranges::find_if(failures_, [&](const Failure& failure) {
    return !failure.request || failure.request == request;
  });
  if (found == failures_.end()) return std::nullopt;
  auto error = std::move(found->error);
  failures_.erase(found);
  return error;
}

void SimulatedCloud::watch(std::function<void(CloudRequest, const CloudBatch*)> told) {
  const std::lock_guard lock(mutex_);
  watching_ = std::move(told);
}

std::function<void(CloudRequest, const CloudBatch*)> SimulatedCloud::watching() {
  const std::lock_guard lock(mutex_);
  return watching_;
}

void SimulatedCloud::setAccountStatus(CKAccountStatus status) {
  const std::lock_guard lock(mutex_);
  accountStatus_ = status;
}

void SimulatedCloud::setPageSize(std::size_t size) {
  const std::lock_guard lock(mutex_);
  pageSize_ = size;
}

void SimulatedCloud::loseAnswer(std::size_t callsBefore) {
  const std::lock_guard lock(mutex_);
  callsBeforeLostAnswer_ = callsBefore;
}

void SimulatedCloud::hold(bool isHeld) {
  const std::lock_guard lock(mutex_);
  isHeld_ = isHeld;
  released_.notify_all();
}

/// False when the call is cancelled.
bool SimulatedCloud::waitForRelease(std::unique_lock<std::mutex>& lock, const CloudCall& call) {
  constexpr std::chrono::milliseconds pause{50};
  while (!call.isCancelled()) {
    if (released_.wait_for(lock, isHeld_ ? pause : pause.zero(), [this] { return !isHeld_; })) {
      return true;
    }
  }
  return false;
}

SimulatedCloud::User& SimulatedCloud::userNamed(const std::string& name) {
  const auto [place, isNew] = users_.try_emplace(name);
  if (isNew) place->second.epoch = ++epochCount_;
  return place->second;
}

void SimulatedCloud::tell(const std::string& user, const CloudEvent& event) {
  for (auto* backend : backends_) {
    if (backend->user_ == user && backend->told_) backend->told_(event);
  }
}

}  // namespace orvane::test
