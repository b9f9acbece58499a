#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {

/// A server of one test's own, in a temporary folder and reached through a socket file in it. It
/// goes down with the test's program. The server refuses to be root, and so it runs as `postgres`
/// when the test does.
///
/// The role `guarded` needs a password, everybody else none.
class PrivateCluster {
 public:
  /// Starts it, and waits until it can be used.
  PrivateCluster();
  PrivateCluster(const PrivateCluster&) = delete;
  PrivateCluster& operator=(const PrivateCluster&) = delete;
  ~PrivateCluster();

  /// A connection string for a role; the superuser is `postgres`.
  std::string connectionString(const std::string& role, const std::string& database = "postgres",
                               const std::string& more = "") const;

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
  std::vector<pid_t> workers() const;
  void signalAll(int signal) const;

  TemporaryDirectory folder_;  ///< in memory where there is enough of it
  pid_t server_ = -1;
};

}  // namespace orvane::test
