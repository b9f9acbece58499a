#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/PersistentStore/PlaceholderBlocker.h"
#include "SafariExtension/Reload/Safari.h"
#include "Tests/SafariExtension/Reload/ReloadCatalogue.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr const char* identifier = "com.tessaly.BlockerMac.BlockerMacExtension";
constexpr const char* guardLine =
    "⛔️ Don't writing to tmp.json because DataManager.Preinstalled is empty";
constexpr const char* disabledLine =
    "Error reloading Safari content blocker: it's disabled in Settings";
constexpr const char* disabledInSettingsLine = "Content blocker extension is disabled in Settings";
constexpr const char* updatingLine = "Updating content blocker extension";
constexpr const char* reloadedLine = "Reloaded Safari";

const SafariReloadingResult disabledResult =
    SafariReloadingResult::error({"orvane", 500, disabledLine});

class Reloading : public ::testing::Test {
 protected:
  Reloading() { makeSafari(); }

  void makeSafari() {
    safari.emplace(machine.platform, store, machine.suite(), catalogue,
                   [this](const ReloadReport& report) { reports.push_back(report); });
  }

  /// Notes the result under the number of the request.
  SafariReloadingHandler noting(int number) {
    return [this, number](const SafariReloadingResult& result) {
      answered.push_back(number);
      results.push_back(result);
    };
  }
  void reload(int number = 1, bool allowsCancelling = true) {
    safari->reload(preferences, allowsCancelling, noting(number));
  }
  void settle() { machine.time.runUntilIdle(); }
  /// Gives the browser's answers, also those to what is asked because of them.
  void answerAll() {
    settle();
    machine.contentBlockerManager.answerAll();
    settle();
  }
  void reloadAndSettle() {
    reload();
    settle();
  }
  void pause(bool isPaused) { ASSERT_TRUE(machine.suite().setObject(isPaused, "paused")); }

  static std::string path() { return std::string(TestPlatform::container) + "/tmp.json"; }
  static std::string emptyList() {
    const Blocker placeholder = placeholderBlocker();
    return *toJSON(std::span(&placeholder, 1));
  }
  bool isListWritten() { return machine.fileSystem.has(path()); }
  std::string list() { return machine.fileSystem.file(path()).contents; }
  std::string wroteLine(int count) {
    return fmt::format("Wrote {} blockers to Safari JSON file in shared container: {}", count,
                       path());
  }
  std::string emptiedLine() {
    return "Removed blockers from Safari JSON file in shared container: " + path();
  }
  std::ptrdiff_t lineCount(const std::string& start) {
    return std::count_if(machine.standardOutput.lines.begin(), machine.standardOutput.lines.end(),
                         [&](const auto& line) { return line.starts_with(start); });
  }
  RecordingContentBlockerManager& browser() { return machine.contentBlockerManager; }
  std::vector<std::string>& lines() { return machine.standardOutput.lines; }

  TestPlatform machine;
  PersistentStore store{machine.platform};
  Published<Catalogue> catalogue{wholeCatalogue()};
  BlockerPreferenceManager preferences{machine.platform, store, machine.suite(), catalogue};
  std::vector<ReloadReport> reports;
  std::vector<int> answered;
  std::vector<SafariReloadingResult> results;
  std::optional<Safari> safari;
};

TEST_F(Reloading, QueueHasItsNameWidthAndQualityOfService) {
  const auto properties = Safari::reloadQueueProperties();
  EXPECT_EQ(properties.name, "Write JSON and reload Safari");
  EXPECT_EQ(properties.maxConcurrentOperationCount, 1);
  EXPECT_EQ(static_cast<int>(properties.qualityOfService), 25);
}

