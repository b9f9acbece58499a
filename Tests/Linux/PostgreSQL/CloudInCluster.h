#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Linux/PostgreSQL/PostgreSQLCloud.h"
#include "Linux/PostgreSQL/PostgreSQLSchema.h"
#include "Tests/Linux/PostgreSQL/PrivateCluster.h"

namespace orvane::test {

/// Calls without a result are tests' preparations, and throw when they fail.
template <typename Value>
Value must(CKResult<Value> result) {
  if (!result) throw std::runtime_error(result.error().localizedDescription);
  if constexpr (!std::is_void_v<Value>) return *std::move(result);
}

/// A server with a prepared database and two users, `alice` and `bob`.
class CloudInCluster {
 public:
  explicit CloudInCluster(PrivateCluster::Network network = PrivateCluster::Network::none)
      : cluster(network) {
    auto admin = connect("postgres");
    must(installCloud(admin, {}));
    for (const auto* name : {"alice", "bob"}) must(addCloudUser(admin, name, std::nullopt, {}));
  }

  PostgreSQLConnection connect(const std::string& role, const std::string& database = "postgres") {
    return must(PostgreSQLConnection::open(cluster.connectionString(role, database), {}, 0, {}));
  }

  /// What the superuser says.
  PostgreSQLConnection::Results tell(const std::string& statement) {
    auto admin = connect("postgres");
    return must(admin.transact({{statement, {}}}, {}));
  }

  /// Returns once a session waits for another one's lock.
  void waitUntilBlocked() {
    auto admin = connect("postgres");
    while (must(admin.transact(
               {{"SELECT FROM pg_stat_activity WHERE wait_event_type = 'Lock'", {}}}, {}))[0]
               .rows() == 0) {
      std::this_thread::yield();
    }
  }

  std::unique_ptr<PostgreSQLCloud> cloud(const std::string& role,
                                         const std::string& device = "device",
                                         PostgreSQLCloud::Options options = {}) {
    return std::make_unique<PostgreSQLCloud>(cluster.connectionString(role), device, options);
  }

  PrivateCluster cluster;
};

/// Holds the lock that whoever changes a zone needs.
class ZoneLock {
 public:
  explicit ZoneLock(CloudInCluster& server) : session_(server.connect("postgres")) {
    must(session_.transact({{"BEGIN", {}}, {"SELECT FROM orvane.zones FOR UPDATE", {}}}, {}));
  }
  void release() { must(session_.transact({{"ROLLBACK", {}}}, {})); }

 private:
  PostgreSQLConnection session_;
};

inline const CKRecordZoneID theZone{"zone"};

inline CKRecord record(const std::string& name, const std::string& text) {
  CKRecord made("Rule", {name, theZone});
  made.setValue("text", CKRecordValue(text));
  return made;
}

inline CloudBatch saving(std::vector<CKRecord> records) {
  return {theZone, std::move(records), {}};
}

/// The record as the user's cloud has it.
inline std::optional<CKRecord> found(PostgreSQLCloud& cloud, const std::string& name) {
  const auto all = must(cloud.fetchChanges(theZone, std::nullopt, 100'000, {}));
  for (const auto& candidate : all.changed) {
    if (candidate.recordID().recordName == name) return candidate;
  }
  return std::nullopt;
}

template <typename Value>
std::optional<CKErrorCode> codeOf(const CKResult<Value>& result) {
  if (result) return std::nullopt;
  return result.error().code;
}

}  // namespace orvane::test
