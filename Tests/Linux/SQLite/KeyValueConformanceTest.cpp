#include <algorithm>
#include <memory>
#include <ostream>

#include <gtest/gtest.h>

#include "Linux/SQLite/SQLiteKeyValueDatabase.h"
#include "Platform/Foundation/InMemoryKeyValueDatabase.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Tests/Linux/SQLite/PropertyListGenerators.h"
#include "Tests/Support/MainLoop.h"
#include "Tests/Support/RecordingOutput.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using Array = PropertyListValue::Array;
using Data = PropertyListValue::Data;
using Dictionary = PropertyListValue::Dictionary;
using Transaction = KeyValueDatabase::Transaction;
using Value = std::optional<PropertyListValue>;

enum class DatabaseKind : std::uint8_t { InMemory, SQLite };

void PrintTo(DatabaseKind kind, std::ostream* os) {
  *os << (kind == DatabaseKind::InMemory ? "InMemory" : "SQLite");
}

/// Keys and values of their own, and connections to them.
class Shared {
 public:
  explicit Shared(MainLoop& loop) : loop_(loop) {}

  std::unique_ptr<KeyValueDatabase> connect(DatabaseKind kind) {
    if (kind == DatabaseKind::InMemory) {
      return std::make_unique<InMemoryKeyValueDatabase>(storage_, loop_.queue);
    }
    return std::make_unique<SQLiteKeyValueDatabase>(folder_ / "d.sqlite", loop_.queue);
  }

 private:
  MainLoop& loop_;
  TemporaryDirectory folder_;
  std::shared_ptr<InMemoryKeyValueDatabase::Storage> storage_ =
      InMemoryKeyValueDatabase::makeStorage();
};

/// What every database of keys and values promises.
class KeyValueConformance : public ::testing::TestWithParam<DatabaseKind> {
 protected:
  static void set(KeyValueDatabase& database, std::string_view key, const Value& value) {
    const auto result =
        database.transact([&](Transaction& transaction) { transaction.setValue(key, value); });
    ASSERT_TRUE(result) << result.error().localizedDescription;
  }

  static void setEntry(KeyValueDatabase& database, std::string_view key, std::string_view name,
                       const Value& value) {
    const auto result = database.transact(
        [&](Transaction& transaction) { transaction.setEntry(key, name, value); });
    ASSERT_TRUE(result) << result.error().localizedDescription;
  }

  /// Whether `action` changes the key, and by one.
  template <typename Action>
  bool counts(std::string_view key, Action action) {
    const auto before = database->changeCount(key)->count;
    action();
    const auto after = database->changeCount(key)->count;
    EXPECT_LE(after, before + 1);
    return after != before;
  }

  MainLoop loop;
  Shared shared{loop};
  std::unique_ptr<KeyValueDatabase> database = shared.connect(GetParam());
  std::unique_ptr<KeyValueDatabase> other = shared.connect(GetParam());
};

TEST_P(KeyValueConformance, namesTheKeysThatHaveAValue) {
  set(*database, "scalar", "text");
  set(*database, "removed", "text");
  set(*database, "removed", std::nullopt);
  setEntry(*database, "dictionary", "name", "text");
  std::vector<std::string> keys;
  ASSERT_TRUE(database->transact([&](Transaction& transaction) { keys = transaction.keys(); }));
  std::sort(keys.begin(), keys.end());
  EXPECT_EQ(keys, (std::vector<std::string>{"dictionary", "scalar"}));
}

TEST_P(KeyValueConformance, everyTypeComesBackAsItWas) {
  const std::vector<PropertyListValue> values{
      true,
      false,
      std::int64_t{0},
      INT64_MIN,
      INT64_MAX,
      "",
      "text ⛔️ 'quoted'",
      std::string(1 << 20, 'x'),
      Data{},
      Data{std::byte{0}, std::byte{0xFF}},
      Array{},
      Array{"a", true, std::int64_t{1}, Array{}, Dictionary{}, Data{}},
      Dictionary{},
      Dictionary{{"", ""}, {"b", Dictionary{{"c", Array{"d"}}}}}};
  for (const auto& value : values) {
    set(*database, "k", value);
    EXPECT_EQ(*database->value("k"), Value(value)) << value.variant.index();
    EXPECT_EQ(*other->value("k"), Value(value)) << value.variant.index();
    setEntry(*database, "entries", "e", value);
    EXPECT_EQ(*other->entry("entries", "e"), Value(value)) << value.variant.index();
  }
}

