#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Linux/Posix/FileDescriptor.h"
#include "Linux/PostgreSQL/PostgreSQLConnection.h"

namespace orvane {

/// Tells of changes of the user's zones and key-value store, on a thread of its own with a
/// connection of its own. It looks at what the changes count up to whenever the server notifies,
/// and besides from time to time, since a notification may get lost; a server that cannot notify
/// is only looked at from time to time. A lost connection is made again, with growing pauses.
///
/// Everything is told at every new connection, and once more all of it would be no harm.
class PostgreSQLListener {
 public:
  using Told = std::function<void(const CloudEvent&)>;

  PostgreSQLListener(std::string connectionString, const PostgreSQLTimeouts& timeouts,
                     std::chrono::milliseconds lookInterval, Told told);
  PostgreSQLListener(const PostgreSQLListener&) = delete;
  PostgreSQLListener& operator=(const PostgreSQLListener&) = delete;
  /// Waits for a call of `told` that goes on.
  ~PostgreSQLListener();

 private:
  /// For each subscription, and with an empty ID for the key-value store: what its changes count up
  /// to. Sorted.
  using Counts = std::vector<std::pair<std::string, std::string>>;

  void run();
  CKResult<void> listen();
  CKResult<Counts> counts(PostgreSQLConnection& connection) const;
  void tellDifferences(const Counts& seen, const Counts& now) const;
  void noteStatus(CKAccountStatus status);
  void pause(double seconds) const;

  const std::string connectionString_;
  const PostgreSQLTimeouts timeouts_;
  const std::chrono::milliseconds lookInterval_;
  const Told told_;
  std::atomic<bool> ends_ = false;
  /// Can be read once the thread is to end.
  FileDescriptor wake_;
  const CloudCall call_{[this] { return ends_.load(); }};
  int failures_ = 0;
  std::optional<CKAccountStatus> status_;
  std::thread thread_;
};

}  // namespace orvane
