#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Benchmarks/Scenario.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "Linux/Posix/PosixFileSystem.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::benchmarks {

/// The machine's own files in a folder of their own, with the package files and the list of a
/// scenario.
class BenchmarkMachine {
 public:
  explicit BenchmarkMachine(const Scenario& scenario);

  /// A rebuild of the list by a program that has just started.
  void rebuild();

  /// The bytes that a rebuild reads, and those that it writes.
  std::vector<std::filesystem::path> packageFiles() const;
  const std::string& list() const { return list_; }
  std::size_t ruleCount() const { return ruleCount_; }

  std::string read(const std::filesystem::path& path);
  void replace(const std::filesystem::path& path, std::string_view contents);

  Platform& platform() { return platform_; }
  NSUserDefaults& sharedDefaults() { return rest_.suite(); }
  /// Runs what is due on the queues, all in this thread.
  void runUntilIdle() { rest_.time.runUntilIdle(); }
  Executor::Time now() const { return rest_.time.now(); }
  /// Turns the clock of the queues on until the condition holds.
  template <typename Condition>
  void advanceUntil(Condition condition) {
    while (!condition()) rest_.time.advance(std::chrono::milliseconds(100));
  }
  const std::filesystem::path& container() const { return container_; }

 private:
  std::vector<Blocker> blockers(PersistentStore& store) const;

  const Scenario& scenario_;
  test::TemporaryDirectory folder_;
  std::filesystem::path container_;
  PosixFileSystem fileSystem_;
  NSFileManager fileManager_;
  NSBundle bundle_;
  test::TestPlatform rest_;
  Platform platform_;
  std::string list_;
  std::size_t ruleCount_ = 0;
};

}  // namespace orvane::benchmarks