TEST_P(KeyValueConformance, anyValueComesBackAsItWas) {
  EXPECT_TRUE(rc::check([this] {
    const auto key = *storableTexts();
    const auto value = *propertyLists(2);
    set(*database, key, value);
    RC_ASSERT(*database->value(key) == Value(value));
    setEntry(*database, "entries", key, value);
    RC_ASSERT(*database->entry("entries", key) == Value(value));
  }));
}

TEST_P(KeyValueConformance, whatWasNeverSetIsAbsentAndHasNotChanged) {
  EXPECT_EQ(*database->value("k"), std::nullopt);
  EXPECT_EQ(*database->entry("k", "e"), std::nullopt);
  EXPECT_EQ(database->changeCount("k")->count, 0U);
  set(*database, "k", std::nullopt);
  setEntry(*database, "k", "e", std::nullopt);
  EXPECT_EQ(*database->value("k"), std::nullopt);
  EXPECT_EQ(database->changeCount("k")->count, 0U);
}

TEST_P(KeyValueConformance, keysAreKeptApart) {
  set(*database, "a", "1");
  set(*database, "A", "2");
  set(*database, "", "3");
  EXPECT_EQ(*database->value("a"), Value("1"));
  EXPECT_EQ(*database->value("A"), Value("2"));
  EXPECT_EQ(*database->value(""), Value("3"));
  EXPECT_EQ(database->changeCount("a")->count, 1U);
}

TEST_P(KeyValueConformance, everyChangeCounts) {
  EXPECT_TRUE(counts("k", [&] { set(*database, "k", "1"); }));
  EXPECT_TRUE(counts("k", [&] { set(*other, "k", "2"); }));
  EXPECT_TRUE(counts("k", [&] { set(*database, "k", Dictionary{}); }));
  EXPECT_TRUE(counts("k", [&] { setEntry(*database, "k", "e", "1"); }));
  EXPECT_TRUE(counts("k", [&] { setEntry(*database, "k", "e", "2"); }));
  EXPECT_TRUE(counts("k", [&] { setEntry(*database, "k", "e", std::nullopt); }));
  EXPECT_TRUE(counts("k", [&] { set(*database, "k", Dictionary{{"e", "1"}, {"f", "2"}}); }));
  EXPECT_TRUE(counts("k", [&] { set(*database, "k", Dictionary{{"e", "1"}}); }));
  EXPECT_TRUE(counts("k", [&] { set(*database, "k", Dictionary{{"g", "1"}}); }));
  EXPECT_TRUE(counts("k", [&] { set(*database, "k", std::nullopt); }));
  EXPECT_TRUE(counts("k", [&] { set(*database, "k", "1"); }));
  EXPECT_EQ(other->changeCount("k")->count, 11U);
  EXPECT_EQ(other->changeCount("another")->count, 0U);
}

TEST_P(KeyValueConformance, settingWhatIsThereIsNoChange) {
  const auto version = *other->foreignVersion();
  const Dictionary dictionary{{"e", "1"}, {"f", Array{"2"}}};
  set(*database, "k", "1");
  set(*database, "d", dictionary);
  ASSERT_NE(*other->foreignVersion(), version);
  const auto quiet = *other->foreignVersion();
  EXPECT_FALSE(counts("k", [&] { set(*database, "k", "1"); }));
  EXPECT_FALSE(counts("d", [&] { set(*database, "d", dictionary); }));
  EXPECT_FALSE(counts("d", [&] { setEntry(*database, "d", "e", "1"); }));
  EXPECT_FALSE(counts("d", [&] { setEntry(*database, "d", "absent", std::nullopt); }));
  EXPECT_FALSE(counts("k", [&] { setEntry(*database, "k", "e", std::nullopt); }));
  EXPECT_FALSE(counts("none", [&] { set(*database, "none", std::nullopt); }));
  EXPECT_EQ(*other->foreignVersion(), quiet);
  EXPECT_EQ(*database->value("k"), Value("1"));
  EXPECT_EQ(*database->value("d"), Value(dictionary));
}