TEST_F(Reloading, SettingsThatCannotBeReadLeaveTheListAsItIs) {
  reloadAndSettle();
  const auto before = list();
  for (auto* database : {&machine.suiteAtRisk, &machine.ubiquitousAtRisk}) {
    database->fails = true;
    catalogue.set(wholeCatalogue("other"));
    reports.clear();
    reloadAndSettle();
    database->fails = false;
    EXPECT_EQ(list(), before);
    EXPECT_THAT(browser().reloads, SizeIs(1));
    ASSERT_THAT(reports, SizeIs(1));
    EXPECT_FALSE(reports.front().isListBuilt);
    EXPECT_EQ(results.back(), SafariReloadingResult::error(database->error));
  }
  EXPECT_THAT(answered, SizeIs(3));
}

TEST_F(Reloading, PauseThatComesAfterTheRequestCounts) {
  reload();
  pause(true);
  settle();
  EXPECT_EQ(list(), emptyList());
}

TEST_F(Reloading, QueueIsMadeAtItsFirstUseAndKept) {
  EXPECT_THAT(machine.queueLabels, IsEmpty());
  reloadAndSettle();
  reloadAndSettle();
  EXPECT_THAT(machine.queueLabels, ElementsAre("Write JSON and reload Safari"));
  EXPECT_THAT(answered, SizeIs(2));
}

TEST_F(Reloading, RequestReturnsAtOnce) {
  reload();
  EXPECT_THAT(lines(), IsEmpty());
  EXPECT_FALSE(isListWritten());
  browser().canBeAsked = false;
  reload();
  EXPECT_THAT(lines(), IsEmpty());
  EXPECT_FALSE(isListWritten());
}

TEST_F(Reloading, AsksForTheStateThenWritesTheListThenHasItLoaded) {
  reload();
  EXPECT_THAT(browser().stateQueries, ElementsAre(identifier));
  EXPECT_THAT(browser().reloads, IsEmpty());
  settle();
  EXPECT_EQ(list(), wholeList());
  EXPECT_THAT(browser().stateQueries, ElementsAre(identifier));
  EXPECT_THAT(browser().reloads, ElementsAre(identifier));
  EXPECT_THAT(lines(), ElementsAre(wroteLine(5), updatingLine, reloadedLine));
  EXPECT_THAT(results, ElementsAre(SafariReloadingResult::success()));
}

TEST_F(Reloading, BrowserWithoutTheStateQueryIsNotAsked) {
  browser().canBeAsked = false;
  browser().state = SFContentBlockerState{.isEnabled = false};
  reloadAndSettle();
  EXPECT_THAT(browser().stateQueries, IsEmpty());
  EXPECT_EQ(list(), wholeList());
  EXPECT_THAT(results, ElementsAre(SafariReloadingResult::success()));
}

TEST_F(Reloading, HandlerMayBeEmpty) {
  safari->reload(preferences, true, nullptr);
  settle();
  EXPECT_THAT(lines(), Contains(reloadedLine));
  browser().reloadError = NSError{"test", 1, "no room"};
  safari->reload(preferences, true, nullptr);
  settle();
  EXPECT_THAT(lines(), Contains("Error reloading Safari JSON: no room"));
  browser().state = SFContentBlockerState{.isEnabled = false};
  safari->reload(preferences, true, nullptr);
  settle();
  EXPECT_THAT(lines(), Contains(disabledLine));
}

TEST_F(Reloading, SwitchedOffPackagesAndRulesAreNotInTheList) {
  preferences.saveDisabledUserPrefenceForPackage(catalogue.get()->preinstalled->front());
  const auto& urls = (*catalogue.get()->configurable)[1];
  preferences.disableRuleSynchronouslyWithoutReload(urls.rules.front(), urls);
  reloadAndSettle();
  EXPECT_EQ(list(), listOf({"url-2", "custom", "whitelisted"}));
}

TEST_F(Reloading, PreferencesCountAsTheyAreWhenTheListIsBuilt) {
  reload();
  preferences.saveDisabledUserPrefenceForPackage(catalogue.get()->preinstalled->front());
  settle();
  EXPECT_EQ(list(), listOf({"url", "url-2", "custom", "whitelisted"}));
}

