#include <gtest/gtest.h>

#include "Tests/Support/KeyValueMachine.h"

namespace orvane::test {
namespace {

using Dictionary = PropertyListValue::Dictionary;
using Value = KeyValueStore::Value;

std::optional<NSError> errorOf(const Expected<void>& result) {
  return result ? std::nullopt : std::optional(result.error());
}

class KeyValueStoreTest : public ::testing::Test {
 protected:
  std::vector<std::string> linesOnce() { return {process.database.error.localizedDescription}; }

  VirtualTime time;
  KeyValueProcess process{time, InMemoryKeyValueDatabase::makeStorage()};
  NSUserDefaults store{process.database, process.systemLog};
};

TEST_F(KeyValueStoreTest, whatIsSetIsThere) {
  EXPECT_EQ(store.object("k"), std::nullopt);
  EXPECT_TRUE(store.setObject("value", "k"));
  EXPECT_EQ(store.object("k"), Value("value"));
  EXPECT_TRUE(store.removeObject("k"));
  EXPECT_EQ(store.object("k"), std::nullopt);
  EXPECT_EQ(process.systemLog.take(), std::vector<std::string>());
}

TEST_F(KeyValueStoreTest, aFlagIsFalseUnlessItIsSetToTrue) {
  EXPECT_FALSE(store.boolForKey("k"));
  ASSERT_TRUE(store.setObject(true, "k"));
  EXPECT_TRUE(store.boolForKey("k"));
  ASSERT_TRUE(store.setObject(false, "k"));
  EXPECT_FALSE(store.boolForKey("k"));
  ASSERT_TRUE(store.setObject(std::int64_t{1}, "k"));
  EXPECT_FALSE(store.boolForKey("k"));
}

TEST_F(KeyValueStoreTest, anEditGetsTheValueThatIsThereAndSaysWhatItBecomes) {
  const auto append = [](const Value& value) -> Value {
    const auto* text = value ? value->as<std::string>() : nullptr;
    return (text == nullptr ? "" : *text) + "x";
  };
  EXPECT_TRUE(store.change("k", append));
  EXPECT_TRUE(store.change("k", append));
  EXPECT_EQ(store.object("k"), Value("xx"));
  EXPECT_TRUE(store.change("k", [](const Value&) { return std::nullopt; }));
  EXPECT_EQ(store.object("k"), std::nullopt);
}

TEST_F(KeyValueStoreTest, anEntryIsSetEditedAndRemovedApartFromTheOthers) {
  ASSERT_TRUE(store.setObject(Dictionary{{"a", "1"}, {"b", "2"}}, "k"));
  EXPECT_TRUE(store.setEntry("k", "c", Value("3")));
  EXPECT_TRUE(store.setEntry("k", "a", std::nullopt));
  EXPECT_TRUE(store.changeEntry(
      "k", "b", [](const Value& value) -> Value { return *value->as<std::string>() + "!"; }));
  EXPECT_EQ(store.object("k"), Value(Dictionary{{"b", "2!"}, {"c", "3"}}));
  EXPECT_EQ(store.entry("k", "b"), Value("2!"));
  EXPECT_EQ(store.entry("k", "a"), std::nullopt);
}

TEST_F(KeyValueStoreTest, severalKeysAreReadAndChangedAtOnce) {
  ASSERT_TRUE(store.setObject("old", "k"));
  const auto before = process.connection.changeCount("d")->count;
  EXPECT_TRUE(store.transact([](KeyValueDatabase::Transaction& transaction) {
    EXPECT_EQ(transaction.value("k"), Value("old"));
    transaction.setValue("k", "new");
    transaction.setEntry("d", "a", "1");
    transaction.setEntry("d", "b", "2");
    transaction.setEntry("d", "a", std::nullopt);
  }));
  EXPECT_EQ(store.object("k"), Value("new"));
  EXPECT_EQ(store.object("d"), Value(Dictionary{{"b", "2"}}));
  EXPECT_EQ(process.connection.changeCount("d")->count, before + 1);
}

TEST_F(KeyValueStoreTest, whatCannotBeReadIsAbsentAndTheSystemLogSaysWhy) {
  ASSERT_TRUE(store.setObject(true, "k"));
  ASSERT_TRUE(store.setEntry("d", "e", Value("1")));
  process.database.fails = true;
  EXPECT_EQ(store.object("k"), std::nullopt);
  EXPECT_EQ(process.systemLog.take(), linesOnce());
  EXPECT_FALSE(store.boolForKey("k"));
  EXPECT_EQ(process.systemLog.take(), linesOnce());
  EXPECT_EQ(store.entry("d", "e"), std::nullopt);
  EXPECT_EQ(process.systemLog.take(), linesOnce());
  process.database.fails = false;
  EXPECT_TRUE(store.boolForKey("k"));
}

TEST_F(KeyValueStoreTest, whatCannotBeWrittenLeavesTheStoreAsItWasAndSaysWhy) {
  ASSERT_TRUE(store.setObject("old", "k"));
  process.database.fails = true;
  const auto edit = [](const Value&) { return Value("new"); };
  const auto& error = process.database.error;
  EXPECT_EQ(errorOf(store.setObject("new", "k")), error);
  EXPECT_EQ(process.systemLog.take(), linesOnce());
  EXPECT_EQ(errorOf(store.removeObject("k")), error);
  EXPECT_EQ(process.systemLog.take(), linesOnce());
  EXPECT_EQ(errorOf(store.change("k", edit)), error);
  EXPECT_EQ(process.systemLog.take(), linesOnce());
  EXPECT_EQ(errorOf(store.setEntry("k", "e", Value("new"))), error);
  EXPECT_EQ(process.systemLog.take(), linesOnce());
  EXPECT_EQ(errorOf(store.changeEntry("k", "e", edit)), error);
  EXPECT_EQ(process.systemLog.take(), linesOnce());
  EXPECT_EQ(errorOf(store.transact([](KeyValueDatabase::Transaction& transaction) {
              transaction.setValue("k", "new");
            })),
            error);
  EXPECT_EQ(process.systemLog.take(), linesOnce());
  process.database.fails = false;
  EXPECT_EQ(store.object("k"), Value("old"));
}

TEST_F(KeyValueStoreTest, synchronizingTellsWhetherItWorked) {
  EXPECT_TRUE(store.synchronize());
  process.database.fails = true;
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(process.systemLog.take(), linesOnce());
}

}  // namespace
}  // namespace orvane::test
