#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/JSON/RecordWriter.h"
#include "Process/Process.h"
#include "Tests/Support/TestPlatform.h"
#include "Tests/Support/ThreadedPlatform.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr const char* guardLine =
    "⛔️ Don't writing to tmp.json because DataManager.Preinstalled is empty";

const std::string listPath = std::string(TestPlatform::container) + "/tmp.json";
const std::string bundledPackages =
    std::string(TestPlatform::bundle) + "/PreinstalledPackages.json";

Rule blockingRule(const std::string& urlFilter) {
  return {"id of " + urlFilter, "", {{.urlFilter = urlFilter}, *Action::make(ActionType::Block)}};
}

std::string packagesBlocking(const std::string& urlFilter) {
  const Package package{"block-ads", "Ads", {blockingRule(urlFilter)}};
  return *toJSON(std::span(&package, 1));
}

class OneProcess : public ::testing::Test {
 protected:
  /// As a process that builds the list does it.
  void loadEverything() {
    machine.fileSystem.put(bundledPackages, packagesBlocking("ads"), 1);
    bool isLoaded = false;
    process.dataManager().refresh([&](DataManager::RefreshResult) { isLoaded = true; });
    machine.time.runUntilIdle();
    ASSERT_TRUE(isLoaded);
    ASSERT_THAT(process.dataManager().preinstalledPackages(), SizeIs(1));
    machine.standardOutput.take();
  }
  bool addRule(const std::string& urlFilter) {
    return process.dataManager().addRule(blockingRule(urlFilter), "block-url");
  }

  TestPlatform machine;
  std::vector<ReloadReport> reports;
  Process process{machine.platform, {.reloadObserver = [this](const ReloadReport& report) {
                    reports.push_back(report);
                  }}};
};

TEST_F(OneProcess, MakesNothingBeforeItsFirstUse) {
  EXPECT_THAT(machine.openedSuites, IsEmpty());
  EXPECT_THAT(machine.queueLabels, IsEmpty());
  EXPECT_THAT(machine.standardOutput.lines, IsEmpty());
}

TEST_F(OneProcess, MakesEachPartOnce) {
  EXPECT_EQ(&process.store(), &process.store());
  EXPECT_EQ(&process.defaults(), &process.defaults());
  EXPECT_EQ(&process.writeQueue(), &process.writeQueue());
  EXPECT_EQ(&process.dataManager(), &process.dataManager());
  EXPECT_EQ(&process.perSiteRules(), &process.perSiteRules());
  EXPECT_EQ(&process.safari(), &process.safari());
  EXPECT_EQ(&process.communication(), &process.communication());
  EXPECT_THAT(machine.openedSuites, ElementsAre("Q4XR7T2M9V.com.tessaly.Blocker"));
  EXPECT_THAT(machine.queueLabels, ElementsAre("com.tessaly.Blocker.writeQueue"));
}

TEST_F(OneProcess, PartsMayBeAskedForInAnyOrder) {
  TestPlatform other;
  Process reversed(other.platform);
  reversed.safari().reload(reversed.dataManager().preferenceManager(), true, nullptr);
  EXPECT_EQ(reversed.perSiteRules().whitelistPackage()->id, "whitelist");
  other.time.runUntilIdle();
  EXPECT_THAT(other.standardOutput.lines, Contains(guardLine));
}

TEST_F(OneProcess, SharesTheDefaultsOfTheApplicationGroup) {
  EXPECT_EQ(&process.defaults(), &machine.suite());
  process.communication().send(Communication::Message::reloadTab);
  EXPECT_EQ(machine.suite().object("reloadTab"), PropertyListValue("UUID-1"));
}

TEST_F(OneProcess, WithoutTheGroupsDefaultsUsesItsOwn) {
  machine.canOpenSuite = false;
  EXPECT_EQ(&process.defaults(), &machine.standardUserDefaults);
}

TEST_F(OneProcess, ChangeWithoutPreinstalledPackagesEndsAtTheGuard) {
  EXPECT_TRUE(addRule("mine"));
  machine.time.runUntilIdle();
  EXPECT_EQ(machine.standardOutput.lines.back(), guardLine);
  EXPECT_FALSE(machine.fileSystem.has(listPath));
  EXPECT_THAT(machine.contentBlockerManager.reloads, IsEmpty());
  EXPECT_THAT(reports, IsEmpty());
}

TEST_F(OneProcess, ChangeWithTheWholeCatalogueReachesTheBrowser) {
  loadEverything();
  EXPECT_TRUE(addRule("mine"));
  machine.time.runUntilIdle();
  const std::vector<Blocker> expected{blockingRule("ads").blocker, blockingRule("mine").blocker};
  EXPECT_EQ(machine.fileSystem.file(listPath).contents, *toJSON(std::span(expected)));
  EXPECT_THAT(machine.contentBlockerManager.reloads,
              ElementsAre("com.tessaly.BlockerMac.BlockerMacExtension"));
  EXPECT_EQ(machine.standardOutput.lines.back(), "Reloaded Safari");
  EXPECT_THAT(reports, ElementsAre(ReloadReport{.isPaused = false,
                                                .blockerCount = 2,
                                                .isWritten = true,
                                                .result = SafariReloadingResult::success()}));
}

TEST_F(OneProcess, PausingReachesTheReload) {
  loadEverything();
  ASSERT_TRUE(process.defaults().setObject(true, Communication::pausedKey));
  EXPECT_TRUE(addRule("mine"));
  machine.time.runUntilIdle();
  ASSERT_THAT(reports, SizeIs(1));
  EXPECT_TRUE(reports.front().isPaused);
  EXPECT_THAT(machine.fileSystem.file(listPath).contents, Not(HasSubstr("mine")));
}

