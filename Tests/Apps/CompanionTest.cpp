#include <chrono>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Apps/Companion/Companion.h"
#include "Apps/Companion/SyncStatus.h"
#include "BlockerKit/JSON/RecordWriter.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;
using Message = Communication::Message;
using Operation = InMemoryFileSystem::Operation;

Rule blocking(const std::string& id, const std::string& urlFilter) {
  return {id, "", {{.urlFilter = urlFilter}, *Action::make(ActionType::Block)}};
}

/// The program whose page waits: another process of the same machine.
struct Extension {
  explicit Extension(const std::shared_ptr<TestMachine>& machine) : platform(machine) {
    observation = process.defaults().addObserver("reloadTab", [this] { ++answers; });
  }

  void send(Message message) { process.communication().send(message); }
  void addRule(const Rule& rule) { EXPECT_TRUE(process.dataManager().addRule(rule, "block-url")); }
  void setPaused(bool paused) {
    ASSERT_TRUE(process.defaults().setObject(paused, Communication::pausedKey));
  }

  TestPlatform platform;
  Process process{platform.platform};
  std::unique_ptr<NSUserDefaults::Observation> observation;
  int answers = 0;
};

/// Takes its time.
class SlowExecutor final : public Executor {
 public:
  SlowExecutor(std::unique_ptr<Executor> inner, Duration delay)
      : inner_(std::move(inner)), delay_(delay) {}

  void post(Task task) override { inner_->postAfter(delay_, std::move(task)); }
  void postAfter(Duration delay, Task task) override {
    inner_->postAfter(delay_ + delay, std::move(task));
  }
  void runAndWait(Task task) override { inner_->runAndWait(std::move(task)); }
  Time now() const override { return inner_->now(); }

 private:
  std::unique_ptr<Executor> inner_;
  Duration delay_;
};

/// Another process comes in between when a value is asked for, and of a change it tells late.
class InterruptedDatabase final : public KeyValueDatabase {
 public:
  static constexpr auto delay = std::chrono::milliseconds(10);

  InterruptedDatabase(KeyValueDatabase& inner, Executor& mainQueue, std::string key,
                      std::function<void()> interruption)
      : inner_(inner),
        mainQueue_(mainQueue),
        key_(std::move(key)),
        interruption_(std::move(interruption)) {}

  Expected<std::optional<PropertyListValue>> value(std::string_view key) override {
    auto interruption = key == key_ ? std::exchange(interruption_, nullptr) : nullptr;
    if (interruption) interruption();
    return inner_.value(key);
  }
  Expected<std::optional<PropertyListValue>> entry(std::string_view key,
                                                   std::string_view name) override {
    return inner_.entry(key, name);
  }
  Expected<void> transact(const std::function<void(Transaction&)>& body) override {
    return inner_.transact(body);
  }
  Expected<void> synchronize() override { return inner_.synchronize(); }
  Expected<ChangeCount> changeCount(std::string_view key) override {
    return inner_.changeCount(key);
  }
  Expected<std::uint64_t> foreignVersion() override { return inner_.foreignVersion(); }
  void setListener(std::function<void()> changed) override {
    if (!changed) return inner_.setListener(nullptr);
    inner_.setListener(
        [this, changed = std::move(changed)] { mainQueue_.postAfter(delay, changed); });
  }

 private:
  KeyValueDatabase& inner_;
  Executor& mainQueue_;
  std::string key_;
  std::function<void()> interruption_;
};

class CompanionAtWork : public ::testing::Test {
 protected:
  CompanionAtWork() {
    const Package ads{"block-ads", "Ads", {blocking("ads-1", "ads")}};
    platform.fileSystem.put(bundled, *toJSON(std::span(&ads, 1)), 100);
  }

  void start() {
    companion.start();
    settle();
  }
  void settle() { time().runUntilIdle(); }
  VirtualTime& time() { return platform.time; }

  std::string list() {
    return platform.fileSystem.has(listPath) ? platform.fileSystem.file(listPath).contents : "";
  }
  std::size_t reloads() const { return platform.contentBlockerManager.reloads.size(); }
  std::string statusText(const std::string& name) {
    const auto entry = platform.suite().entry(Companion::statusKey, name);
    const auto* text = entry ? entry->as<std::string>() : nullptr;
    return text == nullptr ? "absent" : *text;
  }
  int writes() const {
    int count = 0;
    for (const auto& line : platform.standardOutput.lines) {
      if (line.find("Safari JSON file") != std::string::npos) ++count;
    }
    return count;
  }