TEST_F(Reloading, PausedBlockingWritesTheEmptyListAndStillReloads) {
  pause(true);
  reloadAndSettle();
  EXPECT_EQ(list(), emptyList());
  EXPECT_THAT(lines(), ElementsAre(emptiedLine(), updatingLine, reloadedLine));
  EXPECT_THAT(browser().reloads, ElementsAre(identifier));
  EXPECT_THAT(results, ElementsAre(SafariReloadingResult::success()));
}

TEST_F(Reloading, ResumedBlockingWritesTheFullListAgain) {
  pause(true);
  reloadAndSettle();
  pause(false);
  reloadAndSettle();
  EXPECT_EQ(list(), wholeList());
  EXPECT_EQ(catalogue.get()->preinstalled->size(), 1);
}

TEST_F(Reloading, WithEverythingSwitchedOffTheEmptyListIsWritten) {
  for (const auto* package : catalogue.get()->packages()) {
    preferences.saveDisabledUserPrefenceForPackage(*package);
  }
  reloadAndSettle();
  EXPECT_EQ(list(), emptyList());
  EXPECT_THAT(browser().reloads, SizeIs(1));
}

TEST_F(Reloading, WithoutPreinstalledPackagesNothingIsWrittenReloadedOrAnswered) {
  machine.fileSystem.put(path(), "a good list", 1);
  catalogue.set({.configurable = catalogue.get()->configurable, .custom = share({})});
  reloadAndSettle();
  EXPECT_THAT(lines(), ElementsAre(guardLine));
  EXPECT_EQ(list(), "a good list");
  EXPECT_THAT(browser().reloads, IsEmpty());
  EXPECT_THAT(answered, IsEmpty());
  EXPECT_THAT(reports, IsEmpty());
}

TEST_F(Reloading, GuardHoldsAlsoWhenBlockingIsPaused) {
  catalogue.set({});
  pause(true);
  reloadAndSettle();
  EXPECT_THAT(lines(), ElementsAre(guardLine));
  EXPECT_FALSE(isListWritten());
}

TEST_F(Reloading, ReloadAfterTheGuardWorksOnceThePackagesAreThere) {
  catalogue.set({});
  reloadAndSettle();
  catalogue.set(wholeCatalogue());
  reloadAndSettle();
  EXPECT_EQ(list(), wholeList());
  EXPECT_THAT(answered, SizeIs(1));
}

TEST_F(Reloading, FailureToWriteIsToldByTheStoreAndTheReloadStillFollows) {
  machine.fileSystem.failAt(InMemoryFileSystem::Operation::replace, path());
  reloadAndSettle();
  EXPECT_THAT(
      lines(),
      ElementsAre("Could not write 5 blockers to Safari JSON file in shared container: " + path(),
                  updatingLine, reloadedLine));
  EXPECT_THAT(machine.systemLog.lines, Contains("ordered failure"));
  EXPECT_THAT(browser().reloads, SizeIs(1));
  EXPECT_THAT(results, ElementsAre(SafariReloadingResult::success()));
}

TEST_F(Reloading, BrowsersErrorIsPrintedAndHandedOn) {
  const NSError error{"WebKit", 7, "Invalid list."};
  browser().reloadError = error;
  reloadAndSettle();
  EXPECT_THAT(lines(), ElementsAre(wroteLine(5), updatingLine,
                                   "Error reloading Safari JSON: Invalid list."));
  EXPECT_THAT(results, ElementsAre(SafariReloadingResult::error(error)));
}

