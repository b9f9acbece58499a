#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SafariExtension/Reload/BlockerReloadOperation.h"
#include "SafariExtension/Reload/Safari.h"
#include "Tests/SafariExtension/Reload/ReloadCatalogue.h"
#include "Tests/Support/TestPlatform.h"
#include "Tests/Support/ThreadedPlatform.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

static_assert(!std::is_default_constructible_v<BlockerReloadOperation>,
              "an operation has all its properties");

const std::string container = TestPlatform::container;
const std::string listPath = container + "/tmp.json";

/// An operation that a test runs itself.
class OperationInHand final : public BlockerReloadOperation {
 public:
  using BlockerReloadOperation::BlockerReloadOperation;
  using BlockerReloadOperation::main;
};

class OneOperation : public ::testing::Test {
 protected:
  std::shared_ptr<OperationInHand> make(bool allowsCancelling) {
    return std::make_shared<OperationInHand>(
        environment, preferences, [this](const auto&) { ++answers; }, allowsCancelling);
  }

  TestPlatform machine;
  PersistentStore store{machine.platform};
  Published<Catalogue> catalogue{wholeCatalogue()};
  BlockerPreferenceManager preferences{machine.platform, store, machine.suite(), catalogue};
  std::shared_ptr<const ReloadEnvironment> environment = std::make_shared<const ReloadEnvironment>(
      ReloadEnvironment{machine.platform, store, machine.suite(), catalogue, nullptr});
  int answers = 0;
};

TEST_F(OneOperation, CancelledBeforeItsFirstStepDoesNothing) {
  const auto operation = make(/*allowsCancelling=*/true);
  operation->cancel();
  operation->main();
  machine.time.runUntilIdle();
  EXPECT_THAT(machine.standardOutput.lines, IsEmpty());
  EXPECT_FALSE(machine.fileSystem.has(listPath));
  EXPECT_EQ(answers, 0);
}

TEST_F(OneOperation, CancelledBeforeItsFirstStepDoesNotEvenComeToTheGuard) {
  catalogue.set({});
  const auto operation = make(/*allowsCancelling=*/true);
  operation->cancel();
  operation->main();
  EXPECT_THAT(machine.standardOutput.lines, IsEmpty());
}

TEST_F(OneOperation, ThatDoesNotAllowCancellingRunsToItsEndThoughCancelled) {
  const auto operation = make(/*allowsCancelling=*/false);
  operation->cancel();
  operation->main();
  machine.time.runUntilIdle();
  EXPECT_EQ(machine.fileSystem.file(listPath).contents, wholeList());
  EXPECT_THAT(machine.contentBlockerManager.reloads, SizeIs(1));
  EXPECT_EQ(answers, 1);
}

TEST_F(OneOperation, ThatAllowsCancellingRunsToItsEndWhenNobodyCancelsIt) {
  make(/*allowsCancelling=*/true)->main();
  machine.time.runUntilIdle();
  EXPECT_EQ(machine.fileSystem.file(listPath).contents, wholeList());
  EXPECT_EQ(answers, 1);
}

/// Reloads on threads; `Safari` lives on the main queue's.
class ReloadingOnThreads : public ::testing::Test {
 protected:
  ReloadingOnThreads() {
    machine.files.put(container + "/ConfigurablePackages.json",
                      *toJSON(std::span(*wholeCatalogue().configurable)));
    machine.onMain([&] {
      safari.emplace(machine.platform, store, machine.suite, catalogue,
                     [this](const ReloadReport& report) { reports.push_back(report); });
    });
  }
  ~ReloadingOnThreads() override {
    machine.onMain([&] { safari.reset(); });
  }

  /// With the main queue: the handler notes the number.
  void reload(int number, bool allowsCancelling) {
    safari->reload(preferences, allowsCancelling, [this, number](const auto&) {
      answered.push_back(number);
      if (number == last) lastAnswered.set_value();
    });
  }
  void reloadOnMain(int number, bool allowsCancelling) {
    machine.onMain([&] { reload(number, allowsCancelling); });
  }
  void waitForTheLast() { lastAnswered.get_future().wait(); }
  /// Read once the main queue has done what was posted until now.
  std::vector<int> answeredNumbers() {
    std::vector<int> copy;
    machine.onMain([&] { copy = answered; });
    return copy;
  }
  int lineCount(const std::string& line) {
    const auto lines = machine.standardOutput.lines();
    return static_cast<int>(std::count(lines.begin(), lines.end(), line));
  }
  int writes() { return machine.files.replacements(listPath); }