  const std::string bundled = std::string(TestPlatform::bundle) + "/PreinstalledPackages.json";
  const std::string listPath = std::string(TestPlatform::container) + "/tmp.json";
  TestPlatform platform;
  Extension extension{platform.machine};
  Companion companion{platform.platform};
};

TEST_F(CompanionAtWork, buildsTheListWhenItStarts) {
  start();
  EXPECT_THAT(list(), HasSubstr(R"("url-filter":"ads")"));
  EXPECT_EQ(reloads(), 1U);
}

TEST_F(CompanionAtWork, answersNobodyWhenItStartsUnasked) {
  start();
  EXPECT_EQ(extension.answers, 0);
}

TEST_F(CompanionAtWork, rebuildsAndAnswersASignal) {
  start();
  extension.addRule(blocking("mine", "banner"));
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_THAT(list(), HasSubstr(R"("url-filter":"banner")"));
  EXPECT_EQ(extension.answers, 1);
}

TEST_F(CompanionAtWork, answersASignalThatWasSentBeforeItStarted) {
  extension.addRule(blocking("mine", "banner"));
  extension.send(Message::reloadRulesFromDisk);
  settle();
  start();
  EXPECT_THAT(list(), HasSubstr("banner"));
  EXPECT_EQ(extension.answers, 1);
}

TEST_F(CompanionAtWork, answersASignalOfAnEarlierRunOnce) {
  start();
  extension.send(Message::reloadRulesFromDisk);
  settle();
  TestPlatform again(platform.machine);
  Companion next(again.platform);
  next.start();
  settle();
  EXPECT_EQ(extension.answers, 1);
}

TEST_F(CompanionAtWork, losesNoSignalThatIsSentWhileItStarts) {
  companion.start();
  while (list().empty()) ASSERT_TRUE(time().runOne());
  extension.addRule(blocking("mine", "banner"));
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_THAT(list(), HasSubstr("banner"));
  EXPECT_EQ(extension.answers, 1);
}

TEST_F(CompanionAtWork, answersASignalOnceThatComesWhileItLooksWhetherOneHasCome) {
  TestPlatform own(platform.machine);
  InterruptedDatabase database(own.suiteDatabase, *own.mainQueue, Companion::answeredKey, [&] {
    extension.addRule(blocking("mine", "banner"));
    extension.send(Message::reloadRulesFromDisk);
  });
  NSUserDefaults defaults(database, own.systemLog);
  own.userDefaultsSuite = [&](std::string_view) { return &defaults; };
  Companion starting(own.platform);
  starting.start();
  settle();
  EXPECT_THAT(list(), HasSubstr("banner"));
  EXPECT_EQ(extension.answers, 1);
  time().advance(2 * InterruptedDatabase::delay);
  EXPECT_EQ(extension.answers, 1);
}

TEST_F(CompanionAtWork, answersOnlyOnceTheBrowserHasTheList) {
  start();
  platform.contentBlockerManager.holdsAnswersBack = true;
  extension.send(Message::reloadRulesFromDisk);
  settle();
  platform.contentBlockerManager.answerAll();  // whether the content blocker is enabled
  settle();
  EXPECT_EQ(reloads(), 2U);
  EXPECT_EQ(extension.answers, 0);
  platform.contentBlockerManager.answerAll();
  settle();
  EXPECT_EQ(extension.answers, 1);
}

TEST_F(CompanionAtWork, answersASignalOnlyWhenTheBrowserTakesAListAfterAll) {
  start();
  platform.contentBlockerManager.reloadError = NSError{"test", 1, "no such selector"};
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_EQ(extension.answers, 0);
  platform.contentBlockerManager.reloadError.reset();
  companion.packageFilesChanged();
  settle();
  EXPECT_EQ(extension.answers, 1);
}

TEST_F(CompanionAtWork, namesTheRuleThatTheBrowserRefuses) {
  start();
  extension.addRule(blocking("mine", "(ban"));
  platform.contentBlockerManager.reloadError = NSError{"test", 1, "cannot be parsed"};
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_THAT(statusText("error"), HasSubstr("cannot be parsed"));
  EXPECT_THAT(statusText("error"), HasSubstr("package block-url, rule mine"));
  EXPECT_THAT(statusText("error"), HasSubstr("trigger.url-filter"));
}

