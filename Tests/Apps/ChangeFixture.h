#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "Linux/GLib/MainLoopExecutor.h"
#include "Linux/Posix/SingleInstance.h"
#include "Linux/SQLite/SQLiteKeyValueDatabase.h"
#include "Tests/Apps/CompanionFixture.h"

namespace orvane::test {

/// What the commands store, and nothing of what the companion makes of it.
struct StoredState {
  std::map<std::string, std::string> packageFiles;
  std::map<std::string, std::optional<PropertyListValue>> settings;

  friend bool operator==(const StoredState&, const StoredState&) = default;
};

/// Runs commands that change something. No companion takes the changes up: the test itself holds
/// the right to be the user's one companion.
class ChangeTest : public CompanionTest {
 protected:
  ChangeTest() {
    std::filesystem::create_directories(container());
    companion_ = SingleInstance::acquire(container() / "Companion.lock").value();
  }

  std::filesystem::path configurable() { return container() / "ConfigurablePackages.json"; }
  std::filesystem::path settings() { return container() / "UserDefaults.sqlite"; }
  std::filesystem::path preferences() { return container() / "UbiquitousKeyValueStore.sqlite"; }

  /// The value under a key; each look opens the file anew, as another program would.
  std::optional<PropertyListValue> value(const std::filesystem::path& database,
                                         std::string_view key) {
    return SQLiteKeyValueDatabase(database, executor_).value(key).value_or(std::nullopt);
  }
  void setValue(const std::filesystem::path& database, std::string_view key,
                const PropertyListValue& value) {
    ASSERT_TRUE(SQLiteKeyValueDatabase(database, executor_).transact([&](auto& transaction) {
      transaction.setValue(key, value);
    }));
  }

  StoredState stored() {
    StoredState state;
    for (const auto& entry : std::filesystem::directory_iterator(container())) {
      if (entry.path().extension() != ".json") continue;
      state.packageFiles[entry.path().filename()] = get(entry.path());
    }
    for (const auto* key : {"paused", "reloadRulesFromDisk"}) {
      state.settings[key] = value(settings(), key);
    }
    for (const auto* key :
         {"DisabledUserPreferenceForPackages", "DisabledUserPreferenceForRules"}) {
      state.settings[key] = value(preferences(), key);
    }
    return state;
  }

  /// The command is refused with this on standard error, and has no effect.
  void expectRefusal(const std::vector<std::string>& command,
                     const ::testing::Matcher<std::string>& errors) {
    orvane({"packages"});  // what every command does by reading
    const auto before = stored();
    const auto run = orvane(command);
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, errors);
    EXPECT_EQ(stored(), before);
  }

  /// The rules of a configurable package, as an answer in JSON lists them.
  JSONDocument listed(const std::string& command) {
    const auto run = orvane({command, "list", "--json"});
    EXPECT_EQ(run.exitStatus, 0) << run.errors;
    return JSONDocument::parse(run.output).value();
  }

  static std::string siteRule(const std::string& id, const std::string& domains) {
    return R"({"id":")" + id +
           R"(","name":"By hand","content":{"trigger":{"url-filter":".*","if-domain":[)" + domains +
           R"(]},"action":{"type":"ignore-previous-rules"}}})";
  }
  void putWhitelist(const std::string& rules) {
    put(configurable(), R"([{"id":"whitelist","name":"Whitelist","rules":[)" + rules + "]}]");
  }

  /// As many as make anything that is done for each pair of two of them take minutes.
  static constexpr int manyRules = 10'000;
  /// A configurable package of that many rules, the first of which alone is switched on.
  void putManyRules(const std::string& package,
                    const std::function<std::string(const std::string& id)>& rule) {
    std::string rules;
    std::vector<std::string> disabled;
    for (int number = 0; number < manyRules; ++number) {
      const auto id = std::to_string(number);
      rules += (number == 0 ? "" : ",") + rule(id);
      if (number > 0) disabled.push_back(id);
    }
    put(configurable(), R"([{"id":")" + package + R"(","name":"","rules":[)" + rules + "]}]");
    setValue(preferences(), "DisabledUserPreferenceForRules",
             PropertyListValue::Dictionary{{package, toPropertyList(disabled)}});
  }
  /// The list of many rules comes soon, and is right.
  void expectListOfManyRules(const std::string& command) {
    orvane({"packages"});
    const auto start = std::chrono::steady_clock::now();
    const auto document = listed(command);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    const auto rows = document.root().array();
    ASSERT_TRUE(rows);
    int enabled = 0;
    int count = 0;
    for (const auto row : *rows) {
      enabled += JSONValue(row)["enabled"].boolValue() ? 1 : 0;
      ++count;
    }
    EXPECT_EQ(count, manyRules);
    EXPECT_EQ(enabled, 1);
  }

  MainLoopExecutor executor_;
  std::optional<SingleInstance> companion_;
};

}  // namespace orvane::test
