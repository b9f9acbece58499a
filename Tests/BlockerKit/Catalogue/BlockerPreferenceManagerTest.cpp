#include "BlockerKit/Catalogue/BlockerPreferenceManager.h"
#include "Tests/BlockerKit/Catalogue/CatalogueFixture.h"
#include "Tests/Support/FailingKeyValueDatabase.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

using Array = PropertyListValue::Array;
using Dictionary = PropertyListValue::Dictionary;

constexpr const char* packagesKey = "DisabledUserPreferenceForPackages";
constexpr const char* rulesKey = "DisabledUserPreferenceForRules";

const Package package = packageOf("p", {blockRule("1", "one"), blockRule("2", "two")});

class PreferenceTest : public CatalogueTest {
 protected:
  KeyValueStore& cloud() { return process.machine.ubiquitousStore; }
  NSUserDefaults& suite() { return process.machine.suite(); }
  BlockerPreferenceManager& preferences() { return dataManager.preferenceManager(); }

  static std::vector<std::string> filters(const std::vector<Blocker>& blockers) {
    std::vector<std::string> result;
    for (const auto& blocker : blockers) result.push_back(blocker.trigger.urlFilter);
    return result;
  }
  std::vector<std::string> enabledFilters() {
    return filters(preferences().enabledBlockers(preferences().disabledPackageIDs(),
                                                 preferences().disabledRuleIDs()));
  }
};

// The store.

TEST_F(PreferenceTest, PreferencesAreKeptInTheCloudStore) {
  EXPECT_TRUE(preferences().saveDisabledUserPrefenceForPackage(package));
  EXPECT_EQ(cloud().object(packagesKey), PropertyListValue(Array{"p"}));
  EXPECT_EQ(suite().object(packagesKey), std::nullopt);
}

TEST_F(PreferenceTest, PreferencesAreKeptInTheDefaultsWhenTheySaySo) {
  ASSERT_TRUE(suite().setObject(true, "StorePreferencesLocally"));
  EXPECT_TRUE(preferences().saveDisabledUserPrefenceForPackage(package));
  EXPECT_EQ(suite().object(packagesKey), PropertyListValue(Array{"p"}));
  EXPECT_EQ(cloud().object(packagesKey), std::nullopt);
}

TEST_F(PreferenceTest, AnotherTypeThanABooleanDoesNotSaySo) {
  ASSERT_TRUE(suite().setObject("true", "StorePreferencesLocally"));
  preferences().saveDisabledUserPrefenceForPackage(package);
  EXPECT_NE(cloud().object(packagesKey), std::nullopt);
}

TEST_F(PreferenceTest, TheChoiceIsKeptForTheLifeOfTheProcess) {
  preferences();
  ASSERT_TRUE(suite().setObject(true, "StorePreferencesLocally"));
  preferences().saveDisabledUserPrefenceForPackage(package);
  EXPECT_EQ(suite().object(packagesKey), std::nullopt);
  EXPECT_THAT(preferences().disabledPackageIDs(), ElementsAre("p"));
}

TEST_F(PreferenceTest, TheChoiceIsMadeWhenItIsFirstNeeded) {
  dataManager.packages();
  ASSERT_TRUE(suite().setObject(true, "StorePreferencesLocally"));
  preferences().saveDisabledUserPrefenceForPackage(package);
  EXPECT_EQ(suite().object(packagesKey), PropertyListValue(Array{"p"}));
}

// Packages.

