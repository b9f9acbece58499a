#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

#include "Linux/Posix/FileDescriptor.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {

/// A server of one test's own, in a temporary folder and reached through a socket file in it. It
/// goes down with the test's program. The server refuses to be root, and so it runs as `postgres`
/// when the test does.
///
/// The role `guarded` needs a password, everybody else none.
class PrivateCluster {
 public:
  /// How it can be reached besides the socket file: at a port of its own of this machine, which
  /// says that it is `localhost`.
  enum class Network { none, plain, encrypted };

  /// Starts it, and waits until it can be used.
  explicit PrivateCluster(Network network = Network::none);
  PrivateCluster(const PrivateCluster&) = delete;
  PrivateCluster& operator=(const PrivateCluster&) = delete;
  ~PrivateCluster();

  /// A connection string for a role; the superuser is `postgres`.
  std::string connectionString(const std::string& role, const std::string& database = "postgres",
                               const std::string& more = "") const;
  /// The same through the network, when there is one.
  std::string networkAddress(const std::string& role, const std::string& more = "") const;
  int port() const { return port_; }
  /// What whoever checks the server's name trusts in, when it encrypts.
  std::filesystem::path rootCertificate() const { return folder_ / "server.crt"; }

  /// Does not wait.
  void start();
  void waitUntilReady() const;
  /// Ends all its processes at once, as a loss of power would.
  void kill();
  /// Lets nobody in any more, and ends when the last one has left.
  void shutDown() const;
  /// Stops all its processes where they are, and lets them go on.
  void freeze();
  void thaw();

 private:
  void prepareNetwork();
  std::vector<std::string> serverCommand() const;
  std::vector<pid_t> workers() const;
  void signalAll(int signal) const;

  TemporaryDirectory folder_;  ///< in memory where there is enough of it
  const Network network_;
  FileDescriptor reservation_;  ///< keeps the port from everybody but the server
  int port_ = 5432;
  pid_t server_ = -1;
};

}  // namespace orvane::test
