#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/Linux/PostgreSQL/CloudInCluster.h"
#include "Tests/Linux/PostgreSQL/SelfSignedCertificate.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// A server at a port of this machine.
class PostgreSQLNetwork : public ::testing::Test {
 protected:
  explicit PostgreSQLNetwork(PrivateCluster::Network network = PrivateCluster::Network::encrypted)
      : server(network) {}

  std::unique_ptr<PostgreSQLCloud> cloudAt(const std::string& address) {
    return std::make_unique<PostgreSQLCloud>(address, "device");
  }

  std::unique_ptr<PostgreSQLCloud> cloudWith(const std::string& settings) {
    return cloudAt(server.cluster.networkAddress("alice", settings));
  }

  /// Of each of the user's connections, where it comes from, and whether it is encrypted.
  std::vector<std::string> connections() {
    const auto result = server.tell(
        "SELECT host(client_addr) || CASE WHEN ssl THEN ' encrypted' ELSE ' open' END "
        "FROM pg_stat_ssl JOIN pg_stat_activity USING (pid) WHERE usename = 'alice'");
    std::vector<std::string> found;
    for (int row = 0; row < result[0].rows(); ++row) found.emplace_back(result[0].text(row, 0));
    return found;
  }

  /// Whether the settings lead to no connection, and to an error that says so.
  void expectRefused(const std::string& settings, const std::string& reason,
                     CKErrorCode code = CKErrorCode::networkFailure) {
    const auto status = cloudWith(settings)->accountStatus({});
    ASSERT_FALSE(status) << settings;
    EXPECT_EQ(status.error().code, code);
    EXPECT_EQ(status.error().retryAfter.has_value(), isRetryable(code));
    EXPECT_THAT(status.error().localizedDescription, HasSubstr(reason));
    EXPECT_THAT(connections(), ElementsAre()) << settings;
  }

  CloudInCluster server;
};

class PostgreSQLOpenNetwork : public PostgreSQLNetwork {
 protected:
  PostgreSQLOpenNetwork() : PostgreSQLNetwork(PrivateCluster::Network::plain) {}
};

TEST_F(PostgreSQLNetwork, anAddressThatSaysNothingOfItIsEncrypted) {
  const auto cloud = cloudWith("");
  EXPECT_EQ(cloud->accountStatus({}), CKAccountStatus::available);
  EXPECT_THAT(connections(), ElementsAre("127.0.0.1 encrypted"));
}

TEST_F(PostgreSQLNetwork, aURIThatSaysNothingOfItIsEncrypted) {
  const auto cloud = cloudAt(
      "postgresql://alice@127.0.0.1:" + std::to_string(server.cluster.port()) + "/postgres");
  EXPECT_EQ(cloud->accountStatus({}), CKAccountStatus::available);
  EXPECT_THAT(connections(), ElementsAre("127.0.0.1 encrypted"));
}

TEST_F(PostgreSQLNetwork, anAddressMayAskForNoEncryption) {
  const auto cloud = cloudWith("sslmode=disable");
  EXPECT_EQ(cloud->accountStatus({}), CKAccountStatus::available);
  EXPECT_THAT(connections(), ElementsAre("127.0.0.1 open"));
}

TEST_F(PostgreSQLNetwork, recordsAndNotificationsComeThroughEncrypted) {
  constexpr std::size_t count = 400;
  constexpr std::size_t size = 10'000;
  const auto listening = cloudWith("");
  const auto saver = cloudWith("");
  must(saver->saveZone(theZone, {}));
  must(saver->saveSubscription({"subscription", theZone}, {}));
  std::mutex mutex;
  std::condition_variable isTold;
  int told = 0;
  listening->setListener([&](const CloudEvent& event) {
    const std::lock_guard lock(mutex);
    told += event.kind == CloudEvent::Kind::zoneChanged ? 1 : 0;
    isTold.notify_all();
  });
  const auto waitUntilTold = [&] {
    std::unique_lock lock(mutex);
    const bool isInTime = isTold.wait_for(lock, std::chrono::seconds(20), [&] { return told > 0; });
    told = 0;
    return isInTime;
  };
  ASSERT_TRUE(waitUntilTold()) << "at the connection";
  std::vector<CKRecord> records;
  for (std::size_t index = 0; index < count; ++index) {
    records.push_back(record(std::to_string(index), std::string(size, 'x')));
  }
  must(saver->modifyRecords(saving(records), {}));
  EXPECT_TRUE(waitUntilTold());
  const auto fetched = must(listening->fetchChanges(theZone, std::nullopt, count, {})).changed;
  ASSERT_EQ(fetched.size(), count);
  for (std::size_t index = 0; index < count; ++index) {
    EXPECT_EQ(fetched[index].fields(), records[index].fields());
  }
  const std::string encrypted = "127.0.0.1 encrypted";
  EXPECT_THAT(connections(), ElementsAre(encrypted, encrypted, encrypted));
  listening->setListener({});
}

TEST_F(PostgreSQLNetwork, aServerWithACertificateOfATrustedRootIsLetIn) {
  const auto cloud =
      cloudWith("sslmode=verify-full sslrootcert=" + server.cluster.rootCertificate().string());
  EXPECT_EQ(cloud->accountStatus({}), CKAccountStatus::available);
  EXPECT_THAT(connections(), ElementsAre("127.0.0.1 encrypted"));
}

TEST_F(PostgreSQLNetwork, aServerWithACertificateOfAnotherRootIsRefused) {
  const TemporaryDirectory folder;
  makeSelfSignedCertificate(folder.path(), "other");
  expectRefused("sslmode=verify-full sslrootcert=" + (folder / "other.crt").string(),
                "certificate verify failed");
}

TEST_F(PostgreSQLNetwork, aServerWithACertificateForAnotherNameIsRefused) {
  const auto root = " sslrootcert=" + server.cluster.rootCertificate().string();
  expectRefused("host=db.example sslmode=verify-full" + root,
                "server certificate for \"localhost\" does not match host name \"db.example\"");
}

TEST_F(PostgreSQLNetwork, aRootThatIsNotThereLetsNobodyIn) {
  const TemporaryDirectory folder;
  const auto missing = (folder / "missing.crt").string();
  expectRefused("sslmode=verify-full sslrootcert=" + missing,
                "The root certificate to know the server by, '" + missing + "', is missing.",
                CKErrorCode::badContainer);
}

TEST_F(PostgreSQLOpenNetwork, aServerThatCannotEncryptIsRefused) {
  expectRefused("", "server does not support SSL, but SSL was required");
}

TEST_F(PostgreSQLOpenNetwork, aServerThatCannotEncryptIsLetInIfTheAddressSaysSo) {
  const auto cloud = cloudWith("sslmode=prefer");
  EXPECT_EQ(cloud->accountStatus({}), CKAccountStatus::available);
  EXPECT_THAT(connections(), ElementsAre("127.0.0.1 open"));
}

}  // namespace
}  // namespace orvane::test
