#include <algorithm>
#include <chrono>
#include <fstream>
#include <thread>

#include "Tests/Apps/ChangeFixture.h"

namespace orvane::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* packagesKey = "DisabledUserPreferenceForPackages";
constexpr const char* rulesKey = "DisabledUserPreferenceForRules";

class SwitchCommand : public ChangeTest {
 protected:
  SwitchCommand() {
    put(container() / "CustomPackages.json",
        R"([{"id":"mine","name":"Mine","rules":[)" + rule("r1", "x") + "," + rule("r2", "y") +
            R"(]},{"id":"other","name":"Mine","rules":[]},{"id":"third","name":"Third","rules":[)" +
            R"({"id":"t","name":"Only","content":{"trigger":{"url-filter":"z"},)" +
            R"("action":{"type":"block"}}}]}])");
  }

  std::optional<PropertyListValue> disabledPackages() { return value(preferences(), packagesKey); }
  std::optional<PropertyListValue> disabledRules() { return value(preferences(), rulesKey); }
  void waitUntilACommandWaits();
  static PropertyListValue strings(const std::vector<std::string>& strings) {
    return toPropertyList(strings);
  }
};

TEST_F(SwitchCommand, packageIsSwitchedOffAndOn) {
  const auto off = orvane({"disable", "mine"});
  EXPECT_EQ(off.exitStatus, 0) << off.errors;
  EXPECT_EQ(off.output, "The package mine (Mine) is switched off.\n");
  EXPECT_EQ(disabledPackages(), strings({"mine"}));
  EXPECT_EQ(orvane({"disable", "mine"}).output,
            "The package mine (Mine) is switched off already.\n");
  EXPECT_EQ(disabledPackages(), strings({"mine"}));
  const auto on = orvane({"enable", "mine"});
  EXPECT_EQ(on.output, "The package mine (Mine) is switched on.\n");
  EXPECT_EQ(disabledPackages(), strings({}));
  EXPECT_EQ(orvane({"enable", "mine"}).output, "The package mine (Mine) is switched on already.\n");
}

TEST_F(SwitchCommand, ruleIsSwitchedOffAndOn) {
  const auto off = orvane({"disable", "mine", "r2"});
  EXPECT_EQ(off.exitStatus, 0) << off.errors;
  EXPECT_EQ(off.output, "The rule r2 (My rule) of the package mine (Mine) is switched off.\n");
  EXPECT_EQ(disabledRules(),
            PropertyListValue(PropertyListValue::Dictionary{{"mine", strings({"r2"})}}));
  EXPECT_EQ(orvane({"disable", "mine", "r2"}).output,
            "The rule r2 (My rule) of the package mine (Mine) is switched off already.\n");
  EXPECT_EQ(orvane({"enable", "mine", "r2"}).output,
            "The rule r2 (My rule) of the package mine (Mine) is switched on.\n");
  EXPECT_EQ(disabledRules(),
            PropertyListValue(PropertyListValue::Dictionary{{"mine", strings({})}}));
}

TEST_F(SwitchCommand, packageThatIsListedTwiceIsReallySwitchedOn) {
  setValue(preferences(), packagesKey, strings({"mine", "third", "mine"}));
  EXPECT_EQ(orvane({"enable", "mine"}).exitStatus, 0);
  EXPECT_EQ(disabledPackages(), strings({"third"}));
}

TEST_F(SwitchCommand, nameWillDoWhenItIsTheOnlyOne) {
  EXPECT_EQ(orvane({"disable", "Third"}).output, "The package third (Third) is switched off.\n");
  EXPECT_EQ(orvane({"enable", "Third", "Only"}).output,
            "The rule t (Only) of the package third (Third) is switched on already.\n"
            "It has no effect, because the package is switched off.\n");
}

TEST_F(SwitchCommand, ambiguousNamesAreRefusedWithTheIds) {
  expectRefusal({"disable", "Mine"},
                "orvane: The name 'Mine' is that of 2 packages; say which one by its id:\n"
                "orvane:   mine\norvane:   other\n");
  expectRefusal({"disable", "mine", "My rule"},
                "orvane: The name 'My rule' is that of 2 rules; say which one by its id:\n"
                "orvane:   r1\norvane:   r2\n");
}