TEST_F(CompanionAtWork, doesNotBlameRulesThatAreSwitchedOff) {
  start();
  auto& preferences = extension.process.dataManager().preferenceManager();
  ASSERT_TRUE(preferences.saveDisabledUserPrefenceForPackage({"off", "", {}}));
  const Package off{"off", "", {blocking("in-package", "(ban")}};
  platform.fileSystem.put(std::string(TestPlatform::container) + "/CustomPackages.json",
                          *toJSON(std::span(&off, 1)), 100);
  for (int number = 0; number < 11; ++number) {
    const auto rule = blocking(std::to_string(number), "(ban");
    extension.addRule(rule);
    ASSERT_TRUE(preferences.disableRuleSynchronouslyWithoutReload(rule, {"block-url", "", {}}));
  }
  extension.addRule(blocking("mine", "(ban"));
  platform.contentBlockerManager.reloadError = NSError{"test", 1, "cannot be parsed"};
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_THAT(statusText("error"),
              MatchesRegex("The browser did not take the list: cannot be parsed\n"
                           "package block-url, rule mine [^\n]+\n"
                           "The last good list, if there was one, stays in force\\."));
}

TEST_F(CompanionAtWork, blamesNoRuleForAListWithoutRules) {
  start();
  extension.addRule(blocking("mine", "(ban"));
  extension.send(Message::reloadRulesFromDisk);
  settle();
  platform.contentBlockerManager.reloadError = NSError{"test", 1, "there is no room"};
  extension.setPaused(true);
  settle();
  EXPECT_EQ(statusText("error"),
            "The browser did not take the list: there is no room\n"
            "The last good list, if there was one, stays in force.");
}

TEST_F(CompanionAtWork, sayThatTheListCannotBeWritten) {
  start();
  platform.fileSystem.failAt(Operation::replace, listPath);
  const auto before = list();
  extension.addRule(blocking("mine", "banner"));
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_EQ(statusText("error"), "The blocker list cannot be written.");
  EXPECT_EQ(list(), before);
}

TEST_F(CompanionAtWork, doesNotAnswerWithAListThatCouldNotBeWritten) {
  start();
  platform.fileSystem.failAt(Operation::replace, listPath);
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_EQ(extension.answers, 0);
  platform.fileSystem.stopFailing();
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_EQ(extension.answers, 1);
  EXPECT_EQ(statusText("error"), "");
}

TEST_F(CompanionAtWork, writesTheListAfterAllOnceTheDiskHasRoom) {
  start();
  platform.fileSystem.failAt(Operation::replace, listPath);
  extension.addRule(blocking("mine", "banner"));
  extension.send(Message::reloadRulesFromDisk);
  settle();
  time().advance(Companion::firstDelay);
  settle();
  EXPECT_THAT(list(), Not(HasSubstr("banner")));
  platform.fileSystem.stopFailing();
  time().advance(Companion::firstDelay);
  settle();
  EXPECT_THAT(list(), Not(HasSubstr("banner"))) << "it waits longer each time";
  time().advance(Companion::firstDelay);
  settle();
  EXPECT_THAT(list(), HasSubstr("banner"));
  EXPECT_EQ(extension.answers, 1);
  EXPECT_EQ(statusText("error"), "");
}

TEST_F(CompanionAtWork, doesNotAnswerWithAListThatLacksAFileWhichCannotBeOpened) {
  start();
  extension.addRule(blocking("mine", "banner"));
  const auto file = std::string(TestPlatform::container) + "/ConfigurablePackages.json";
  platform.fileSystem.failAt(Operation::read, file);
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_EQ(extension.answers, 0);
  EXPECT_THAT(statusText("error"), HasSubstr("cannot be opened"));
  platform.fileSystem.stopFailing();
  time().advance(Companion::firstDelay);
  settle();
  EXPECT_THAT(list(), HasSubstr("banner"));
  EXPECT_EQ(extension.answers, 1);
  EXPECT_EQ(statusText("error"), "");
}

TEST_F(CompanionAtWork, saysThatTheBrowserDoesNotTellItsState) {
  start();
  platform.contentBlockerManager.state.reset();
  platform.contentBlockerManager.stateError = NSError{"test", 1, "no settings"};
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_THAT(statusText("error"), HasSubstr("does not say"));
  platform.contentBlockerManager.state = SFContentBlockerState{};
  companion.browserSettingsChanged();
  settle();
  EXPECT_EQ(extension.answers, 1);
  EXPECT_EQ(statusText("error"), "");
}