  ThreadedPlatform machine;
  PersistentStore store{machine.platform};
  Published<Catalogue> catalogue{wholeCatalogue()};
  BlockerPreferenceManager preferences{machine.platform, store, machine.suite, catalogue};
  int last = 2;
  // On the main queue:
  std::optional<Safari> safari;
  std::vector<int> answered;
  std::vector<ReloadReport> reports;
  std::promise<void> lastAnswered;
};

/// A first operation stops at a file; then a second reload is asked for, and the first goes on.
class ReloadingAmidAnother : public ReloadingOnThreads {
 protected:
  ReloadingAmidAnother() {
    machine.contentBlockerManager.canBeAsked = false;
    // The lists that are not loaded are read from their files while the blockers are computed.
    catalogue.set(
        {.preinstalled = wholeCatalogue().preinstalled, .custom = wholeCatalogue().custom});
  }

  void reloadTwice(StoppingFileSystem::Operation operation, const std::string& path,
                   bool allowsCancelling) {
    machine.files.stopAt(operation, path);
    reloadOnMain(1, allowsCancelling);
    machine.files.waitUntilStopped();
    reloadOnMain(2, allowsCancelling);
    machine.files.goOn();
    waitForTheLast();
  }

  static constexpr auto whileItComputes = StoppingFileSystem::Operation::read;
  static constexpr auto whileItWrites = StoppingFileSystem::Operation::replace;
  const std::string configurablePath = container + "/ConfigurablePackages.json";
};

TEST_F(ReloadingAmidAnother, OperationThatComputesStopsBeforeItWrites) {
  reloadTwice(whileItComputes, configurablePath, /*allowsCancelling=*/true);
  EXPECT_EQ(writes(), 1);
  EXPECT_EQ(machine.contentBlockerManager.reloads, 1);
  EXPECT_THAT(answeredNumbers(), ElementsAre(2));
  EXPECT_EQ(machine.files.contents(listPath), wholeList());
}

TEST_F(ReloadingAmidAnother, OperationThatWritesStopsBeforeItReloads) {
  reloadTwice(whileItWrites, listPath, /*allowsCancelling=*/true);
  EXPECT_EQ(writes(), 2);
  EXPECT_EQ(machine.contentBlockerManager.reloads, 1);
  EXPECT_EQ(lineCount("Updating content blocker extension"), 1);
  EXPECT_THAT(answeredNumbers(), ElementsAre(2));
  EXPECT_THAT(reports, SizeIs(1)) << "the browser was not asked for the first";
}

TEST_F(ReloadingAmidAnother, WithoutCancellingTheFirstRunsToItsEndAndTheSecondAfterIt) {
  reloadTwice(whileItComputes, configurablePath, /*allowsCancelling=*/false);
  EXPECT_EQ(writes(), 2);
  EXPECT_EQ(machine.contentBlockerManager.reloads, 2);
  EXPECT_THAT(answeredNumbers(), ElementsAre(1, 2));
}

TEST_F(ReloadingAmidAnother, WithoutCancellingAnOperationThatWritesStillReloads) {
  reloadTwice(whileItWrites, listPath, /*allowsCancelling=*/false);
  EXPECT_EQ(writes(), 2);
  EXPECT_EQ(machine.contentBlockerManager.reloads, 2);
  EXPECT_THAT(answeredNumbers(), ElementsAre(1, 2));
}

TEST_F(ReloadingAmidAnother, OneIsInProgressAndOneWaitsAtTheMost) {
  machine.files.stopAt(whileItWrites, listPath);
  last = 100;
  reloadOnMain(1, /*allowsCancelling=*/false);
  machine.files.waitUntilStopped();
  for (int number = 2; number <= last; ++number) reloadOnMain(number, /*allowsCancelling=*/false);
  machine.files.goOn();
  waitForTheLast();
  EXPECT_EQ(writes(), 2);
  EXPECT_THAT(answeredNumbers(), ElementsAre(1, 100));
}