TEST_F(SwitchCommand, whatIsUnknownIsRefusedWithWhatIsNear) {
  expectRefusal({"disable", "block-adds"},
                "orvane: There is no package 'block-adds'. Do you mean 'block-ads'?\n");
  expectRefusal({"enable", "quite another thing"},
                "orvane: There is no package 'quite another thing'.\n");
  expectRefusal({"disable", "mine", "r3"},
                "orvane: There is no rule 'r3' in the package 'mine'. Do you mean 'r1'?\n");
}

TEST_F(SwitchCommand, answersInJSON) {
  EXPECT_EQ(orvane({"disable", "mine", "--json"}).output,
            "{\"changed\":true,\"package\":\"mine\",\"enabled\":false}\n");
  EXPECT_EQ(orvane({"enable", "mine", "r1", "--json"}).output,
            "{\"changed\":false,\"package\":\"mine\",\"rule\":\"r1\",\"enabled\":true}\n");
}

TEST_F(SwitchCommand, changeThatTheDiskDoesNotTakeIsNotClaimed) {
  const std::string id(60'000, 'i');
  put(container() / "CustomPackages.json", "[" + package(id, "") + "]");
  orvane({"packages"});
  const auto before = stored();
  const auto run = runProgram(
      {"sh", "-c", "trap '' XFSZ; ulimit -f 80; exec \"$0\" disable \"$1\"", program, id},
      work.path(), environment());
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.output, "");
  // The file that takes the errors is as limited as the others, so the end of the name is missing.
  EXPECT_THAT(run.errors, AllOf(HasSubstr("UbiquitousKeyValueStore.sqlite"),
                                HasSubstr("\norvane: The package iii")));
  EXPECT_EQ(stored(), before);
}

/// A command that waits for the database to be free sleeps between its attempts. Where the system
/// does not say so, the wait ends by itself, and the test is only less strict.
void SwitchCommand::waitUntilACommandWaits() {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  const auto sleeps = [](pid_t process) {
    std::ifstream stream("/proc/" + std::to_string(process) + "/wchan");
    std::string where;
    return std::getline(stream, where) && where.find("nanosleep") != where.npos;
  };
  while (std::chrono::steady_clock::now() < end) {
    const auto running = programs();
    if (std::any_of(running.begin(), running.end(), sleeps)) return;
    std::this_thread::yield();
  }
}

/// The command has asked, and waits for the other program's change before it can make its own.
TEST_F(SwitchCommand, sameChangeByAnotherProgramMeanwhileIsNoFailure) {
  orvane({"packages"});
  const PropertyListValue::Dictionary wanted{{"mine", strings({"r2"})}};
  std::optional<ProgramRun> run;
  std::thread command;
  ASSERT_TRUE(SQLiteKeyValueDatabase(preferences(), executor_).transact([&](auto& transaction) {
    command = std::thread([&] { run = orvane({"disable", "mine", "r2"}); });
    waitUntilACommandWaits();
    transaction.setValue(rulesKey, wanted);
  }));
  command.join();
  EXPECT_EQ(run->exitStatus, 0);
  EXPECT_EQ(run->errors, "");
  EXPECT_EQ(run->output,
            "The rule r2 (My rule) of the package mine (Mine) is switched off already.\n");
  EXPECT_EQ(disabledRules(), PropertyListValue(wanted));
}

TEST_F(SwitchCommand, listOfPackagesTellsWhatIsSwitchedOff) {
  orvane({"disable", "mine", "r1"});
  orvane({"disable", "third"});
  const auto text = orvane({"packages"}).output;
  EXPECT_THAT(text, HasSubstr("\ncustom         mine                 on     2      1    Mine\n"));
  EXPECT_THAT(text, HasSubstr("\ncustom         third                off    1      0    Third\n"));
  const auto json = orvane({"packages", "--json"}).output;
  EXPECT_THAT(json, HasSubstr(R"("rules":2,"enabled":true,"disabledRules":1})"));
  EXPECT_THAT(json, HasSubstr(R"("rules":1,"enabled":false,"disabledRules":0})"));
}

TEST_F(SwitchCommand, withoutAPackageItSaysWhatToDo) {
  const auto run = orvane({"enable"});
  EXPECT_EQ(run.exitStatus, 2);
  EXPECT_THAT(run.errors, StartsWith("PACKAGE is required"));
}

}  // namespace
}  // namespace orvane::test