TEST_F(CompanionAtWork, answersAPauseAndAResumption) {
  start();
  extension.setPaused(true);
  settle();
  EXPECT_THAT(list(), Not(HasSubstr(R"("url-filter":"ads")")));
  EXPECT_EQ(extension.answers, 1);
  extension.setPaused(false);
  settle();
  EXPECT_THAT(list(), HasSubstr(R"("url-filter":"ads")"));
  EXPECT_EQ(extension.answers, 2);
}

TEST_F(CompanionAtWork, answersAPauseThatCameBeforeItStarted) {
  extension.setPaused(true);
  start();
  EXPECT_EQ(extension.answers, 1);
}

TEST_F(CompanionAtWork, rebuildsWithoutAnAnswerWhenAnotherProcessChangesThePreferences) {
  start();
  auto& preferences = extension.process.dataManager().preferenceManager();
  EXPECT_TRUE(preferences.saveDisabledUserPrefenceForPackage({"block-ads", "", {}}));
  settle();
  EXPECT_THAT(list(), Not(HasSubstr(R"("url-filter":"ads")")));
  EXPECT_EQ(extension.answers, 0);
}

TEST_F(CompanionAtWork, answersASignalOnlyWithAListThatHasWhatItAnnounced) {
  constexpr auto timeToRead = std::chrono::milliseconds(10);
  platform.makeSerialQueue = [&](const std::string& label) -> std::unique_ptr<Executor> {
    if (label != DataManager::writeQueueLabel) return time().makeExecutor();
    return std::make_unique<SlowExecutor>(time().makeExecutor(), timeToRead);
  };
  companion.start();
  time().advance(2 * timeToRead);
  bool isInList = false;
  const auto observation = extension.process.defaults().addObserver(
      "reloadTab", [&] { isInList = list().find("banner") != std::string::npos; });
  extension.addRule(blocking("mine", "banner"));
  extension.send(Message::reloadRulesFromDisk);
  settle();
  ASSERT_EQ(extension.answers, 0) << "the packages are being read";
  auto& preferences = extension.process.dataManager().preferenceManager();
  EXPECT_TRUE(preferences.saveDisabledUserPrefenceForPackage({"block-ads", "", {}}));
  time().advance(2 * timeToRead);
  EXPECT_TRUE(isInList);
  EXPECT_EQ(extension.answers, 1);
}

TEST_F(CompanionAtWork, rebuildsWhenPreferencesThatAreKeptLocallyChange) {
  ASSERT_TRUE(platform.suite().setObject(true, "StorePreferencesLocally"));
  start();
  auto& preferences = extension.process.dataManager().preferenceManager();
  EXPECT_TRUE(preferences.disableRuleSynchronouslyWithoutReload(blocking("ads-1", "ads"),
                                                                {"block-ads", "", {}}));
  settle();
  EXPECT_THAT(list(), Not(HasSubstr(R"("url-filter":"ads")")));
  EXPECT_EQ(extension.answers, 0);
}

TEST_F(CompanionAtWork, rebuildsWithoutAnAnswerWhenAPackageFileChanges) {
  start();
  extension.addRule(blocking("mine", "banner"));
  companion.packageFilesChanged();
  settle();
  EXPECT_THAT(list(), HasSubstr("banner"));
  EXPECT_EQ(extension.answers, 0);
}

TEST_F(CompanionAtWork, leavesTheListAloneWhenNoPackageFileHasChanged) {
  start();
  companion.packageFilesChanged();
  settle();
  EXPECT_EQ(reloads(), 1U);
}

TEST_F(CompanionAtWork, endsABurstOfSignalsInFewWritesAndTheLatestState) {
  start();
  const int before = writes();
  for (int i = 0; i < 1000; ++i) {
    if (i == 999) extension.addRule(blocking("mine", "banner"));
    extension.send(Message::reloadRulesFromDisk);
  }
  settle();
  EXPECT_LE(writes() - before, 2);
  EXPECT_THAT(list(), HasSubstr("banner"));
  EXPECT_GE(extension.answers, 1);
  EXPECT_LE(extension.answers, 2);
}