TEST_P(KeyValueConformance, anEntryMakesTheDictionaryThatItNeeds) {
  setEntry(*database, "absent", "e", "1");
  EXPECT_EQ(*database->value("absent"), Value(Dictionary{{"e", "1"}}));
  set(*database, "text", "text");
  EXPECT_EQ(*database->entry("text", "e"), std::nullopt);
  setEntry(*database, "text", "e", "1");
  EXPECT_EQ(*database->value("text"), Value(Dictionary{{"e", "1"}}));
  setEntry(*database, "text", "e", std::nullopt);
  EXPECT_EQ(*database->value("text"), Value(Dictionary{}));
}

TEST_P(KeyValueConformance, nothingIsLeftOfADictionaryThatWasReplaced) {
  set(*database, "k", Dictionary{{"e", "1"}});
  set(*database, "k", "text");
  EXPECT_EQ(*database->entry("k", "e"), std::nullopt);
  set(*database, "k", Dictionary{});
  EXPECT_EQ(*database->value("k"), Value(Dictionary{}));
  set(*database, "k", Dictionary{{"e", "1"}});
  set(*database, "k", std::nullopt);
  EXPECT_EQ(*database->entry("k", "e"), std::nullopt);
  setEntry(*database, "k", "f", "2");
  EXPECT_EQ(*database->value("k"), Value(Dictionary{{"f", "2"}}));
}

TEST_P(KeyValueConformance, aTransactionSeesItsOwnChangesAndCountsEachKeyOnce) {
  const auto result = database->transact([](Transaction& transaction) {
    transaction.setValue("k", "1");
    EXPECT_EQ(transaction.value("k"), Value("1"));
    transaction.setValue("k", "2");
    transaction.setEntry("d", "e", "1");
    transaction.setEntry("d", "f", "2");
    EXPECT_EQ(transaction.entry("d", "e"), Value("1"));
    transaction.setEntry("d", "e", std::nullopt);
    EXPECT_EQ(transaction.value("d"), Value(Dictionary{{"f", "2"}}));
  });
  ASSERT_TRUE(result);
  EXPECT_EQ(*other->value("k"), Value("2"));
  EXPECT_EQ(*other->value("d"), Value(Dictionary{{"f", "2"}}));
  EXPECT_EQ(other->changeCount("k")->count, 1U);
  EXPECT_EQ(other->changeCount("d")->count, 1U);
}

TEST_P(KeyValueConformance, aTransactionOfAStoreIsSeenWholeByAnotherProcess) {
  RecordingOutput log;
  NSUserDefaults store(*database, log);
  set(*database, "list", Array{"a"});
  EXPECT_TRUE(store.transact([](Transaction& transaction) {
    for (int entry = 0; entry < 1000; ++entry) {
      transaction.setEntry("d", std::to_string(entry), std::int64_t{entry});
    }
    transaction.setEntry("d", "7", std::nullopt);
    auto list = std::get<Array>(transaction.value("list")->variant);
    list.emplace_back("b");
    transaction.setValue("list", list);
  }));
  EXPECT_EQ(std::get<Dictionary>((*other->value("d"))->variant).size(), 999U);
  EXPECT_EQ(*other->value("list"), Value(Array{"a", "b"}));
  EXPECT_EQ(other->changeCount("d")->count, 1U);
  EXPECT_EQ(other->changeCount("list")->count, 2U);
  EXPECT_EQ(log.take(), std::vector<std::string>());
}

TEST_P(KeyValueConformance, theForeignVersionIsOfTheChangesOfOthers) {
  auto version = *database->foreignVersion();
  set(*database, "k", "own");
  EXPECT_EQ(*database->foreignVersion(), version);
  set(*other, "k", "foreign");
  EXPECT_NE(*database->foreignVersion(), version);
  version = *database->foreignVersion();
  set(*database, "k", "own");
  EXPECT_EQ(*database->foreignVersion(), version);
  set(*other, "k", "foreign");
  set(*database, "k", "own again");
  EXPECT_NE(*database->foreignVersion(), version);
}

