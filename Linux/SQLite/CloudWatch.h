#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <thread>
#include <utility>

#include "Linux/Posix/FileDescriptor.h"
#include "Linux/SQLite/CloudZones.h"
#include "Linux/SQLite/SQLiteConnection.h"
#include "Platform/CloudKit/CloudBackend.h"

namespace orvane {

/// Tells, on a thread of its own, what has changed in a cloud in a file since the watch was made:
/// when the doorbell is rung, and when one of the looks that it takes twice a second finds a
/// change, for a writer may die between its commit and the bell. It has a connection of its own,
/// which it opens again when that is needed; `accountChanged` is told when the file can be read
/// again. A look at a busy file tells nothing, and the next one what it has missed.
class CloudWatch {
 public:
  CloudWatch(std::filesystem::path path, std::function<void(const CloudEvent&)> told);
  CloudWatch(const CloudWatch&) = delete;
  CloudWatch& operator=(const CloudWatch&) = delete;
  /// Waits for a call that goes on.
  ~CloudWatch();

 private:
  /// How far the changes have got that are told of.
  struct State {
    std::int64_t keyValues = 0;
    /// By the subscription and the zone that it is of.
    std::map<std::pair<std::string, std::string>, CloudHistory> zones;
  };

  void run();
  bool waitForBell() const;
  void watchDoorbell() const;

  Expected<State> look();
  Expected<void> open();
  Expected<State> read() const;
  void tellOf(const State& state);

  std::filesystem::path path_;
  std::function<void(const CloudEvent&)> told_;
  FileDescriptor end_;
  FileDescriptor inotify_;
  // Used by the thread alone once it runs.
  std::optional<SQLiteConnection> connection_;
  std::optional<State> seen_;
  bool couldRead_ = false;
  std::thread thread_;
};

}  // namespace orvane
