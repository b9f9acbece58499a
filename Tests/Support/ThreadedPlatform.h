#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "Platform/Foundation/InMemoryKeyValueDatabase.h"
#include "Platform/Foundation/ThreadExecutor.h"
#include "Platform/Platform.h"
#include "Tests/Support/InMemoryFileSystem.h"
#include "Tests/Support/RecordingServices.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {

/// Files in memory for several threads. A test can stop the thread that comes to an operation on a
/// file, and let it go on when the test is ready.
class StoppingFileSystem final : public FileSystem {
 public:
  using Operation = InMemoryFileSystem::Operation;

  Expected<std::string> read(const std::filesystem::path& path) override {
    std::unique_lock lock(mutex_);
    stop(lock, Operation::read, path);
    return files_.read(path);
  }
  Expected<void> replace(const std::filesystem::path& path, std::string_view contents,
                         std::optional<FileDate> modificationDate) override {
    std::unique_lock lock(mutex_);
    stop(lock, Operation::replace, path);
    ++replacements_[path.string()];
    return files_.replace(path, contents, modificationDate);
  }
  Expected<FileAttributes> attributes(const std::filesystem::path& path) override {
    const std::lock_guard lock(mutex_);
    return files_.attributes(path);
  }
  Expected<void> createDirectories(const std::filesystem::path& path) override {
    const std::lock_guard lock(mutex_);
    return files_.createDirectories(path);
  }
  Expected<void> rename(const std::filesystem::path& from,
                        const std::filesystem::path& to) override {
    const std::lock_guard lock(mutex_);
    return files_.rename(from, to);
  }
  Expected<std::shared_ptr<void>> lock(const std::filesystem::path& path) override {
    const std::lock_guard lock(mutex_);
    return files_.lock(path);
  }

  void put(const std::filesystem::path& path, std::string contents) {
    const std::lock_guard lock(mutex_);
    files_.put(path, std::move(contents), 1);
  }
  bool has(const std::filesystem::path& path) {
    const std::lock_guard lock(mutex_);
    return files_.has(path);
  }
  std::string contents(const std::filesystem::path& path) {
    const std::lock_guard lock(mutex_);
    return files_.file(path).contents;
  }
  /// How often the file was replaced.
  int replacements(const std::filesystem::path& path) {
    const std::lock_guard lock(mutex_);
    return replacements_[path.string()];
  }

  /// The next such operation on the file stops before it does anything.
  void stopAt(Operation operation, const std::filesystem::path& path) {
    const std::lock_guard lock(mutex_);
    stop_ = {operation, path.string()};
    isStopped_ = false;
  }
  void waitUntilStopped() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return isStopped_; });
  }
  /// Whether a thread was stopped.
  bool goOn() {
    const std::lock_guard lock(mutex_);
    changed_.notify_all();
    return std::exchange(isStopped_, false);
  }

 private:
  void stop(std::unique_lock<std::mutex>& lock, Operation operation,
            const std::filesystem::path& path) {
    if (stop_ != std::pair(operation, path.string())) return;
    stop_.reset();
    isStopped_ = true;
    changed_.notify_all();
    changed_.wait(lock, [&] { return !isStopped_; });
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  InMemoryFileSystem files_;
  std::map<std::string, int> replacements_;
  std::optional<std::pair<Operation, std::string>> stop_;
  bool isStopped_ = false;
};

/// Keeps the lines that any thread prints.
class SharedRecordingOutput final : public LineOutput {
 public:
  void print(std::string_view line) override {
    const std::lock_guard lock(mutex_);
    lines_.emplace_back(line);
  }
  std::vector<std::string> lines() {
    const std::lock_guard lock(mutex_);
    return lines_;
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> lines_;
};

/// A browser that any thread may ask; it answers on the main queue that the content blocker is
/// enabled and that it has the list.
class CountingContentBlockerManager final : public SFContentBlockerManager {
 public:
  explicit CountingContentBlockerManager(Executor& mainQueue) : mainQueue_(mainQueue) {}

  bool hasStateQuery() const override { return canBeAsked; }
  void getStateOfContentBlocker(std::string_view, StateCompletion completion) override {
    ++stateQueries;
    mainQueue_.post([completion = std::move(completion)] {
      completion(SFContentBlockerState{.isEnabled = true}, std::nullopt);
    });
  }
  void reloadContentBlocker(std::string_view, ReloadCompletion completion) override {
    ++reloads;
    mainQueue_.post([completion = std::move(completion)] { completion(std::nullopt); });
  }

  std::atomic<bool> canBeAsked = true;
  std::atomic<int> stateQueries = 0;
  std::atomic<int> reloads = 0;

 private:
  Executor& mainQueue_;
};

/// One process's platform whose queues, the main queue too, have a thread each.
struct ThreadedPlatform {
  static constexpr const char* container = TestPlatform::container;
  static constexpr const char* bundle = TestPlatform::bundle;

  /// Runs `task` on the main queue and waits for it.
  void onMain(const Executor::Task& task) { mainQueue.runAndWait(task); }

  StoppingFileSystem files;
  NSFileManager fileManager{files, {"/data", {TestPlatform::documents}}};
  NSBundle mainBundle{fileManager, bundle};
  NSNotificationCenter notificationCenter;
  FixedURLLoader urlLoader;
  std::atomic<int> uuidCount = 0;
  UUIDGenerator makeUUID = [this] { return fmt::format("UUID-{}", ++uuidCount); };
  SharedRecordingOutput standardOutput;
  SharedRecordingOutput systemLog;
  ThreadExecutor mainQueue{"main"};
  SerialQueueFactory makeSerialQueue = [](const std::string& label) {
    return std::make_unique<ThreadExecutor>(label);
  };
  InMemoryKeyValueDatabase suiteDatabase{InMemoryKeyValueDatabase::makeStorage(), mainQueue};
  NSUserDefaults suite{suiteDatabase, systemLog};
  UserDefaultsSuites userDefaultsSuite = [this](std::string_view) { return &suite; };
  InMemoryKeyValueDatabase standardDatabase{InMemoryKeyValueDatabase::makeStorage(), mainQueue};
  NSUserDefaults standardUserDefaults{standardDatabase, systemLog};
  InMemoryKeyValueDatabase ubiquitousDatabase{InMemoryKeyValueDatabase::makeStorage(), mainQueue};
  NSUbiquitousKeyValueStore ubiquitousStore{ubiquitousDatabase, systemLog, notificationCenter};
  CountingContentBlockerManager contentBlockerManager{mainQueue};
  RecordingWorkspace workspace;
  SimulatedCloud cloudOfUsers;
  std::unique_ptr<CloudBackend> cloud = cloudOfUsers.connect("mia");
  ThreadExecutor cloudQueue{"cloud"};

  Platform platform{fileManager,
                    mainBundle,
                    notificationCenter,
                    urlLoader,
                    makeUUID,
                    standardOutput,
                    systemLog,
                    mainQueue,
                    makeSerialQueue,
                    userDefaultsSuite,
                    standardUserDefaults,
                    ubiquitousStore,
                    contentBlockerManager,
                    workspace,
                    *cloud,
                    cloudQueue};
};

}  // namespace orvane::test