TEST_F(PreferenceTest, WhatIsAbsentOrMistypedReadsAsEmpty) {
  EXPECT_THAT(preferences().disabledPackageIDs(), IsEmpty());
  EXPECT_THAT(preferences().disabledRuleIDs(), IsEmpty());
  const std::vector<PropertyListValue> mistyped{true,
                                                std::int64_t{3},
                                                "p",
                                                Array{"p", true},
                                                Array{Array{"p"}},
                                                Dictionary{{"p", "1"}},
                                                Dictionary{{"p", Array{"1"}}, {"q", Array{true}}}};
  for (const auto& value : mistyped) {
    ASSERT_TRUE(cloud().setObject(value, packagesKey));
    ASSERT_TRUE(cloud().setObject(value, rulesKey));
    EXPECT_THAT(preferences().disabledPackageIDs(), IsEmpty());
    EXPECT_THAT(preferences().disabledRuleIDs(), IsEmpty());
  }
  ASSERT_TRUE(cloud().setObject(Dictionary{{"p", Array{"1"}}}, packagesKey));
  EXPECT_THAT(preferences().disabledPackageIDs(), IsEmpty());
  EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_F(PreferenceTest, APackageIsSwitchedOffAndOnAgain) {
  EXPECT_FALSE(preferences().userPreferenceIsDisabledForPackage(package));
  EXPECT_TRUE(preferences().saveDisabledUserPrefenceForPackage(package));
  EXPECT_TRUE(preferences().userPreferenceIsDisabledForPackage(package));
  EXPECT_FALSE(preferences().userPreferenceIsDisabledForPackage(packageOf("P")));
  EXPECT_TRUE(preferences().saveEnabledUserPrefenceForPackage(package));
  EXPECT_FALSE(preferences().userPreferenceIsDisabledForPackage(package));
}

TEST_F(PreferenceTest, SwitchingAPackageOffTwiceListsItOnce) {
  ASSERT_TRUE(cloud().setObject(Array{"q"}, packagesKey));
  preferences().saveDisabledUserPrefenceForPackage(package);
  preferences().saveDisabledUserPrefenceForPackage(package);
  EXPECT_THAT(preferences().disabledPackageIDs(), ElementsAre("q", "p"));
}

TEST_F(PreferenceTest, SwitchingOnRemovesTheFirstOccurrenceOnly) {
  ASSERT_TRUE(cloud().setObject(Array{"a", "p", "b", "p"}, packagesKey));
  EXPECT_TRUE(preferences().saveEnabledUserPrefenceForPackage(package));
  EXPECT_THAT(preferences().disabledPackageIDs(), ElementsAre("a", "b", "p"));
  EXPECT_TRUE(preferences().userPreferenceIsDisabledForPackage(package));
}

TEST_F(PreferenceTest, SwitchingOnAPackageThatIsOnPersistsTheSameArray) {
  ASSERT_TRUE(cloud().setObject(Array{"q"}, packagesKey));
  EXPECT_TRUE(preferences().saveEnabledUserPrefenceForPackage(package));
  EXPECT_THAT(preferences().disabledPackageIDs(), ElementsAre("q"));
}

TEST_F(PreferenceTest, EveryChangeSynchronizesTheStoreAtOnce) {
  const auto& database = process.machine.ubiquitousAtRisk;
  const Rule rule = package.rules.front();
  preferences().saveDisabledUserPrefenceForPackage(package);
  EXPECT_EQ(database.synchronizations, 1);
  preferences().saveEnabledUserPrefenceForPackage(package);
  EXPECT_EQ(database.synchronizations, 2);
  preferences().disableRuleSynchronouslyWithoutReload(rule, package);
  EXPECT_EQ(database.synchronizations, 3);
  preferences().enableRuleSynchronouslyWithoutReload(rule, package);
  EXPECT_EQ(database.synchronizations, 4);
}

TEST_F(PreferenceTest, ChangesAreAnnouncedAroundTheWriting) {
  std::vector<std::string> seen;
  const auto look = [&](const NSNotification&) {
    seen.push_back(preferences().userPreferenceIsDisabledForPackage(package) ? "off" : "on");
  };
  const auto will = process.machine.notificationCenter.addObserver("WillSaveUserPreference", look);
  const auto did = process.machine.notificationCenter.addObserver("DidSaveUserPreference", look);
  preferences().saveDisabledUserPrefenceForPackage(package);
  EXPECT_THAT(seen, ElementsAre("on", "off"));
  EXPECT_THAT(takeLines(), ElementsAre("[WillSaveUserPreference]", "[DidSaveUserPreference]"));
  preferences().disableRuleSynchronouslyWithoutReload(package.rules[0], package);
  EXPECT_THAT(takeLines(), ElementsAre("[WillSaveUserPreference]", "[DidSaveUserPreference]"));
  EXPECT_THAT(process.reloads, IsEmpty());
}

// Rules.

TEST_F(PreferenceTest, ARuleIsSwitchedOffAndOnAgain) {
  const auto& rule = package.rules[0];
  EXPECT_FALSE(preferences().userPreferenceIsDisabledForRule(rule, package));
  EXPECT_TRUE(preferences().disableRuleSynchronouslyWithoutReload(rule, package));
  EXPECT_TRUE(preferences().userPreferenceIsDisabledForRule(rule, package));
  EXPECT_FALSE(preferences().userPreferenceIsDisabledForRule(rule, packageOf("q")));
  EXPECT_FALSE(preferences().userPreferenceIsDisabledForRule(package.rules[1], package));
  EXPECT_EQ(cloud().object(rulesKey), PropertyListValue(Dictionary{{"p", Array{"1"}}}));
  EXPECT_TRUE(preferences().enableRuleSynchronouslyWithoutReload(rule, package));
  EXPECT_FALSE(preferences().userPreferenceIsDisabledForRule(rule, package));
  EXPECT_EQ(cloud().object(rulesKey), PropertyListValue(Dictionary{{"p", Array{}}}));
  EXPECT_THAT(process.reloads, IsEmpty());
}

TEST_F(PreferenceTest, TheResultTellsWhetherTheRuleWasFound) {
  const auto& rule = package.rules[0];
  EXPECT_FALSE(preferences().enableRuleSynchronouslyWithoutReload(rule, package));
  EXPECT_EQ(cloud().object(rulesKey), std::nullopt);
  EXPECT_TRUE(preferences().disableRuleSynchronouslyWithoutReload(rule, package));
  EXPECT_FALSE(preferences().disableRuleSynchronouslyWithoutReload(rule, package));
  EXPECT_EQ(preferences().numberOfDisabledRulesInPackage(package), 1U);
  takeLines();
  EXPECT_FALSE(preferences().enableRuleSynchronouslyWithoutReload(package.rules[1], package));
  EXPECT_THAT(takeLines(), IsEmpty()) << "nothing to announce";
}

TEST_F(PreferenceTest, OtherPackagesKeepTheirRules) {
  ASSERT_TRUE(cloud().setObject(Dictionary{{"q", Array{"1", "9"}}}, rulesKey));
  preferences().disableRuleSynchronouslyWithoutReload(package.rules[0], package);
  preferences().disableRuleSynchronouslyWithoutReload(package.rules[1], package);
  preferences().enableRuleSynchronouslyWithoutReload(package.rules[0], package);
  EXPECT_THAT(preferences().disabledRuleIDs(),
              UnorderedElementsAre(Pair("p", ElementsAre("2")), Pair("q", ElementsAre("1", "9"))));
}

TEST_F(PreferenceTest, DisabledRulesAreCountedAsTheyAreListed) {
  EXPECT_EQ(preferences().numberOfDisabledRulesInPackage(package), 0U);
  ASSERT_TRUE(cloud().setObject(Dictionary{{"p", Array{"1", "gone", "1"}}}, rulesKey));
  EXPECT_EQ(preferences().numberOfDisabledRulesInPackage(package), 3U);
  EXPECT_EQ(preferences().numberOfDisabledRulesInPackage(packageOf("q")), 0U);
}

TEST_F(PreferenceTest, ThePackagesRulesAreSplit) {
  EXPECT_EQ(preferences().filterRulesForPackage(package, true), package.rules);
  EXPECT_THAT(preferences().filterRulesForPackage(package, false), IsEmpty());
  ASSERT_TRUE(cloud().setObject(Dictionary{{"p", Array{"2", "3"}}, {"q", Array{"1"}}}, rulesKey));
  EXPECT_EQ(preferences().filterRulesForPackage(package, true), std::vector{package.rules[0]});
  EXPECT_EQ(preferences().filterRulesForPackage(package, false), std::vector{package.rules[1]});
}

TEST_F(PreferenceTest, AnEmptyEntrySwitchesNothingOff) {
  ASSERT_TRUE(cloud().setObject(Dictionary{{"p", Array{}}}, rulesKey));
  EXPECT_FALSE(preferences().userPreferenceIsDisabledForRule(package.rules[0], package));
  EXPECT_EQ(preferences().filterRulesForPackage(package, true), package.rules);
}

// The form before 1.2.

TEST_F(PreferenceTest, AFlatListIsMigrated) {
  put(preinstalledFile, {packageOf("block-ads", {blockRule("ad")})});
  put(configurableFile, {packageOf("whitelist", {blockRule("w"), blockRule("both")})});
  put(customFile, {packageOf("A", {blockRule("a1"), blockRule("a2"), blockRule("both")})});
  ASSERT_TRUE(cloud().setObject(Array{"a2", "unknown", "w", "both", "ad", "a1"}, rulesKey));
  const DisabledRuleIDs expected{
      {"A", {"a2", "both", "a1"}}, {"whitelist", {"w"}}, {"block-ads", {"ad"}}};
  EXPECT_EQ(preferences().disabledRuleIDs(), expected);
  const auto lines = takeLines();
  EXPECT_EQ(lines.front(), "migrating from pre v1.2 way of handling disabled rules");
  EXPECT_THAT(lines, ::testing::Contains("can't find package ID for unknown").Times(1));
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                          [](const auto& line) { return line.starts_with("can't find"); }),
            1);
  EXPECT_EQ(cloud().object(rulesKey), PropertyListValue(Dictionary{{"A", Array{"a2", "both", "a1"}},
                                                                   {"whitelist", Array{"w"}},
                                                                   {"block-ads", Array{"ad"}}}));
  EXPECT_EQ(preferences().disabledRuleIDs(), expected);
  EXPECT_THAT(takeLines(), IsEmpty()) << "once";
}

