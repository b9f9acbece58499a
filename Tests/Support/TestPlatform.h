#pragma once

#include <map>
#include <memory>
#include <string>

#include <fmt/format.h>

#include "Platform/Foundation/InMemoryKeyValueDatabase.h"
#include "Platform/Platform.h"
#include "Tests/Support/FailingKeyValueDatabase.h"
#include "Tests/Support/InMemoryFileSystem.h"
#include "Tests/Support/RecordingOutput.h"
#include "Tests/Support/RecordingServices.h"
#include "Tests/Support/SimulatedCloud.h"
#include "Tests/Support/VirtualTime.h"

namespace orvane::test {

/// Answers a URL with what a test says, and every other one with an error.
class FixedURLLoader final : public NSURLLoader {
 public:
  Expected<std::string> contents(std::string_view url) override {
    const auto found = answers.find(std::string(url));
    if (found == answers.end()) return tl::unexpected(NSError{"test", 404, "no such URL"});
    return found->second;
  }
  std::map<std::string, std::string> answers;
};

/// What the processes of one machine in memory share.
struct TestMachine {
  VirtualTime time;
  InMemoryFileSystem fileSystem;
  std::shared_ptr<InMemoryKeyValueDatabase::Storage> suite =
      InMemoryKeyValueDatabase::makeStorage();
  std::shared_ptr<InMemoryKeyValueDatabase::Storage> ubiquitous =
      InMemoryKeyValueDatabase::makeStorage();
  /// May be another machine's as well.
  std::shared_ptr<SimulatedCloud> cloud = std::make_shared<SimulatedCloud>();
  int uuidCount = 0;
};

/// One process's platform on a machine in memory. UUIDs are counted: "UUID-1", "UUID-2", ...
struct TestPlatform {
  static constexpr const char* container = "/data/Q4XR7T2M9V.com.tessaly.Blocker";
  static constexpr const char* documents = "/data/Documents";
  static constexpr const char* bundle = "/bundle";

  /// A process alone on its machine.
  explicit TestPlatform(UserDirectories userDirectories = {"/data", {"/earlier", documents}})
      : TestPlatform(std::make_shared<TestMachine>(), std::move(userDirectories)) {}
  /// One more process of a machine.
  explicit TestPlatform(std::shared_ptr<TestMachine> itsMachine,
                        UserDirectories userDirectories = {"/data", {"/earlier", documents}})
      : machine(std::move(itsMachine)), fileManager(fileSystem, std::move(userDirectories)) {}

  /// The process is killed: none of its queues runs anything any more, not even while its objects
  /// are destroyed.
  void kill() { *isKilled = true; }

  /// The shared suite of user defaults, as this process has it.
  NSUserDefaults& suite() { return suiteDefaults; }

  std::shared_ptr<TestMachine> machine;
  VirtualTime& time = machine->time;
  InMemoryFileSystem& fileSystem = machine->fileSystem;
  NSFileManager fileManager;
  NSBundle mainBundle{fileManager, bundle,
                      PropertyListValue::Dictionary{{"CFBundleShortVersionString", "3.1"},
                                                    {"CFBundleVersion", "1024"}}};
  NSNotificationCenter notificationCenter;
  FixedURLLoader urlLoader;
  UUIDGenerator makeUUID = [this] { return fmt::format("UUID-{}", ++machine->uuidCount); };
  RecordingOutput standardOutput;
  RecordingOutput systemLog;

  std::shared_ptr<bool> isKilled = std::make_shared<bool>(false);
  std::unique_ptr<Executor> mainQueue = time.makeExecutor(isKilled);
  /// The labels of the queues that were made.
  std::vector<std::string> queueLabels;
  SerialQueueFactory makeSerialQueue = [this](const std::string& label) {
    queueLabels.push_back(label);
    return time.makeExecutor(isKilled);
  };

  bool canOpenSuite = true;
  std::vector<std::string> openedSuites;
  InMemoryKeyValueDatabase suiteDatabase{machine->suite, *mainQueue};
  FailingKeyValueDatabase suiteAtRisk{suiteDatabase};
  NSUserDefaults suiteDefaults{suiteAtRisk, systemLog};
  UserDefaultsSuites userDefaultsSuite = [this](std::string_view name) {
    openedSuites.emplace_back(name);
    return canOpenSuite ? &suiteDefaults : nullptr;
  };
  InMemoryKeyValueDatabase standardDatabase{InMemoryKeyValueDatabase::makeStorage(), *mainQueue};
  NSUserDefaults standardUserDefaults{standardDatabase, systemLog};
  InMemoryKeyValueDatabase ubiquitousDatabase{machine->ubiquitous, *mainQueue};
  FailingKeyValueDatabase ubiquitousAtRisk{ubiquitousDatabase};
  NSUbiquitousKeyValueStore ubiquitousStore{ubiquitousAtRisk, systemLog, notificationCenter};
  RecordingContentBlockerManager contentBlockerManager{*mainQueue};
  RecordingWorkspace workspace;
  std::unique_ptr<CloudBackend> cloud = machine->cloud->connect("mia");
  std::unique_ptr<Executor> cloudQueue = time.makeExecutor(isKilled);

  Platform platform{fileManager,
                    mainBundle,
                    notificationCenter,
                    urlLoader,
                    makeUUID,
                    standardOutput,
                    systemLog,
                    *mainQueue,
                    makeSerialQueue,
                    userDefaultsSuite,
                    standardUserDefaults,
                    ubiquitousStore,
                    contentBlockerManager,
                    workspace,
                    *cloud,
                    *cloudQueue};
};

/// `platform`, but with these files.
inline Platform withFiles(const Platform& platform, NSFileManager& fileManager, NSBundle& bundle) {
  return {fileManager,
          bundle,
          platform.notificationCenter,
          platform.urlLoader,
          platform.makeUUID,
          platform.standardOutput,
          platform.systemLog,
          platform.mainQueue,
          platform.makeSerialQueue,
          platform.userDefaultsSuite,
          platform.standardUserDefaults,
          platform.ubiquitousStore,
          platform.contentBlockerManager,
          platform.workspace,
          platform.cloud,
          platform.cloudQueue};
}

}  // namespace orvane::test
