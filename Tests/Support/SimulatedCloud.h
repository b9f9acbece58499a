#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Platform/CloudKit/CloudBackend.h"

namespace orvane::test {

enum class CloudRequest {
  accountStatus,
  saveZone,
  deleteZone,
  saveSubscription,
  modifyRecords,
  fetchChanges,
  exchangeKeyValues,
  addPublicRecord,
};

/// A cloud in memory: what all its users have. Any thread.
class SimulatedCloud {
 public:
  /// A user's way to it. The cloud outlives it.
  std::unique_ptr<CloudBackend> connect(const std::string& user);

  /// What the makers read.
  std::vector<CKRecord> publicRecords();

  /// From now on its system is an older one: there are only the older forms of some requests.
  void offerOnlyOlderRequests() { offersRecordZoneRequests_ = false; }

  /// The next calls, whatever they are, fail with these errors, in this order.
  void failWith(CKError error);
  /// The next such requests fail with these errors, in this order.
  void failWith(CloudRequest request, CKError error);
  /// The call after that many others is carried out, and its answer lost.
  void loseAnswer(std::size_t callsBefore = 0);
  /// Calls wait, until they are cancelled or this is taken back.
  void hold(bool isHeld);

  /// Called inside every request before it is carried out, on its thread, with the batch of one
  /// that modifies records.
  void watch(std::function<void(CloudRequest request, const CloudBatch* batch)> told);

  void setAccountStatus(CKAccountStatus status);
  /// A fetch brings at most so much.
  void setPageSize(std::size_t size);

 private:
  class Backend;

  struct Entry {
    std::string type;
    std::uint64_t tag = 0;
    bool isDeleted = false;
    CKRecord::Fields fields;
  };
  struct Zone {
    std::uint64_t epoch = 0;
    std::uint64_t changeCount = 0;
    std::map<std::string, Entry> records;
    std::string subscriptionID;  ///< empty when there is none
  };
  struct KeyValue {
    std::optional<PropertyListValue> value;
    std::uint64_t change = 0;
  };
  struct User {
    std::map<std::string, Zone> zones;
    std::uint64_t epoch = 0;  ///< of the key-value store
    std::map<std::string, KeyValue> keyValues;
    std::uint64_t keyValueChangeCount = 0;
  };

  bool waitForRelease(std::unique_lock<std::mutex>& lock, const CloudCall& call);
  User& userNamed(const std::string& name);
  struct Failure {
    std::optional<CloudRequest> request;  ///< nothing when any request fails
    CKError error;
  };

  std::optional<CKError> takeFailure(CloudRequest request);
  std::function<void(CloudRequest, const CloudBatch*)> watching();
  void tell(const std::string& user, const CloudEvent& event);

  std::mutex mutex_;
  std::condition_variable released_;
  bool isHeld_ = false;
  std::atomic<bool> offersRecordZoneRequests_ = true;
  std::map<std::string, User> users_;
  std::vector<CKRecord> publicRecords_;
  std::uint64_t epochCount_ = 0;
  std::deque<Failure> failures_;
  std::optional<std::size_t> callsBeforeLostAnswer_;
  std::function<void(CloudRequest, const CloudBatch*)> watching_;
  CKAccountStatus accountStatus_ = CKAccountStatus::available;
  std::size_t pageSize_ = std::numeric_limits<std::size_t>::max();
  /// In the order in which they were connected, so that a run can be repeated.
  std::vector<Backend*> backends_;
};

}  // namespace orvane::test