TEST_F(CompanionAtWork, writesOneMoreListForAllThatComesWhileTheBrowserCompiles) {
  start();
  platform.contentBlockerManager.holdsAnswersBack = true;
  extension.send(Message::reloadRulesFromDisk);
  settle();
  platform.contentBlockerManager.answerAll();  // whether the content blocker is enabled
  settle();
  const int before = writes();
  for (int i = 0; i < 10; ++i) {
    extension.send(Message::reloadRulesFromDisk);
    extension.setPaused(i % 2 == 0);
    settle();
  }
  EXPECT_EQ(writes(), before);
  platform.contentBlockerManager.holdsAnswersBack = false;
  platform.contentBlockerManager.answerAll();
  settle();
  EXPECT_EQ(writes(), before + 1);
  EXPECT_EQ(extension.answers, 2);
}

TEST_F(CompanionAtWork, goesOnAfterReloadsThatNobodyAnswers) {
  start();
  platform.contentBlockerManager.state.reset();
  platform.contentBlockerManager.stateError = NSError{"test", 1, "no settings"};
  extension.send(Message::reloadRulesFromDisk);
  settle();
  platform.contentBlockerManager.state = SFContentBlockerState{};
  platform.contentBlockerManager.stateError.reset();
  EXPECT_EQ(extension.answers, 0);
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_EQ(extension.answers, 1);
}

TEST_F(CompanionAtWork, answersASignalThatComesDuringARebuildWithTheNextOne) {
  start();
  platform.contentBlockerManager.holdsAnswersBack = true;
  extension.send(Message::reloadRulesFromDisk);
  settle();
  platform.contentBlockerManager.answerAll();
  settle();
  extension.addRule(blocking("mine", "banner"));
  extension.send(Message::reloadRulesFromDisk);
  platform.contentBlockerManager.holdsAnswersBack = false;
  platform.contentBlockerManager.answerAll();
  settle();
  EXPECT_THAT(list(), HasSubstr("banner"));
  EXPECT_EQ(extension.answers, 2);
}

TEST_F(CompanionAtWork, tellsThatTheContentBlockerIsSwitchedOff) {
  std::vector<std::string> messages;
  const auto observation = platform.notificationCenter.addObserver(
      "DisplayInformation", [&](const NSNotification& notification) {
        messages.push_back(std::get<std::string>(notification.userInfo.at("message")));
      });
  platform.contentBlockerManager.state->isEnabled = false;
  extension.send(Message::reloadRulesFromDisk);
  start();
  const std::string message = "The content blocker is switched off in the browser's settings.";
  EXPECT_EQ(statusText("error"), message);
  EXPECT_THAT(messages, Contains(message));
  EXPECT_EQ(extension.answers, 0);
}

TEST_F(CompanionAtWork, rebuildsWhenTheContentBlockerIsSwitchedOnAgain) {
  platform.contentBlockerManager.state->isEnabled = false;
  start();
  EXPECT_EQ(reloads(), 0U);
  companion.browserSettingsChanged();
  settle();
  EXPECT_EQ(reloads(), 0U) << "it is still off";
  platform.contentBlockerManager.state->isEnabled = true;
  companion.browserSettingsChanged();
  settle();
  EXPECT_EQ(reloads(), 1U);
  EXPECT_EQ(statusText("error"), "");
  companion.browserSettingsChanged();
  settle();
  EXPECT_EQ(reloads(), 1U) << "another setting was changed";
}

TEST_F(CompanionAtWork, tellsThatThePreinstalledPackagesAreMissingAndKeepsTheList) {
  start();
  const auto before = list();
  platform.fileSystem.files.erase(bundled);
  platform.fileSystem.files.erase(std::string(TestPlatform::container) +
                                  "/PreinstalledPackages.json");
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_THAT(statusText("error"), HasSubstr("pre-installed packages cannot be found"));
  EXPECT_EQ(list(), before);
  EXPECT_EQ(extension.answers, 0);
}

TEST_F(CompanionAtWork, saysHowManyRulesTheListHas) {
  start();
  const auto rules = platform.suite().entry(Companion::statusKey, "rules");
  ASSERT_TRUE(rules);
  EXPECT_EQ(*rules, PropertyListValue(std::int64_t(1)));
  const auto attempt = statusText("attempt");
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_NE(statusText("attempt"), attempt);
}