TEST_F(PreferenceTest, TheListIsMigratedWithTheCatalogueInMemory) {
  dataManager.setPreinstalledPackages({packageOf("block-ads", {blockRule("ad")})});
  dataManager.packages();
  takeLines();
  ASSERT_TRUE(cloud().setObject(Array{"ad"}, rulesKey));
  EXPECT_EQ(preferences().disabledRuleIDs(), (DisabledRuleIDs{{"block-ads", {"ad"}}}));
  EXPECT_THAT(takeLines(), ElementsAre("migrating from pre v1.2 way of handling disabled rules",
                                       "[WillSaveUserPreference]", "[DidSaveUserPreference]"));
}

TEST_F(PreferenceTest, AFlatListOfUnknownRulesBecomesAnEmptyDictionary) {
  ASSERT_TRUE(cloud().setObject(Array{"1", "2"}, rulesKey));
  EXPECT_THAT(preferences().disabledRuleIDs(), IsEmpty());
  EXPECT_EQ(cloud().object(rulesKey), PropertyListValue(Dictionary{}));
}

TEST_F(PreferenceTest, AnEmptyListIsNotMigrated) {
  ASSERT_TRUE(cloud().setObject(Array{}, rulesKey));
  EXPECT_THAT(preferences().disabledRuleIDs(), IsEmpty());
  EXPECT_EQ(cloud().object(rulesKey), PropertyListValue(Array{}));
  EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_F(PreferenceTest, EveryOperationOnRulesMigrates) {
  put(customFile, {package});
  ASSERT_TRUE(cloud().setObject(Array{"1"}, rulesKey));
  EXPECT_TRUE(preferences().disableRuleSynchronouslyWithoutReload(package.rules[1], package));
  EXPECT_THAT(preferences().disabledRuleIDs(), ElementsAre(Pair("p", ElementsAre("1", "2"))));
}

/// Another process changes the value while this one looks for the packages.
TEST_F(PreferenceTest, ARaceOfTwoMigrationsLosesNothing) {
  put(customFile, {package});
  CatalogueProcess other(process.machine.machine);
  ASSERT_TRUE(cloud().setObject(Array{"1"}, rulesKey));
  bool isFirst = true;
  const auto race = process.machine.notificationCenter.addObserver(
      "WillSaveUserPreference", [&](const NSNotification&) {
        if (!std::exchange(isFirst, false)) return;
        other.dataManager.preferenceManager().disableRuleSynchronouslyWithoutReload(
            package.rules[1], package);
      });
  const DisabledRuleIDs expected{{"p", {"1", "2"}}};
  EXPECT_EQ(preferences().disabledRuleIDs(), expected);
  EXPECT_EQ(other.dataManager.preferenceManager().disabledRuleIDs(), expected);
}

TEST_F(PreferenceTest, AnOldListThatGrowsDuringTheMigrationIsMigratedWhole) {
  put(customFile, {package});
  ASSERT_TRUE(cloud().setObject(Array{"1"}, rulesKey));
  bool isFirst = true;
  const auto race = process.machine.notificationCenter.addObserver(
      "WillSaveUserPreference", [&](const NSNotification&) {
        if (!std::exchange(isFirst, false)) return;
        ASSERT_TRUE(cloud().setObject(Array{"1", "2"}, rulesKey));
      });
  EXPECT_EQ(preferences().disabledRuleIDs(), (DisabledRuleIDs{{"p", {"1", "2"}}}));
}

// Several processes.

TEST_F(PreferenceTest, ChangesOfTwoProcessesAreBothKept) {
  CatalogueProcess other(process.machine.machine);
  auto& theirs = other.dataManager.preferenceManager();
  bool isFirst = true;
  const auto race = process.machine.notificationCenter.addObserver(
      "WillSaveUserPreference", [&](const NSNotification&) {
        if (!std::exchange(isFirst, false)) return;
        theirs.saveDisabledUserPrefenceForPackage(packageOf("q"));
        theirs.disableRuleSynchronouslyWithoutReload(package.rules[1], package);
      });
  preferences().saveDisabledUserPrefenceForPackage(package);
  isFirst = true;
  preferences().disableRuleSynchronouslyWithoutReload(package.rules[0], package);
  EXPECT_THAT(preferences().disabledPackageIDs(), ElementsAre("q", "p"));
  EXPECT_THAT(preferences().disabledRuleIDs(), ElementsAre(Pair("p", ElementsAre("2", "1"))));
  EXPECT_EQ(theirs.disabledRuleIDs(), preferences().disabledRuleIDs());
}

TEST_F(PreferenceTest, ARuleThatTheOtherSwitchedOnMeanwhileWasNotFound) {
  CatalogueProcess other(process.machine.machine);
  auto& theirs = other.dataManager.preferenceManager();
  theirs.disableRuleSynchronouslyWithoutReload(package.rules[0], package);
  bool isFirst = true;
  const auto race = process.machine.notificationCenter.addObserver(
      "WillSaveUserPreference", [&](const NSNotification&) {
        if (!std::exchange(isFirst, false)) return;
        theirs.enableRuleSynchronouslyWithoutReload(package.rules[0], package);
      });
  EXPECT_FALSE(preferences().enableRuleSynchronouslyWithoutReload(package.rules[0], package));
}

TEST_F(PreferenceTest, AStoreThatFailsIsReported) {
  FailingKeyValueDatabase failing(process.machine.suiteDatabase);
  NSUserDefaults defaults(failing, process.machine.systemLog);
  ASSERT_TRUE(defaults.setObject(true, "StorePreferencesLocally"));
  BlockerPreferenceManager manager(process.machine.platform, process.store, defaults,
                                   dataManager.published());
  ASSERT_TRUE(manager.disableRuleSynchronouslyWithoutReload(package.rules[0], package));
  takeLines();
  failing.fails = true;
  EXPECT_FALSE(manager.saveDisabledUserPrefenceForPackage(package));
  EXPECT_FALSE(manager.saveEnabledUserPrefenceForPackage(package));
  EXPECT_FALSE(manager.disableRuleSynchronouslyWithoutReload(package.rules[1], package));
  EXPECT_FALSE(manager.enableRuleSynchronouslyWithoutReload(package.rules[0], package));
  EXPECT_THAT(manager.disabledPackageIDs(), IsEmpty());
  EXPECT_THAT(takeLog(), ::testing::Contains("The disk is on fire"));
  EXPECT_THAT(takeLines(), ::testing::Not(::testing::Contains("[DidSaveUserPreference]")));
  failing.fails = false;
  EXPECT_THAT(manager.disabledRuleIDs(), ElementsAre(Pair("p", ElementsAre("1"))));
}

// The enabled blockers.

TEST_F(PreferenceTest, TheWholeCatalogueIsCompiledInItsOrder) {
  dataManager.setPreinstalledPackages({packageOf("block-ads", {blockRule("1", "ads")})});
  put(configurableFile, {packageOf("whitelist", {blockRule("2", "white")}),
                         packageOf("block-url", {blockRule("3", "url")}),
                         packageOf("make-https", {blockRule("4", "https")})});
  put(customFile, {packageOf("A", {blockRule("5", "own")})});
  EXPECT_THAT(enabledFilters(), ElementsAre("ads", "url", "https", "own", "white"));
  preferences().saveDisabledUserPrefenceForPackage(packageOf("whitelist"));
  EXPECT_THAT(enabledFilters(), ElementsAre("ads", "url", "https", "own"));
  preferences().disableRuleSynchronouslyWithoutReload(blockRule("1"), packageOf("block-ads"));
  EXPECT_THAT(enabledFilters(), ElementsAre("url", "https", "own"));
}

TEST_F(PreferenceTest, PreinstalledPackagesThatAreNotLoadedAreRead) {
  put(preinstalledFile, {packageOf("block-ads", {blockRule("1", "ads")})});
  EXPECT_THAT(enabledFilters(), ElementsAre("ads"));
  EXPECT_THAT(dataManager.preinstalledPackages(), IsEmpty()) << "they are not kept";
}

TEST_F(PreferenceTest, ACatalogueWithoutRulesGivesAnEmptyList) {
  EXPECT_THAT(enabledFilters(), IsEmpty());
}

TEST_F(PreferenceTest, EditsAreCompiledOnceTheyAreSaved) {
  dataManager.packages();
  dataManager.mergeRemoteRule(blockRule("1", "new"), "whitelist");
  EXPECT_THAT(enabledFilters(), IsEmpty());
  dataManager.save(PackageCollectionType::custom, nullptr);
  EXPECT_THAT(enabledFilters(), ElementsAre("new"));
}

}  // namespace
}  // namespace orvane::test