TEST_P(KeyValueConformance, theListenerIsCalledAfterEveryCommitButNotInsideIt) {
  int called = 0;
  database->setListener([&] { ++called; });
  for (auto* writer : {other.get(), database.get(), other.get()}) {
    const auto before = called;
    set(*writer, "k", std::int64_t{called});
    EXPECT_EQ(called, before);
    loop.runUntil([&] { return called > before; });
  }
}

TEST_P(KeyValueConformance, anEndedListenerIsNotCalled) {
  int called = 0;
  int calledOther = 0;
  database->setListener([&] { ++called; });
  other->setListener([&] { ++calledOther; });
  set(*other, "k", "1");
  database->setListener(nullptr);
  loop.runUntil([&] { return calledOther > 0; });
  loop.runUntilIdle();
  EXPECT_EQ(called, 0);
}

TEST_P(KeyValueConformance, aListenerMayEndItselfOrTheConnection) {
  int called = 0;
  database->setListener([&, text = std::string(100, 'x')] {
    database->setListener(nullptr);
    called += static_cast<int>(text.size());
  });
  other->setListener([&, text = std::string(100, 'x')] {
    other.reset();
    called += static_cast<int>(text.size());
  });
  set(*database, "k", "1");
  loop.runUntil([&] { return called == 200; });
  set(*database, "k", "2");
  loop.runUntilIdle();
  EXPECT_EQ(called, 200);
}

TEST_P(KeyValueConformance, aConnectionMayEndWhileItsListenerIsAboutToBeCalled) {
  int called = 0;
  other->setListener([&] { ++called; });
  set(*database, "k", "1");
  other.reset();
  loop.runUntilIdle();
  EXPECT_EQ(called, 0);
}

TEST_P(KeyValueConformance, whatIsSynchronizedIsStillThere) {
  set(*database, "k", "1");
  EXPECT_TRUE(database->synchronize());
  EXPECT_EQ(*other->value("k"), Value("1"));
}