/// A user with a cloud, and the companion that talks to it.
class CompanionThatSyncs : public CompanionAtWork {
 protected:
  /// The names of what is in the cloud.
  std::vector<std::string> inCloud() {
    const auto changes = platform.cloud->fetchChanges({SyncManager::zoneName}, std::nullopt,
                                                      std::numeric_limits<std::size_t>::max(), {});
    std::vector<std::string> names;
    if (!changes) return names;
    for (const auto& record : changes->changed) names.push_back(record.recordID().recordName);
    return names;
  }
  CKError failure(CKErrorCode code, double retryAfter) {
    CKError error;
    error.code = code;
    error.retryAfter = retryAfter;
    error.localizedDescription = "The server is away.";
    return error;
  }
};

TEST_F(CompanionThatSyncs, sendsWhatTheUserOwnsAndNoPreinstalledPackage) {
  extension.addRule(blocking("mine", "banner"));
  start();
  EXPECT_THAT(inCloud(), Contains("mine"));
  EXPECT_THAT(inCloud(), Contains("block-url"));
  EXPECT_THAT(inCloud(), Not(Contains("block-ads")));
  EXPECT_THAT(inCloud(), Not(Contains("ads-1")));
}

TEST_F(CompanionThatSyncs, sendsWhatAnotherProcessHasChangedWhenThatTellsOfIt) {
  start();
  extension.addRule(blocking("mine", "banner"));
  settle();
  EXPECT_THAT(inCloud(), Not(Contains("mine")));
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_THAT(inCloud(), Contains("mine"));
}

TEST_F(CompanionThatSyncs, waitsUntilItHasReadAllPackages) {
  extension.addRule(blocking("mine", "banner"));
  const auto file = std::string(TestPlatform::container) + "/ConfigurablePackages.json";
  platform.fileSystem.failAt(Operation::read, file);
  start();
  EXPECT_THAT(inCloud(), IsEmpty());
  platform.fileSystem.stopFailing();
  time().advance(std::chrono::minutes(1));
  EXPECT_THAT(inCloud(), Contains("mine"));
}

TEST_F(CompanionThatSyncs, waitsWhileAnotherProcessSavesPackages) {
  extension.addRule(blocking("mine", "banner"));
  auto lock = extension.process.store().lockPackageFiles();
  ASSERT_TRUE(lock);
  start();
  EXPECT_THAT(inCloud(), IsEmpty());
  lock->reset();
  time().advance(std::chrono::minutes(1));
  EXPECT_THAT(inCloud(), Contains("mine"));
}

TEST_F(CompanionThatSyncs, saysWhatHasFailedAndWhenItIsTriedAgain) {
  start();
  platform.machine->cloud->failWith(CloudRequest::modifyRecords,
                                    failure(CKErrorCode::networkFailure, 30));
  extension.addRule(blocking("mine", "banner"));
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_EQ(syncStatus(platform.suite()).lastError, "The server is away.");
  EXPECT_NE(syncStatus(platform.suite()).nextRetry, std::nullopt);
  time().advance(std::chrono::seconds(30));
  EXPECT_THAT(inCloud(), Contains("mine"));
  EXPECT_EQ(syncStatus(platform.suite()).lastError, "");
  EXPECT_EQ(syncStatus(platform.suite()).nextRetry, std::nullopt);
}

/// After how many tasks of the companion another process comes in between.
class EditDuringTheFirstSync : public CompanionThatSyncs,
                               public ::testing::WithParamInterface<int> {
 protected:
  void startUpToThere() {
    companion.start();
    for (int task = 0; task < GetParam(); ++task) {
      if (!time().runOne()) return;
    }
  }
};

TEST_P(EditDuringTheFirstSync, isNotLostWhenItMakesARule) {
  extension.addRule(blocking("early", "early"));
  startUpToThere();
  extension.addRule(blocking("late", "late"));
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_THAT(inCloud(), Contains("early"));
  EXPECT_THAT(inCloud(), Contains("late"));
}

TEST_P(EditDuringTheFirstSync, isNotLostWhenItDeletesARule) {
  const auto rule = blocking("early", "early");
  extension.addRule(rule);
  startUpToThere();
  EXPECT_TRUE(extension.process.dataManager().replaceRule(rule, std::nullopt,
                                                          ConfigurablePackageType::BlockURL));
  extension.send(Message::reloadRulesFromDisk);
  settle();
  EXPECT_THAT(inCloud(), Contains("block-url"));
  EXPECT_THAT(inCloud(), Not(Contains("early")));
}

INSTANTIATE_TEST_SUITE_P(Tasks, EditDuringTheFirstSync, ::testing::Range(0, 8));

}  // namespace
}  // namespace orvane::test