TEST_F(Reloading, LineOfTheAnswerIsPrintedBeforeTheObserverAndTheHandlerAreCalled) {
  std::vector<std::string> order;
  const auto note = [&](const char* what) {
    order.push_back(lines().back());
    order.emplace_back(what);
  };
  safari.emplace(machine.platform, store, machine.suite(), catalogue,
                 [&](const ReloadReport&) { note("observer"); });
  safari->reload(preferences, true, [&](const SafariReloadingResult&) { note("handler"); });
  settle();
  EXPECT_THAT(order, ElementsAre(reloadedLine, "observer", reloadedLine, "handler"));
}

TEST_F(Reloading, OperationIsFinishedBeforeTheBrowserAnswers) {
  browser().canBeAsked = false;
  browser().holdsAnswersBack = true;
  reload(1);
  settle();
  EXPECT_THAT(browser().reloads, SizeIs(1));
  reload(2);
  settle();
  EXPECT_THAT(browser().reloads, SizeIs(2));
  EXPECT_THAT(answered, IsEmpty());
  answerAll();
  EXPECT_THAT(answered, ElementsAre(1, 2)) << "the first was past the point of cancelling";
}

// Disabled in the browser

class ReloadingWhenDisabled : public Reloading {
 protected:
  ReloadingWhenDisabled() { browser().state = SFContentBlockerState{.isEnabled = false}; }
};

TEST_F(ReloadingWhenDisabled, IsPrintedPostedAndAnsweredWithAnError) {
  std::vector<NSNotification> posted;
  const auto observation = machine.notificationCenter.addObserver(
      "BlockerExtensionDisabled", [&](const auto& notification) {
        posted.push_back(notification);
        EXPECT_THAT(lines(), ElementsAre(disabledLine, disabledInSettingsLine));
        EXPECT_THAT(answered, IsEmpty());
      });
  reloadAndSettle();
  ASSERT_THAT(posted, SizeIs(1));
  EXPECT_EQ(posted.front().object, "Safari");
  EXPECT_THAT(lines(), ElementsAre(disabledLine, disabledInSettingsLine));
  EXPECT_THAT(results, ElementsAre(disabledResult));
}

TEST_F(ReloadingWhenDisabled, NothingIsQueued) {
  reloadAndSettle();
  EXPECT_THAT(machine.queueLabels, IsEmpty());
  EXPECT_FALSE(isListWritten());
  EXPECT_THAT(browser().reloads, IsEmpty());
  EXPECT_THAT(reports, IsEmpty());
}

TEST_F(ReloadingWhenDisabled, HandlerIsCalledByATaskOfItsOwnOnTheMainQueue) {
  reload();
  ASSERT_TRUE(machine.time.runOne());
  EXPECT_THAT(lines(), SizeIs(2));
  EXPECT_THAT(answered, IsEmpty());
  ASSERT_TRUE(machine.time.runOne());
  EXPECT_THAT(answered, ElementsAre(1));
}

TEST_F(ReloadingWhenDisabled, QueuedReloadIsNotCancelled) {
  browser().state = SFContentBlockerState{.isEnabled = true};
  reload(1);
  ASSERT_TRUE(machine.time.runOne());
  browser().state = SFContentBlockerState{.isEnabled = false};
  reload(2);
  settle();
  EXPECT_THAT(answered, ::testing::UnorderedElementsAre(1, 2));
  EXPECT_EQ(list(), wholeList());
}

TEST_F(ReloadingWhenDisabled, ObserverMayAskForAReloadAgain) {
  int count = 0;
  const auto observation =
      machine.notificationCenter.addObserver(Safari::disabledNotification, [&](const auto&) {
        if (++count > 1) return;
        browser().state = SFContentBlockerState{.isEnabled = true};
        reload(2);
      });
  reload(1);
  settle();
  EXPECT_THAT(answered, ElementsAre(1, 2));
  EXPECT_EQ(list(), wholeList());
}

TEST_F(ReloadingWhenDisabled, ObserverMayEndSafari) {
  const auto observation = machine.notificationCenter.addObserver(
      Safari::disabledNotification, [&](const auto&) { safari.reset(); });
  reload(1);
  reload(2);
  settle();
  EXPECT_THAT(answered, IsEmpty());
}

