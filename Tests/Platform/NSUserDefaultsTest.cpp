#include <optional>

#include <gtest/gtest.h>

#include "Tests/Support/KeyValueMachine.h"

namespace orvane::test {
namespace {

using Observation = NSUserDefaults::Observation;
using Names = std::vector<std::string>;

class NSUserDefaultsTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::unique_ptr<Observation> observe(const std::string& name,
                                                     std::string_view key = "k") {
    return defaults.addObserver(key, [this, name] { called.push_back(name); });
  }

  /// Another value each time.
  void change(NSUserDefaults& writer, std::string_view key = "k") {
    ASSERT_TRUE(writer.setObject(++value, key));
  }

  Names takeCalled() {
    time.runUntilIdle();
    return std::exchange(called, {});
  }

  VirtualTime time;
  std::shared_ptr<InMemoryKeyValueDatabase::Storage> storage =
      InMemoryKeyValueDatabase::makeStorage();
  KeyValueProcess process{time, storage};
  KeyValueProcess otherProcess{time, storage};
  NSUserDefaults defaults{process.database, process.systemLog};
  NSUserDefaults others{otherProcess.database, otherProcess.systemLog};
  Names called;
  std::int64_t value = 0;
};

TEST_F(NSUserDefaultsTest, anObserverIsCalledOncePerChangeOfAnyProcess) {
  const auto observation = observe("observer");
  change(others);
  EXPECT_EQ(takeCalled(), Names{"observer"});
  change(defaults);
  EXPECT_EQ(takeCalled(), Names{"observer"});
  ASSERT_TRUE(others.removeObject("k"));
  EXPECT_EQ(takeCalled(), Names{"observer"});
}

TEST_F(NSUserDefaultsTest, severalChangesInARowAreAsManyCalls) {
  const auto first = observe("first");
  const auto second = observe("second");
  change(others);
  change(defaults);
  change(others);
  EXPECT_EQ(takeCalled(), (Names{"first", "first", "first", "second", "second", "second"}));
  EXPECT_EQ(takeCalled(), Names());
}

TEST_F(NSUserDefaultsTest, anObserverIsCalledOnTheMainQueueAndNeverInsideTheWriter) {
  const auto observation = observe("observer");
  change(defaults);
  EXPECT_EQ(called, Names());
  process.mainQueue->runAndWait([] {});
  EXPECT_EQ(called, Names{"observer"});
}

TEST_F(NSUserDefaultsTest, whatHappenedBeforeIsNotTold) {
  change(others);
  const auto observation = observe("observer");
  EXPECT_EQ(takeCalled(), Names());
  const auto later = observe("later");
  change(others);
  EXPECT_EQ(takeCalled(), (Names{"observer", "later"}));
}

TEST_F(NSUserDefaultsTest, aChangeThatIsNotYetToldIsNotToldToALaterObserver) {
  const auto earlier = observe("earlier");
  change(others);
  const auto later = observe("later");
  EXPECT_EQ(takeCalled(), Names{"earlier"});
}

TEST_F(NSUserDefaultsTest, otherKeysAndEqualValuesDoNotCount) {
  ASSERT_TRUE(others.setObject("same", "k"));
  const auto observation = observe("observer");
  change(others, "another key");
  ASSERT_TRUE(others.setObject("same", "k"));
  EXPECT_EQ(takeCalled(), Names());
}

TEST_F(NSUserDefaultsTest, anEntryOfADictionaryIsAChangeOfItsKey) {
  const auto observation = observe("observer");
  ASSERT_TRUE(others.setEntry("k", "entry", KeyValueStore::Value("1")));
  ASSERT_TRUE(others.setEntry("k", "entry", std::nullopt));
  EXPECT_EQ(takeCalled(), (Names{"observer", "observer"}));
}

TEST_F(NSUserDefaultsTest, anObservationLastsAsLongAsItsValue) {
  auto observation = observe("observer");
  change(others);
  observation.reset();
  EXPECT_EQ(takeCalled(), Names());
}

TEST_F(NSUserDefaultsTest, anObserverMayEndItsObservationAndIsNotCalledForTheOtherChanges) {
  std::unique_ptr<Observation> observation;
  // The text is long enough to be freed too early, were it freed with the observation.
  observation = defaults.addObserver("k", [&, text = std::string(100, 'x')] {
    observation.reset();
    called.push_back(text);
  });
  change(others);
  change(others);
  EXPECT_EQ(takeCalled(), Names{std::string(100, 'x')});
}

TEST_F(NSUserDefaultsTest, anObserverThatAnEarlierOneEndsIsNotCalled) {
  std::unique_ptr<Observation> later;
  const auto first = defaults.addObserver("k", [&] {
    called.push_back("first");
    later.reset();
  });
  later = observe("later");
  const auto last = observe("last");
  change(others);
  EXPECT_EQ(takeCalled(), (Names{"first", "last"}));
}

TEST_F(NSUserDefaultsTest, anObserverMayAddOneThatHearsOfLaterChangesOnly) {
  std::vector<std::unique_ptr<Observation>> added;
  const auto first = defaults.addObserver("k", [&] { added.push_back(observe("added")); });
  change(others);
  EXPECT_EQ(takeCalled(), Names());
  change(others);
  EXPECT_EQ(takeCalled(), Names{"added"});
}

TEST_F(NSUserDefaultsTest, anObserverMayChangeWhatItObserves) {
  std::unique_ptr<Observation> observation = defaults.addObserver("k", [&] {
    called.push_back("observer");
    if (value < 3) change(defaults);
  });
  change(others);
  EXPECT_EQ(takeCalled(), (Names{"observer", "observer", "observer"}));
}

TEST_F(NSUserDefaultsTest, anObserverMayDestroyTheDefaults) {
  auto shortLived = std::make_unique<NSUserDefaults>(process.database, process.systemLog);
  const auto first = shortLived->addObserver("k", [&] {
    called.push_back("first");
    shortLived.reset();
  });
  change(others);
  EXPECT_EQ(takeCalled(), Names{"first"});
  change(others);
  EXPECT_EQ(takeCalled(), Names());
}

TEST_F(NSUserDefaultsTest, anObservationMayOutliveTheDefaults) {
  auto shortLived = std::make_unique<NSUserDefaults>(process.database, process.systemLog);
  const auto observation = shortLived->addObserver("k", [&] { called.push_back("observer"); });
  change(others);
  shortLived.reset();
  EXPECT_EQ(takeCalled(), Names());
}

TEST_F(NSUserDefaultsTest, anObserverThatCouldNotLookAtFirstIsCalledOnceWhenItCan) {
  change(others);
  process.database.fails = true;
  const auto observation = observe("observer");
  EXPECT_EQ(process.systemLog.take(), Names{process.database.error.localizedDescription});
  change(others);
  EXPECT_EQ(takeCalled(), Names());
  process.database.fails = false;
  change(others);
  EXPECT_EQ(takeCalled(), Names{"observer"});
  change(others);
  EXPECT_EQ(takeCalled(), Names{"observer"});
}

TEST_F(NSUserDefaultsTest, theLogSaysOnceWhyItCannotLookUntilTheReasonChangesOrItCan) {
  const auto first = observe("first");
  const auto second = observe("second", "another key");
  const auto failingLooks = [&](std::string reason) {
    process.database.fails = true;
    process.database.error.localizedDescription = std::move(reason);
    change(others);
    EXPECT_EQ(takeCalled(), Names());
    return process.systemLog.take();
  };
  EXPECT_EQ(failingLooks("fire"), Names{"fire"});
  EXPECT_EQ(failingLooks("fire"), Names());
  EXPECT_EQ(failingLooks("water"), Names{"water"});
  EXPECT_EQ(failingLooks("fire"), Names{"fire"});
  process.database.fails = false;
  change(others);
  EXPECT_EQ(takeCalled().size(), 5U);
  EXPECT_EQ(failingLooks("fire"), Names{"fire"});
}

/// Counts as a test says.
class CountedDatabase final : public KeyValueDatabase {
 public:
  std::uint64_t file = 0;
  std::uint64_t count = 0;
  std::function<void()> listener;