TEST_F(ReloadingAmidAnother, EndWaitsForAListThatIsBeingWritten) {
  machine.files.stopAt(whileItWrites, listPath);
  reloadOnMain(1, /*allowsCancelling=*/false);
  machine.files.waitUntilStopped();
  int writtenAtTheEnd = 0;
  machine.mainQueue.post([&] {
    safari.reset();
    writtenAtTheEnd = writes();
  });
  machine.files.goOn();
  EXPECT_THAT(answeredNumbers(), IsEmpty()) << "the answer comes after the end";
  EXPECT_EQ(writtenAtTheEnd, 1);
  EXPECT_EQ(machine.contentBlockerManager.reloads, 1);
}

TEST_F(ReloadingAmidAnother, HandlerThatIsNeverCalledIsDestroyedOnTheMainQueue) {
  std::thread::id mainThread;
  std::promise<std::thread::id> destroyedOn;
  machine.files.stopAt(whileItWrites, listPath);
  machine.onMain([&] {
    mainThread = std::this_thread::get_id();
    const std::shared_ptr<void> held(&destroyedOn, [](void* promise) {
      static_cast<std::promise<std::thread::id>*>(promise)->set_value(std::this_thread::get_id());
    });
    safari->reload(preferences, true, [held](const auto&) {});
  });
  machine.files.waitUntilStopped();
  reloadOnMain(2, /*allowsCancelling=*/true);
  machine.files.goOn();
  EXPECT_EQ(destroyedOn.get_future().get(), mainThread);
  waitForTheLast();
}

class BurstOfReloads : public ReloadingOnThreads {
 protected:
  BurstOfReloads() { last = 1000; }

  void changeAndReload(int number, bool allowsCancelling) {
    catalogue.set(wholeCatalogue("state-" + std::to_string(number)));
    reload(number, allowsCancelling);
  }
};

TEST_F(BurstOfReloads, EndsInTwoWritesAtTheMostAndTheLatestState) {
  machine.onMain([&] {
    for (int number = 1; number <= last; ++number) {
      changeAndReload(number, /*allowsCancelling=*/true);
    }
  });
  waitForTheLast();
  EXPECT_LE(writes(), 2);
  EXPECT_LE(machine.contentBlockerManager.reloads, 2);
  EXPECT_EQ(machine.contentBlockerManager.stateQueries, 2);
  EXPECT_EQ(machine.files.contents(listPath), wholeList("state-1000"));
  EXPECT_EQ(answeredNumbers().back(), 1000);
}

TEST_F(BurstOfReloads, EndsInTwoWritesAtTheMostAlsoWhenNoneAllowsCancelling) {
  machine.onMain([&] {
    for (int number = 1; number <= last; ++number) {
      changeAndReload(number, /*allowsCancelling=*/false);
    }
  });
  waitForTheLast();
  EXPECT_LE(writes(), 2);
  EXPECT_EQ(machine.files.contents(listPath), wholeList("state-1000"));
}

TEST_F(BurstOfReloads, WhoseRequestsComeAmidTheOperationsEndsInTheLatestState) {
  for (int number = 1; number <= last; ++number) {
    machine.mainQueue.post([this, number] { changeAndReload(number, number % 2 == 0); });
  }
  waitForTheLast();
  EXPECT_EQ(machine.files.contents(listPath), wholeList("state-1000"));
  EXPECT_EQ(answeredNumbers().back(), 1000);
  EXPECT_GE(machine.contentBlockerManager.reloads, 1);
  EXPECT_LE(machine.contentBlockerManager.reloads, writes());
}

TEST_F(BurstOfReloads, MayEndWithTheProcessAtAnyMoment) {
  machine.onMain([&] {
    for (int number = 1; number <= last; ++number) {
      changeAndReload(number, /*allowsCancelling=*/true);
    }
  });
  machine.onMain([&] { safari.reset(); });
  const auto reloads = machine.contentBlockerManager.reloads.load();
  const auto atTheEnd = answeredNumbers();
  machine.onMain([] {});
  EXPECT_EQ(machine.contentBlockerManager.reloads, reloads);
  EXPECT_EQ(answeredNumbers(), atTheEnd);
}

}  // namespace
}  // namespace orvane::test
