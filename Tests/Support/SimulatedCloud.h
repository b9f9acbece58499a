#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Platform/CloudKit/CloudBackend.h"

namespace orvane::test {

/// A cloud in memory: what all its users have. Any thread.
class SimulatedCloud {
 public:
  /// A user's way to it. The cloud outlives it.
  std::unique_ptr<CloudBackend> connect(const std::string& user);

  /// What the makers read.
  std::vector<CKRecord> publicRecords();

  /// The next calls, whatever they are, fail with these errors, in this order.
  void failWith(CKError error);
  /// The next call is carried out, and its answer lost.
  void loseAnswer();

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
    std::map<std::string, KeyValue> keyValues;
    std::uint64_t keyValueChangeCount = 0;
  };

  void tell(const std::string& user, const CloudEvent& event);

  std::mutex mutex_;
  std::map<std::string, User> users_;
  std::vector<CKRecord> publicRecords_;
  std::uint64_t epochCount_ = 0;
  std::deque<CKError> failures_;
  bool losesAnswer_ = false;
  /// In the order in which they were connected, so that a run can be repeated.
  std::vector<Backend*> backends_;
};

}  // namespace orvane::test
