#include "BlockerKit/Catalogue/DataManager.h"
#include "Tests/BlockerKit/Catalogue/CatalogueFixture.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class DataManagerTest : public CatalogueTest {
 protected:
  static Lines savedLines(int configurable, int custom) {
    return {"[WillSavePackages]",
            "Wrote " + std::to_string(configurable) + " packages to " + configurableFile,
            "Wrote " + std::to_string(custom) + " packages to " + customFile, "[DidSavePackages]",
            "[reload]"};
  }
  /// The catalogue has been read, and what that printed is forgotten.
  void load() {
    dataManager.packages();
    takeLines();
  }
};

TEST_F(DataManagerTest, StartsWithEmptyListsAndReadsNothing) {
  put(customFile, {packageOf("A")});
  EXPECT_THAT(dataManager.preinstalledPackages(), IsEmpty());
  EXPECT_THAT(dataManager.generalPackages(), IsEmpty());
  EXPECT_THAT(dataManager.internationalPackages(), IsEmpty());
  const auto published = dataManager.published().get();
  EXPECT_THAT(*published->preinstalled, IsEmpty());
  EXPECT_EQ(published->configurable, nullptr);
  EXPECT_EQ(published->custom, nullptr);
  EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_F(DataManagerTest, EachLazyListIsReadOnceAtItsOwnFirstUse) {
  put(configurableFile, {packageOf("whitelist", {blockRule("1")})});
  put(customFile, {packageOf("A")});
  EXPECT_THAT(ruleIDs(process.whitelist()), ElementsAre("1"));
  EXPECT_THAT(takeLines(), ElementsAre("ConfigurablePackages.json is in Shared Container."));
  EXPECT_THAT(packageIDs(dataManager.customPackages()), ElementsAre("A"));
  EXPECT_THAT(takeLines(), ElementsAre("CustomPackages.json is in Shared Container."));
  files().files.clear();
  EXPECT_THAT(packageIDs(dataManager.packages()), ElementsAre("make-https", "A", "whitelist"));
  EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_F(DataManagerTest, WithoutFilesTheFiveConfigurablePackagesAreThereAndTheWhitelistEnds) {
  EXPECT_THAT(
      packageIDs(dataManager.configurablePackages()),
      ElementsAre("whitelist", "block-url", "block-cookies", "hide-elements", "make-https"));
  EXPECT_THAT(dataManager.customPackages(), IsEmpty());
  EXPECT_THAT(
      packageIDs(dataManager.packages()),
      ElementsAre("block-url", "block-cookies", "hide-elements", "make-https", "whitelist"));
}

TEST_F(DataManagerTest, TheCatalogueIsInCompileOrder) {
  put(customFile, {packageOf("A"), packageOf("B")});
  dataManager.setPreinstalledPackages({packageOf("block-ads"), packageOf("block-trackers")});
  EXPECT_THAT(packageIDs(dataManager.packages()),
              ElementsAre("block-ads", "block-trackers", "block-url", "block-cookies",
                          "hide-elements", "make-https", "A", "B", "whitelist"));
}

TEST_F(DataManagerTest, TheCatalogueIsTheOneOfTheFiles) {
  put(preinstalledFile, {packageOf("block-ads")});
  put(customFile, {packageOf("A"), packageOf("B")});
  dataManager.setPreinstalledPackages(process.store.readPreinstalledPackages());
  std::vector<Package> packages;
  for (const auto* package : dataManager.packages()) packages.push_back(*package);
  EXPECT_EQ(packages, process.store.readAllPackages());
}

TEST_F(DataManagerTest, PreinstalledPackagesStandUnderTheirHeadings) {
  dataManager.setPreinstalledPackages({packageOf("block-ads"), packageOf("block-international"),
                                       packageOf("block-custom"), packageOf("block-comments"),
                                       packageOf("something-else")});
  EXPECT_THAT(packageIDs(dataManager.generalPackages()),
              ElementsAre("block-ads", "block-comments"));
  EXPECT_THAT(packageIDs(dataManager.internationalPackages()), ElementsAre("block-international"));
  EXPECT_EQ(dataManager.preinstalledPackages().size(), 5U);
}

TEST_F(DataManagerTest, AConfigurablePackageIsFoundByItsType) {
  put(configurableFile, {packageOf("whitelist", {blockRule("1")}), packageOf("block-url")});
  EXPECT_EQ(dataManager.configurablePackage(ConfigurablePackageType::BlockURL)->id, "block-url");
  EXPECT_EQ(dataManager.configurablePackage(ConfigurablePackageType::makeHttps)->id, "make-https");
  EXPECT_EQ(dataManager.configurablePackage(ConfigurablePackageType::HideElements), nullptr);
}

TEST_F(DataManagerTest, OfTwoConfigurablePackagesOfAKindTheFirstIsTaken) {
  put(configurableFile, {packageOf("whitelist", {blockRule("1")}),
                         packageOf("whitelist", {blockRule("2")}), packageOf("make-https")});
  EXPECT_THAT(ruleIDs(process.whitelist()), ElementsAre("1"));
}

using DataManagerDeathTest = DataManagerTest;

TEST_F(DataManagerDeathTest, ACatalogueWithoutConfigurablePackagesStopsTheProcess) {
  dataManager.setConfigurablePackages({});
  EXPECT_DEATH(dataManager.packages(), "^Fatal error: There are no configurable packages");
}

TEST_F(DataManagerTest, AssignedConfigurablePackagesReplaceTheListWithoutAnotherReading) {
  dataManager.setConfigurablePackages(
      {packageOf("whitelist", {blockRule("1")}), packageOf("make-https")});
  EXPECT_THAT(takeLines(), IsEmpty());
  EXPECT_THAT(ruleIDs(process.whitelist()), ElementsAre("1"));
  EXPECT_EQ(ruleIDs(dataManager.published().get()->configurable->front()), (Lines{"1"}));
}

TEST_F(DataManagerTest, AssignedConfigurablePackagesKeepEditsThatAreNotSaved) {
  load();
  dataManager.mergeRemoteRule(blockRule("cloud"), "whitelist");
  dataManager.setConfigurablePackages(
      {packageOf("whitelist", {blockRule("1")}), packageOf("make-https")});
  EXPECT_THAT(ruleIDs(process.whitelist()), ElementsAre("1", "cloud"));
}

// Edits made by the user.

TEST_F(DataManagerTest, AddingARuleWritesReloadsAndThenTells) {
  load();
  EXPECT_TRUE(dataManager.addRule(blockRule("1"), "whitelist"));
  auto expected = savedLines(5, 0);
  expected.emplace_back("[added 1 in whitelist of 1]");
  EXPECT_EQ(takeLines(), expected);
  ASSERT_EQ(process.reloads.size(), 1U);
  EXPECT_TRUE(process.reloads[0].allowsCancelling);
  EXPECT_EQ(process.reloads[0].preferences, &dataManager.preferenceManager());
  EXPECT_FALSE(process.reloads[0].handler) << "it saves without a completion";
  EXPECT_EQ(process.onDisk(PackageType::ConfigurablePackages), dataManager.configurablePackages());
  EXPECT_THAT(ruleIDs(process.whitelist()), ElementsAre("1"));
}

TEST_F(DataManagerTest, AddingARuleWithAKnownIdReplacesIt) {
  dataManager.addRule(blockRule("1", "old"), "hide-elements");
  dataManager.addRule(blockRule("2"), "hide-elements");
  EXPECT_TRUE(dataManager.addRule(blockRule("1", "new"), "hide-elements"));
  EXPECT_EQ(process.configurable(ConfigurablePackageType::HideElements).rules,
            (std::vector{blockRule("1", "new"), blockRule("2")}));
}

TEST_F(DataManagerTest, ARuleCanBeAddedToACustomPackageInItsPlace) {
  put(customFile, {packageOf("A"), packageOf("B"), packageOf("C")});
  load();
  EXPECT_TRUE(dataManager.addRule(blockRule("1"), "B"));
  auto expected = savedLines(5, 3);
  expected.emplace_back("[added 1 in B of 1]");
  EXPECT_EQ(takeLines(), expected);
  EXPECT_EQ(process.onDisk(PackageType::CustomPackages),
            (std::vector{packageOf("A"), packageOf("B", {blockRule("1")}), packageOf("C")}));
}

TEST_F(DataManagerTest, TheConfigurablePackageOfAnIdComesBeforeTheCustomOne) {
  put(customFile, {packageOf("whitelist")});
  EXPECT_TRUE(dataManager.addRule(blockRule("1"), "whitelist"));
  EXPECT_THAT(ruleIDs(process.whitelist()), ElementsAre("1"));
  EXPECT_THAT(dataManager.customPackages().front().rules, IsEmpty());
}

TEST_F(DataManagerTest, ARuleForAnUnknownPackageIsOnlyLogged) {
  load();
  EXPECT_FALSE(dataManager.addRule(blockRule("1"), "nowhere"));
  EXPECT_THAT(takeLines(), ElementsAre("Can't find package with identifier nowhere"));
  EXPECT_FALSE(files().has(configurableFile));
  EXPECT_THAT(process.reloads, IsEmpty());
}

TEST_F(DataManagerTest, APreinstalledPackageTakesNoRules) {
  load();
  dataManager.setPreinstalledPackages({packageOf("block-ads")});
  EXPECT_FALSE(dataManager.addRule(blockRule("1"), "block-ads"));
  EXPECT_THAT(takeLines(), ElementsAre("Can't find package with identifier block-ads"));
}

TEST_F(DataManagerTest, ReplacingARuleWithNothingRemovesItAndTellsOfTheRemoval) {
  put(configurableFile, {packageOf("whitelist", {blockRule("1"), blockRule("2")})});
  load();
  EXPECT_TRUE(dataManager.replaceRule(blockRule("1"), std::nullopt, whitelistType));
  auto expected = savedLines(2, 0);
  expected.emplace_back("[deleted 1 in whitelist of 2]");
  EXPECT_EQ(takeLines(), expected);
  EXPECT_THAT(ruleIDs(process.onDisk(PackageType::ConfigurablePackages).front()), ElementsAre("2"));
  EXPECT_TRUE(process.reloads.at(0).allowsCancelling);
}

TEST_F(DataManagerTest, ReplacingARuleWithOneOfItsIdTellsOfTheAddition) {
  put(configurableFile, {packageOf("whitelist", {blockRule("1"), blockRule("2")})});
  load();
  EXPECT_TRUE(dataManager.replaceRule(blockRule("1"), blockRule("1", "new"), whitelistType));
  auto expected = savedLines(2, 0);
  expected.emplace_back("[added 1 in whitelist of 1 2]");
  EXPECT_EQ(takeLines(), expected);
  EXPECT_EQ(process.whitelist().rules, (std::vector{blockRule("1", "new"), blockRule("2")}));
}

TEST_F(DataManagerTest, ReplacingARuleWithOneOfAnotherIdTellsOfTheRemovalAndTheAddition) {
  put(configurableFile, {packageOf("whitelist", {blockRule("1"), blockRule("2")})});
  load();
  EXPECT_TRUE(dataManager.replaceRule(blockRule("1"), blockRule("3"), whitelistType));
  auto expected = savedLines(2, 0);
  expected.emplace_back("[deleted 1 in whitelist of 3 2]");
  expected.emplace_back("[added 3 in whitelist of 3 2]");
  EXPECT_EQ(takeLines(), expected);
}

TEST_F(DataManagerTest, OnlyTheFirstEqualRuleIsReplaced) {
  put(configurableFile,
      {packageOf("whitelist", {blockRule("1", "other"), blockRule("1"), blockRule("1")})});
  EXPECT_TRUE(dataManager.replaceRule(blockRule("1"), std::nullopt, whitelistType));
  EXPECT_EQ(process.whitelist().rules, (std::vector{blockRule("1", "other"), blockRule("1")}));
}

TEST_F(DataManagerTest, ARuleThatIsNowhereIsNotReplaced) {
  put(configurableFile, {packageOf("whitelist", {blockRule("1")})});
  load();
  EXPECT_FALSE(dataManager.replaceRule(blockRule("2"), blockRule("3"), whitelistType));
  EXPECT_FALSE(dataManager.replaceRule(blockRule("1", "other"), std::nullopt, whitelistType));
  EXPECT_FALSE(
      dataManager.replaceRule(blockRule("1"), std::nullopt, ConfigurablePackageType::makeHttps));
  EXPECT_FALSE(
      dataManager.replaceRule(blockRule("1"), std::nullopt, ConfigurablePackageType::HideElements));
  EXPECT_THAT(takeLines(), IsEmpty());
  EXPECT_THAT(ruleIDs(process.whitelist()), ElementsAre("1"));
}

TEST_F(DataManagerTest, NobodyNeedsToListen) {
  DataManager deaf(process.machine.platform, process.store, process.machine.suite(),
                   *process.writeQueue, [](auto&, bool, const auto&) {}, {});
  EXPECT_TRUE(deaf.addRule(blockRule("1"), "whitelist"));
  EXPECT_TRUE(deaf.replaceRule(blockRule("1"), std::nullopt, whitelistType));
}

// Edits that arrive from the cloud.

TEST_F(DataManagerTest, APackageFromTheCloudIsAppendedOrReplacesTheOneWithItsId) {
  put(customFile, {packageOf("A"), packageOf("B")});
  load();
  dataManager.addPackage(packageOf("A", {blockRule("1")}));
  dataManager.addPackage(packageOf("C"));
  EXPECT_EQ(dataManager.customPackages(),
            (std::vector{packageOf("A", {blockRule("1")}), packageOf("B"), packageOf("C")}));
  EXPECT_THAT(takeLines(), IsEmpty()) << "neither saved nor told";
  EXPECT_EQ(process.onDisk(PackageType::CustomPackages),
            (std::vector{packageOf("A"), packageOf("B")}));
}

TEST_F(DataManagerTest, APackageFromTheCloudWithAConfigurableIdIsRefused) {
  put(configurableFile, {packageOf("whitelist", {blockRule("mine")})});
  load();
  const auto before = dataManager.configurablePackages();
  Lines expected;
  for (const char* id :
       {"whitelist", "block-url", "block-cookies", "hide-elements", "make-https"}) {
    dataManager.addPackage(packageOf(id, {blockRule("1")}));
    expected.push_back(std::string("There's already a configurable package with ID ") + id);
  }
  EXPECT_EQ(takeLines(), expected);
  EXPECT_EQ(dataManager.configurablePackages(), before);
  EXPECT_THAT(dataManager.customPackages(), IsEmpty());
}

TEST_F(DataManagerTest, ARuleFromTheCloudIsSetInItsPackageWithoutSavingOrTelling) {
  put(customFile, {packageOf("A", {blockRule("1")})});
  load();
  dataManager.mergeRemoteRule(blockRule("1", "new"), "A");
  dataManager.mergeRemoteRule(blockRule("2"), "make-https");
  EXPECT_THAT(takeLines(), IsEmpty());
  EXPECT_EQ(dataManager.customPackages().front().rules, (std::vector{blockRule("1", "new")}));
  EXPECT_THAT(ruleIDs(process.configurable(ConfigurablePackageType::makeHttps)), ElementsAre("2"));
}

TEST_F(DataManagerTest, ARuleFromTheCloudForAnUnknownPackageIsDropped) {
  load();
  const auto before = dataManager.configurablePackages();
  dataManager.mergeRemoteRule(blockRule("1"), "nowhere");
  EXPECT_THAT(takeLines(), ElementsAre("Can't find package with identifier nowhere"));
  EXPECT_EQ(dataManager.configurablePackages(), before);
  EXPECT_THAT(dataManager.customPackages(), IsEmpty());
  EXPECT_TRUE(dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_EQ(takeLines(), savedLines(5, 0)) << "nothing is told";
}

TEST_F(DataManagerTest, RemovingAnItemTakesTheCustomPackageOrElseTheRule) {
  put(configurableFile, {packageOf("whitelist", {blockRule("A"), blockRule("1")})});
  put(customFile, {packageOf("A", {blockRule("1")}), packageOf("B", {blockRule("2")})});
  load();
  dataManager.removeItem("A");
  EXPECT_THAT(packageIDs(dataManager.customPackages()), ElementsAre("B"));
  EXPECT_THAT(ruleIDs(process.whitelist()), ElementsAre("A", "1"));
  dataManager.removeItem("A");
  EXPECT_THAT(ruleIDs(process.whitelist()), ElementsAre("1"));
  dataManager.removeItem("2");
  EXPECT_THAT(dataManager.customPackages().front().rules, IsEmpty());
  dataManager.removeItem("nowhere");
  dataManager.removeItem("whitelist");
  EXPECT_THAT(packageIDs(dataManager.configurablePackages()),
              ElementsAre("whitelist", "make-https"));
  EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_F(DataManagerTest, RemovingManyItemsIsRemovingEachInTurnAndNobodyIsTold) {
  put(configurableFile, {packageOf("whitelist", {blockRule("A"), blockRule("1")})});
  put(customFile, {packageOf("A", {blockRule("1")}),
                   packageOf("B", {blockRule("2"), blockRule("1"), blockRule("3")})});
  load();
  dataManager.removeItems({"A", "1", "nowhere", "A", "whitelist", "2", "1"});
  EXPECT_THAT(ruleIDs(process.whitelist()), IsEmpty());
  EXPECT_EQ(dataManager.customPackages(), std::vector{packageOf("B", {blockRule("3")})});
  EXPECT_THAT(takeLines(), IsEmpty());
  EXPECT_TRUE(dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_EQ(takeLines(), savedLines(2, 1));
}

TEST_F(DataManagerTest, WhatCameFromTheCloudIsOnDiskAfterASaveAndNobodyIsTold) {
  put(customFile, {packageOf("A", {blockRule("1")}), packageOf("B")});
  load();
  dataManager.addPackage(packageOf("C", {blockRule("3")}));
  dataManager.mergeRemoteRule(blockRule("2"), "whitelist");
  dataManager.removeItem("A");
  EXPECT_TRUE(dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_EQ(takeLines(), savedLines(5, 2));
  EXPECT_EQ(process.onDisk(PackageType::CustomPackages),
            (std::vector{packageOf("B"), packageOf("C", {blockRule("3")})}));
  EXPECT_THAT(ruleIDs(process.onDisk(PackageType::ConfigurablePackages).front()), ElementsAre("2"));
}

// Saving.

TEST_F(DataManagerTest, EverySaveWritesBothListsAndReloads) {
  put(customFile, {packageOf("A")});
  load();
  for (const auto kind : {PackageCollectionType::general, PackageCollectionType::international,
                          PackageCollectionType::custom}) {
    EXPECT_TRUE(dataManager.save(kind, nullptr));
    EXPECT_EQ(takeLines(), savedLines(5, 1));
  }
}

TEST_F(DataManagerTest, ASaveLoadsListsThatAreAbsent) {
  put(customFile, {packageOf("A")});
  EXPECT_TRUE(dataManager.save(PackageCollectionType::custom, nullptr));
  auto expected = savedLines(5, 1);
  expected.insert(expected.begin(), "CustomPackages.json is in Shared Container.");
  EXPECT_EQ(takeLines(), expected);
}

TEST_F(DataManagerTest, TheCompletionGetsTheResultOfTheReload) {
  std::vector<SafariReloadingResult> results;
  EXPECT_TRUE(dataManager.save(PackageCollectionType::custom,
                               [&](const auto& result) { results.push_back(result); }));
  EXPECT_THAT(results, IsEmpty());
  const auto failed = SafariReloadingResult::error({"test", 1, "no"});
  process.reloads.at(0).handler(failed);
  EXPECT_THAT(results, ElementsAre(failed));
}

TEST_F(DataManagerTest, FilesAreWrittenBehindWhatTheWriteQueueHasToDo) {
  load();
  std::string found = "never asked";
  process.writeQueue->post([&] { found = files().has(configurableFile) ? "there" : "missing"; });
  EXPECT_TRUE(dataManager.addRule(blockRule("1"), "whitelist"));
  EXPECT_EQ(found, "missing");
  EXPECT_TRUE(files().has(configurableFile));
}

TEST_F(DataManagerTest, ASaveHoldsTheLockOnlyWhileItWrites) {
  load();
  EXPECT_TRUE(dataManager.save(PackageCollectionType::custom, nullptr));
  const auto lock = process.store.lockPackageFiles();
  ASSERT_TRUE(lock);
  EXPECT_FALSE(dataManager.addRule(blockRule("1"), "whitelist"))
      << "the lock that somebody holds is an error on a machine in memory";
  EXPECT_EQ(takeLog(), (Lines{"held already: " + lockFile}));
}

// Failures.

TEST_F(DataManagerTest, ARuleThatCannotBeWrittenIsToldOfByTheSaveThatSucceeds) {
  put(customFile, {packageOf("A")});
  load();
  files().failAt(Operation::replace, configurableFile);
  EXPECT_FALSE(dataManager.addRule(blockRule("1"), "whitelist"));
  EXPECT_THAT(takeLines(), ElementsAre("[WillSavePackages]", "Wrote 1 packages to " + customFile,
                                       "[DidSavePackages]", "[reload]"));
  EXPECT_EQ(takeLog(), (Lines{"ordered failure"}));
  EXPECT_THAT(ruleIDs(process.whitelist()), ElementsAre("1"));
  files().stopFailing();
  EXPECT_TRUE(dataManager.save(PackageCollectionType::custom, nullptr));
  auto expected = savedLines(5, 1);
  expected.emplace_back("[added 1 in whitelist of 1]");
  EXPECT_EQ(takeLines(), expected);
  EXPECT_EQ(process.onDisk(PackageType::ConfigurablePackages), dataManager.configurablePackages());
  EXPECT_TRUE(dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_EQ(takeLines(), savedLines(5, 1)) << "told once";
}

TEST_F(DataManagerTest, ARuleThatIsRemovedBeforeItCouldBeWrittenIsNotToldOf) {
  load();
  files().failAt(Operation::replace, configurableFile);
  EXPECT_FALSE(dataManager.addRule(blockRule("1"), "whitelist"));
  EXPECT_FALSE(dataManager.addRule(blockRule("2"), "make-https"));
  files().stopFailing();
  takeLines();
  dataManager.removeItem("1");
  EXPECT_TRUE(dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_THAT(ruleIDs(process.whitelist()), IsEmpty());
  auto expected = savedLines(5, 0);
  expected.emplace_back("[added 2 in make-https of 2]");
  EXPECT_EQ(takeLines(), expected);
}

TEST_F(DataManagerTest, ARuleThatIsOnDiskIsToldOfThoughTheOtherListIsNot) {
  put(customFile, {packageOf("A")});
  load();
  files().failAt(Operation::replace, customFile);
  EXPECT_TRUE(dataManager.addRule(blockRule("1"), "whitelist"));
  EXPECT_THAT(takeLines(), Contains("[added 1 in whitelist of 1]").Times(1));
  EXPECT_THAT(ruleIDs(process.onDisk(PackageType::ConfigurablePackages).front()), ElementsAre("1"));
}

TEST_F(DataManagerTest, ARuleThatIsNotOnDiskIsNotSavedThoughTheOtherListIs) {
  put(customFile, {packageOf("A")});
  load();
  files().failAt(Operation::replace, configurableFile);
  EXPECT_FALSE(dataManager.addRule(blockRule("1"), "whitelist"));
  EXPECT_THAT(takeLines(), ::testing::Not(Contains("[added 1 in whitelist of 1]")));
}

TEST_F(DataManagerTest, WithoutTheLockNothingIsWritten) {
  put(customFile, {packageOf("A")});
  load();
  files().failAt(Operation::lock, lockFile);
  EXPECT_FALSE(dataManager.addRule(blockRule("1"), "A"));
  EXPECT_THAT(takeLines(), ElementsAre("[WillSavePackages]", "[DidSavePackages]", "[reload]"));
  EXPECT_EQ(takeLog(), (Lines{"ordered failure"}));
  EXPECT_FALSE(files().has(configurableFile));
  EXPECT_THAT(process.onDisk(PackageType::CustomPackages).front().rules, IsEmpty());
  files().stopFailing();
  EXPECT_TRUE(dataManager.addRule(blockRule("2"), "A"));
  EXPECT_THAT(ruleIDs(process.onDisk(PackageType::CustomPackages).front()), ElementsAre("1", "2"));
  EXPECT_THAT(takeLines(), Contains("[added 1 in A of 1 2]"));
}

TEST_F(DataManagerTest, AContainerThatVanishesLosesNoEdit) {
  load();
  files().removeFolder(TestPlatform::container);
  EXPECT_FALSE(dataManager.addRule(blockRule("1"), "whitelist"));
  EXPECT_EQ(takeLog(), (Lines{"no such folder: " + std::string(TestPlatform::container)}));
  ASSERT_TRUE(files().createDirectories(TestPlatform::container));
  EXPECT_TRUE(dataManager.addRule(blockRule("2"), "whitelist"));
  EXPECT_THAT(ruleIDs(process.onDisk(PackageType::ConfigurablePackages).front()),
              ElementsAre("1", "2"));
}

TEST_F(DataManagerTest, ADamagedFileIsSetAsideAndTheListThatIsKnownIsWritten) {
  put(customFile, {packageOf("A", {blockRule("1")})});
  load();
  files().put(customFile, "[{\"id\":", 2);
  EXPECT_TRUE(dataManager.addRule(blockRule("2"), "whitelist"));
  EXPECT_EQ(process.onDisk(PackageType::CustomPackages),
            std::vector{packageOf("A", {blockRule("1")})});
  EXPECT_THAT(takeLog(), ElementsAre(HasSubstr("Set aside")));
  EXPECT_EQ(
      files().file(containerFile("CustomPackages.set-aside-1970-01-01T00.00.02Z.json")).contents,
      "[{\"id\":");
}

TEST_F(DataManagerTest, AFileThatCannotBeReadTakesNothingOutOfTheList) {
  put(customFile, {packageOf("A", {blockRule("1")})});
  load();
  files().failAt(Operation::read, customFile);
  EXPECT_TRUE(dataManager.addRule(blockRule("2"), "A"));
  EXPECT_THAT(ruleIDs(dataManager.customPackages().front()), ElementsAre("1", "2"));
  files().stopFailing();
  EXPECT_THAT(ruleIDs(process.onDisk(PackageType::CustomPackages).front()), ElementsAre("1", "2"));
}

TEST_F(DataManagerTest, AFullDiskLosesNothing) {
  put(configurableFile, {packageOf("whitelist")});
  put(customFile, {packageOf("A", {blockRule("old")})});
  load();
  files().failAt(Operation::replace, configurableFile);
  files().failAt(Operation::replace, customFile);
  EXPECT_FALSE(dataManager.addRule(blockRule("1"), "whitelist"));
  EXPECT_FALSE(dataManager.addRule(blockRule("2"), "A"));
  dataManager.removeItem("old");
  EXPECT_FALSE(dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_EQ(process.onDisk(PackageType::CustomPackages),
            std::vector{packageOf("A", {blockRule("old")})});
  takeLines();
  files().stopFailing();
  EXPECT_TRUE(dataManager.save(PackageCollectionType::custom, nullptr));
  auto expected = savedLines(2, 1);
  expected.emplace_back("[added 1 in whitelist of 1]");
  expected.emplace_back("[added 2 in A of 2]");
  EXPECT_EQ(takeLines(), expected);
  EXPECT_EQ(process.onDisk(PackageType::CustomPackages),
            std::vector{packageOf("A", {blockRule("2")})});
}

// What other queues see.

TEST_F(DataManagerTest, OthersSeeWhatIsSavedAndKeepWhatTheyHold) {
  load();
  const auto before = dataManager.published().get();
  dataManager.mergeRemoteRule(blockRule("1"), "whitelist");
  EXPECT_EQ(dataManager.published().get(), before);
  dataManager.save(PackageCollectionType::custom, nullptr);
  EXPECT_THAT(before->configurable->front().rules, IsEmpty());
  EXPECT_THAT(ruleIDs(dataManager.published().get()->configurable->front()), ElementsAre("1"));
}

TEST_F(DataManagerTest, AnEditOfOneListDoesNotCopyTheOther) {
  put(customFile, {packageOf("A")});
  load();
  const auto before = dataManager.published().get();
  dataManager.addRule(blockRule("1"), "whitelist");
  const auto after = dataManager.published().get();
  EXPECT_EQ(after->custom, before->custom);
  EXPECT_NE(after->configurable, before->configurable);
}

TEST_F(DataManagerTest, LookingAtTheCatalogueMakesTheNextEditCopyNothing) {
  load();
  dataManager.mergeRemoteRule(blockRule("1"), "whitelist");
  const auto* list = &dataManager.configurablePackages();
  dataManager.packages();
  dataManager.mergeRemoteRule(blockRule("2"), "whitelist");
  EXPECT_EQ(&dataManager.configurablePackages(), list);
}

TEST_F(DataManagerTest, ThereIsOnePreferenceManager) {
  EXPECT_EQ(&dataManager.preferenceManager(), &dataManager.preferenceManager());
}

}  // namespace
}  // namespace orvane::test