TEST_F(OneProcess, SaveHandsTheResultToItsCompletion) {
  loadEverything();
  std::vector<SafariReloadingResult> results;
  EXPECT_TRUE(process.dataManager().save(PackageCollectionType::custom,
                                         [&](const auto& result) { results.push_back(result); }));
  machine.time.runUntilIdle();
  EXPECT_THAT(results, ElementsAre(SafariReloadingResult::success()));
}

TEST_F(OneProcess, BurstOfChangesIsWrittenTwiceAtTheMost) {
  loadEverything();
  for (int i = 0; i < 20; ++i) EXPECT_TRUE(addRule("mine-" + std::to_string(i)));
  machine.time.runUntilIdle();
  EXPECT_LE(reports.size(), 2);
  EXPECT_THAT(machine.fileSystem.file(listPath).contents, HasSubstr("mine-19"));
}

TEST(TwoProcesses, RuleOfTheExtensionReachesTheBrowserThroughTheApplication) {
  const auto machine = std::make_shared<TestMachine>();
  TestPlatform applicationPlatform(machine);
  TestPlatform extensionPlatform(machine);
  machine->fileSystem.put(bundledPackages, packagesBlocking("ads"), 1);
  Process extension(extensionPlatform.platform);
  Process application(applicationPlatform.platform);

  const auto rebuilding = application.defaults().addObserver("reloadRulesFromDisk", [&] {
    application.dataManager().refresh([&](DataManager::RefreshResult) {
      application.safari().reload(
          application.dataManager().preferenceManager(), true,
          [&](const SafariReloadingResult& result) {
            EXPECT_TRUE(result.isSuccess());
            application.communication().send(Communication::Message::reloadTab);
          });
    });
  });
  int tabReloads = 0;
  const auto tab = extension.defaults().addObserver("reloadTab", [&] { ++tabReloads; });

  EXPECT_TRUE(extension.dataManager().addRule(blockingRule("mine"), "block-url"));
  extension.communication().send(Communication::Message::reloadRulesFromDisk);
  machine->time.runUntilIdle();

  EXPECT_THAT(extensionPlatform.standardOutput.lines, Contains(guardLine));
  EXPECT_THAT(extensionPlatform.contentBlockerManager.reloads, IsEmpty());
  EXPECT_THAT(applicationPlatform.contentBlockerManager.reloads, SizeIs(1));
  const std::vector<Blocker> expected{blockingRule("ads").blocker, blockingRule("mine").blocker};
  EXPECT_EQ(machine->fileSystem.file(listPath).contents, *toJSON(std::span(expected)));
  EXPECT_EQ(tabReloads, 1);
}

/// A thread that a test lets go on when somebody waits for it. To end it while it is stopped is an
/// error, since what it works with may have ended before.
class QueueThatIsWaitedFor final : public Executor {
 public:
  QueueThatIsWaitedFor(const std::string& label, StoppingFileSystem& files)
      : files_(files), thread_(std::make_unique<ThreadExecutor>(label)) {}
  QueueThatIsWaitedFor(const QueueThatIsWaitedFor&) = delete;
  QueueThatIsWaitedFor& operator=(const QueueThatIsWaitedFor&) = delete;
  ~QueueThatIsWaitedFor() override {
    EXPECT_FALSE(files_.goOn());
    thread_.reset();
  }

  void post(Task task) override { thread_->post(std::move(task)); }
  void postAfter(Duration delay, Task task) override { thread_->postAfter(delay, std::move(task)); }
  void runAndWait(Task task) override {
    files_.goOn();
    thread_->runAndWait(std::move(task));
  }
  Time now() const override { return thread_->now(); }

 private:
  StoppingFileSystem& files_;
  std::unique_ptr<ThreadExecutor> thread_;
};

TEST(ProcessOnThreads, EndWaitsForARefreshThatIsUnderWay) {
  ThreadedPlatform machine;
  machine.files.put(bundledPackages, packagesBlocking("ads"));
  machine.makeSerialQueue = [&](const std::string& label) {
    return std::make_unique<QueueThatIsWaitedFor>(label, machine.files);
  };
  std::optional<Process> process;
  machine.onMain([&] {
    process.emplace(machine.platform);
    machine.files.stopAt(StoppingFileSystem::Operation::read, bundledPackages);
    process->dataManager().refresh([](DataManager::RefreshResult) { ADD_FAILURE(); });
  });
  machine.files.waitUntilStopped();
  machine.onMain([&] { process.reset(); });
  // Behind what the ended queue has posted.
  machine.onMain([] {});
  const auto refreshed = std::string(TestPlatform::container) + "/PreinstalledPackages.json";
  EXPECT_TRUE(machine.files.has(refreshed)) << "the refresh came to its end";
}

TEST(ProcessOnThreads, EndsAmidAReload) {
  ThreadedPlatform machine;
  std::optional<Process> process;
  machine.files.stopAt(StoppingFileSystem::Operation::replace, listPath);
  machine.onMain([&] {
    process.emplace(machine.platform,
                    Process::Options{.reloadObserver = [](const ReloadReport&) { ADD_FAILURE(); }});
    process->dataManager().setPreinstalledPackages({{"block-ads", "", {blockingRule("ads")}}});
    EXPECT_TRUE(process->dataManager().addRule(blockingRule("mine"), "block-url"));
  });
  machine.files.waitUntilStopped();
  machine.mainQueue.post([&] { process.reset(); });
  machine.files.goOn();
  machine.onMain([] {});
  // Behind the browser's answer.
  machine.onMain([] {});
  EXPECT_EQ(machine.files.replacements(listPath), 1);
}

}  // namespace
}  // namespace orvane::test