// No state

TEST_F(Reloading, StateThatDoesNotComeEndsSilentlyButForALine) {
  browser().state = std::nullopt;
  browser().stateError = NSError{"SF", 2, "No such extension."};
  reloadAndSettle();
  EXPECT_THAT(lines(), ElementsAre("Can't check blocker state No such extension."));
  EXPECT_THAT(answered, IsEmpty());
  EXPECT_THAT(machine.queueLabels, IsEmpty());
  EXPECT_FALSE(isListWritten());
}

TEST_F(Reloading, NextRequestAfterAStateThatDidNotComeAsksAgain) {
  browser().state = std::nullopt;
  browser().stateError = NSError{"SF", 2, "No such extension."};
  reload(1);
  settle();
  browser().state = SFContentBlockerState{};
  reload(2);
  settle();
  EXPECT_THAT(answered, ElementsAre(2));
}

// Several requests

TEST_F(Reloading, OfTwoRequestsInQuickSuccessionOnlyTheSecondWritesAndReloads) {
  browser().canBeAsked = false;
  reload(1);
  catalogue.set(wholeCatalogue("newer"));
  reload(2);
  settle();
  EXPECT_THAT(lines(), ElementsAre(wroteLine(5), updatingLine, reloadedLine));
  EXPECT_EQ(list(), wholeList("newer"));
  EXPECT_THAT(answered, ElementsAre(2));
}

TEST_F(Reloading, RequestThatWaitsIsDroppedWhetherOrNotItAllowsCancelling) {
  browser().canBeAsked = false;
  reload(1, /*allowsCancelling=*/false);
  reload(2, /*allowsCancelling=*/false);
  settle();
  EXPECT_EQ(lineCount("Wrote"), 1);
  EXPECT_THAT(answered, ElementsAre(2));
}

TEST_F(Reloading, RequestsDuringAStateQueryWaitForOneFurtherQuery) {
  browser().holdsAnswersBack = true;
  for (int number = 1; number <= 5; ++number) reload(number);
  settle();
  EXPECT_THAT(browser().stateQueries, SizeIs(1));
  browser().answerAll();
  browser().holdsAnswersBack = false;
  settle();
  EXPECT_THAT(browser().stateQueries, SizeIs(2));
  EXPECT_EQ(answered.back(), 5);
  EXPECT_THAT(answered, Not(Contains(::testing::AnyOf(2, 3, 4))));
}

TEST_F(Reloading, AnswerThatWasAskedForEarlierDoesNotCountForALaterRequest) {
  browser().holdsAnswersBack = true;
  reload(1);
  reload(2);
  reload(3);
  browser().answerAll();
  ASSERT_TRUE(machine.time.runOne());
  browser().state = SFContentBlockerState{.isEnabled = false};
  answerAll();
  // The first is answered last, since it is the one for which the list is loaded.
  EXPECT_THAT(answered, ElementsAre(2, 3, 1));
  EXPECT_THAT(results,
              ElementsAre(disabledResult, disabledResult, SafariReloadingResult::success()));
}