  Expected<std::optional<PropertyListValue>> value(std::string_view /*key*/) override {
    return std::nullopt;
  }
  Expected<std::optional<PropertyListValue>> entry(std::string_view /*key*/,
                                                   std::string_view /*name*/) override {
    return std::nullopt;
  }
  Expected<void> transact(const std::function<void(Transaction&)>& /*body*/) override { return {}; }
  Expected<void> synchronize() override { return {}; }
  Expected<ChangeCount> changeCount(std::string_view /*key*/) override {
    return ChangeCount{.file = file, .count = count};
  }
  Expected<std::uint64_t> foreignVersion() override { return 0; }
  void setListener(std::function<void()> changed) override { listener = std::move(changed); }
};

TEST_F(NSUserDefaultsTest, anObserverIsCalledOnceWhenAnotherFileTakesThePlaceWhateverItsCount) {
  CountedDatabase database;
  NSUserDefaults counted(database, process.systemLog);
  database.count = 7;
  const auto observation = counted.addObserver("k", [&] { called.push_back("observer"); });
  for (const std::uint64_t count : {7, 10, 2, 0, 1}) {
    ++database.file;
    database.count = count;
    database.listener();
    EXPECT_EQ(takeCalled(), Names{"observer"}) << count;
    database.listener();
    EXPECT_EQ(takeCalled(), Names()) << count;
    database.count += 2;
    database.listener();
    EXPECT_EQ(takeCalled(), (Names{"observer", "observer"})) << count;
  }
}

TEST_F(NSUserDefaultsTest, anObserverIsCalledOnceWhenTheSameFileCountsLess) {
  CountedDatabase database;
  NSUserDefaults counted(database, process.systemLog);
  database.count = 7;
  const auto observation = counted.addObserver("k", [&] { called.push_back("observer"); });
  database.count = 2;
  database.listener();
  EXPECT_EQ(takeCalled(), Names{"observer"});
  database.count = 4;
  database.listener();
  EXPECT_EQ(takeCalled(), (Names{"observer", "observer"}));
}

TEST_F(NSUserDefaultsTest, listensFromTheFirstObserverToTheEnd) {
  CountedDatabase database;
  {
    NSUserDefaults counted(database, process.systemLog);
    EXPECT_FALSE(database.listener);
    const auto observation = counted.addObserver("k", [] {});
    EXPECT_TRUE(database.listener);
  }
  EXPECT_FALSE(database.listener);
}

}  // namespace
}  // namespace orvane::test