TEST_P(KeyValueConformance, entriesAreInTheOrderOfTheirNamesAndOfOneMoment) {
  const std::string large(100'000, 'x');
  set(*database, "k", Dictionary{{"é", Dictionary{}}, {"b", large}, {"", true}, {"ab", "text"}});
  std::shared_ptr<const KeyValueEntries> entries;
  ASSERT_TRUE(
      database->transact([&](Transaction& transaction) { entries = transaction.entries("k"); }));
  set(*other, "k", Dictionary{{"b", "changed"}});
  ASSERT_EQ(entries->count(), 4U);
  std::vector<std::string> names;
  std::vector<bool> dictionaries;
  for (std::size_t index = 0; index < entries->count(); ++index) {
    names.emplace_back(entries->name(index));
    dictionaries.push_back(entries->isDictionary(index));
  }
  EXPECT_EQ(names, (std::vector<std::string>{"", "ab", "b", "é"}));
  EXPECT_EQ(dictionaries, (std::vector<bool>{false, false, false, true}));
  EXPECT_EQ(entries->value(2), Value(large));
  EXPECT_EQ(entries->value("b"), Value(large));
  EXPECT_EQ(entries->value("é"), Value(Dictionary{}));
  EXPECT_EQ(entries->value("a"), std::nullopt);
  EXPECT_EQ(entries->value("z"), std::nullopt);
}

TEST_P(KeyValueConformance, entriesThatSomebodyKeepsDoNotHideWhatHasChangedSince) {
  const auto valueOfA = [](Transaction& transaction) {
    return transaction.entries("k")->value("a");
  };
  std::vector<std::shared_ptr<const KeyValueEntries>> kept;
  const auto now = [&] {
    Value value;
    EXPECT_TRUE(database->transact([&](Transaction& transaction) {
      kept.push_back(transaction.entries("k"));
      value = valueOfA(transaction);
    }));
    return value;
  };
  setEntry(*database, "k", "a", "1");
  EXPECT_EQ(now(), Value("1"));
  EXPECT_EQ(now(), Value("1"));
  setEntry(*other, "k", "a", "2");
  EXPECT_EQ(now(), Value("2"));
  setEntry(*other, "another", "a", "x");
  EXPECT_EQ(now(), Value("2"));
  ASSERT_TRUE(database->transact([&](Transaction& transaction) {
    transaction.setEntry("k", "a", "3");
    kept.push_back(transaction.entries("k"));
    EXPECT_EQ(valueOfA(transaction), Value("3"));
    transaction.setEntry("k", "a", "4");
    EXPECT_EQ(valueOfA(transaction), Value("4"));
  }));
  EXPECT_EQ(now(), Value("4"));
  set(*other, "k", std::nullopt);
  EXPECT_EQ(now(), std::nullopt);
  setEntry(*other, "k", "a", "5");
  EXPECT_EQ(now(), Value("5"));
  EXPECT_EQ(kept.front()->value("a"), Value("1"));
}

TEST_P(KeyValueConformance, thereAreNoEntriesWithoutADictionary) {
  set(*database, "text", "{}");
  set(*database, "removed", Dictionary{{"a", true}});
  set(*database, "removed", std::nullopt);
  ASSERT_TRUE(database->transact([&](Transaction& transaction) {
    for (const auto* key : {"text", "removed", "never"}) {
      EXPECT_EQ(transaction.entries(key)->count(), 0U) << key;
    }
  }));
}

INSTANTIATE_TEST_SUITE_P(Databases, KeyValueConformance,
                         ::testing::Values(DatabaseKind::InMemory, DatabaseKind::SQLite),
                         ::testing::PrintToStringParamName());

struct Edit {
  std::string key;
  std::optional<std::string> entry;
  Value value;
};

rc::Gen<Edit> edits() {
  const auto few = rc::gen::element<std::string>("a", "b");
  const auto values = rc::gen::oneOf(
      rc::gen::map(few, [](std::string text) { return PropertyListValue(std::move(text)); }),
      rc::gen::map(rc::gen::container<std::map<std::string, std::string>>(few, few),
                   [](const std::map<std::string, std::string>& pairs) {
                     return PropertyListValue(Dictionary(pairs.begin(), pairs.end()));
                   }));
  return rc::gen::apply(
      [](std::string key, std::optional<std::string> entry, Value value) {
        return Edit{std::move(key), std::move(entry), std::move(value)};
      },
      few, optionals(few), optionals(values));
}

void showValue(const Edit& edit, std::ostream& os) {
  os << edit.key << "." << edit.entry.value_or("-") << " = "
     << (edit.value ? static_cast<int>(edit.value->variant.index()) : -1);
}

void apply(const std::vector<Edit>& edits, const std::string& prefix, Transaction& transaction) {
  for (const auto& edit : edits) {
    if (edit.entry) {
      transaction.setEntry(prefix + edit.key, *edit.entry, edit.value);
    } else {
      transaction.setValue(prefix + edit.key, edit.value);
    }
  }
}

TEST(KeyValueDatabases, agreeAfterAnySequenceOfTransactions) {
  MainLoop loop;
  Shared shared(loop);
  const auto inMemory = shared.connect(DatabaseKind::InMemory);
  const auto onDisk = shared.connect(DatabaseKind::SQLite);
  int sequence = 0;
  EXPECT_TRUE(rc::check([&] {
    // Keys that no sequence before this one has used, for that is faster than a new file.
    const auto prefix = std::to_string(++sequence);
    const auto transactions = *rc::gen::container<std::vector<std::vector<Edit>>>(
        rc::gen::resize(4, rc::gen::container<std::vector<Edit>>(edits())));
    for (const auto& edits : transactions) {
      const auto body = [&](Transaction& running) { apply(edits, prefix, running); };
      RC_ASSERT(inMemory->transact(body).has_value());
      RC_ASSERT(onDisk->transact(body).has_value());
      for (const auto* key : {"a", "b"}) {
        RC_ASSERT(*inMemory->value(prefix + key) == *onDisk->value(prefix + key));
        RC_ASSERT(*inMemory->entry(prefix + key, "a") == *onDisk->entry(prefix + key, "a"));
        RC_ASSERT(inMemory->changeCount(prefix + key)->count ==
                  onDisk->changeCount(prefix + key)->count);
      }
    }
  }));
}

}  // namespace
}  // namespace orvane::test