TEST_F(Reloading, EachRequestOfABurstIsToldThatTheContentBlockerIsDisabled) {
  browser().state = SFContentBlockerState{.isEnabled = false};
  int posted = 0;
  const auto observation = machine.notificationCenter.addObserver(Safari::disabledNotification,
                                                                  [&](const auto&) { ++posted; });
  for (int number = 1; number <= 4; ++number) reload(number);
  settle();
  EXPECT_EQ(lineCount(disabledLine), 4);
  EXPECT_EQ(lineCount(disabledInSettingsLine), 4);
  EXPECT_EQ(posted, 4);
  EXPECT_THAT(answered, ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(results, Each(disabledResult));
  EXPECT_THAT(browser().stateQueries, SizeIs(2));
}

TEST_F(Reloading, EachRequestOfABurstPrintsThatTheStateDidNotCome) {
  browser().state = std::nullopt;
  browser().stateError = NSError{"SF", 2, "No such extension."};
  for (int number = 1; number <= 4; ++number) reload(number);
  settle();
  EXPECT_EQ(lineCount("Can't check blocker state No such extension."), 4);
  EXPECT_THAT(answered, IsEmpty());
}

TEST_F(Reloading, BurstOfAThousandEndsInTwoWritesAtTheMostAndTheLatestState) {
  for (int number = 1; number <= 1000; ++number) {
    catalogue.set(wholeCatalogue(fmt::format("state-{}", number)));
    reload(number);
  }
  settle();
  EXPECT_LE(lineCount("Wrote"), 2);
  EXPECT_LE(browser().stateQueries.size(), 2);
  EXPECT_EQ(list(), wholeList("state-1000"));
  EXPECT_EQ(answered.back(), 1000);
}

// Reports

TEST_F(Reloading, ReportTellsWhatWasWrittenAndTheAnswer) {
  reloadAndSettle();
  EXPECT_THAT(reports, ElementsAre(ReloadReport{.isPaused = false,
                                                .blockerCount = 5,
                                                .isWritten = true,
                                                .result = SafariReloadingResult::success()}));
}

TEST_F(Reloading, ReportOfAPausedReloadCountsNoBlockers) {
  pause(true);
  reloadAndSettle();
  EXPECT_THAT(reports, ElementsAre(ReloadReport{.isPaused = true,
                                                .blockerCount = 0,
                                                .isWritten = true,
                                                .result = SafariReloadingResult::success()}));
}

TEST_F(Reloading, ReportTellsWhatFailed) {
  const NSError error{"WebKit", 7, "Invalid list."};
  browser().reloadError = error;
  machine.fileSystem.failAt(InMemoryFileSystem::Operation::replace, path());
  reloadAndSettle();
  EXPECT_THAT(reports, ElementsAre(ReloadReport{.isPaused = false,
                                                .blockerCount = 5,
                                                .isWritten = false,
                                                .result = SafariReloadingResult::error(error)}));
}

TEST_F(Reloading, ObserverMayBeEmpty) {
  safari.emplace(machine.platform, store, machine.suite(), catalogue, nullptr);
  reloadAndSettle();
  EXPECT_THAT(answered, ElementsAre(1));
}

// The end

TEST_F(Reloading, StateThatComesAfterTheEndHasNoEffect) {
  reload();
  safari.reset();
  settle();
  EXPECT_THAT(lines(), IsEmpty());
  EXPECT_FALSE(isListWritten());
  EXPECT_THAT(answered, IsEmpty());
}

TEST_F(Reloading, QueuedReloadNeverBeginsAfterTheEnd) {
  browser().canBeAsked = false;
  reload();
  safari.reset();
  settle();
  EXPECT_FALSE(isListWritten());
  EXPECT_THAT(browser().reloads, IsEmpty());
}

TEST_F(Reloading, AnswerThatComesAfterTheEndHasNoEffect) {
  browser().canBeAsked = false;
  browser().holdsAnswersBack = true;
  reload();
  settle();
  ASSERT_THAT(browser().reloads, SizeIs(1));
  safari.reset();
  answerAll();
  EXPECT_THAT(lines(), ElementsAre(wroteLine(5), updatingLine));
  EXPECT_THAT(answered, IsEmpty());
  EXPECT_THAT(reports, IsEmpty());
}

TEST_F(ReloadingWhenDisabled, ErrorThatIsDueAfterTheEndIsNotHandedOn) {
  reload();
  ASSERT_TRUE(machine.time.runOne());
  ASSERT_THAT(lines(), SizeIs(2));
  safari.reset();
  settle();
  EXPECT_THAT(answered, IsEmpty());
}

}  // namespace
}  // namespace orvane::test
