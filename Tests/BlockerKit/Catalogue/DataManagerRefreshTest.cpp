#include "Tests/BlockerKit/Catalogue/CatalogueFixture.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

using Result = DataManager::RefreshResult;

const std::string bundledFile = std::string(TestPlatform::bundle) + "/PreinstalledPackages.json";

class DataManagerRefreshTest : public CatalogueTest {
 protected:
  void SetUp() override {
    put(preinstalledFile, {packageOf("block-ads")});
    put(configurableFile, {packageOf("whitelist", {blockRule("1")}), packageOf("make-https")});
    put(customFile, {packageOf("A")});
  }
  /// The lines that tell of a file that was read.
  Lines filesRead() {
    Lines read;
    for (const auto& line : takeLines()) {
      if (line.ends_with("is in Shared Container.")) read.push_back(line.substr(0, line.find('.')));
    }
    return read;
  }
};

TEST_F(DataManagerRefreshTest, TheFirstOneLoadsTheWholeCatalogue) {
  EXPECT_EQ(process.refresh(), Result::changed);
  const auto lines = takeLines();
  EXPECT_EQ(lines.back(), "[DidUpdatePreinstalledBlockers]");
  EXPECT_THAT(packageIDs(dataManager.packages()),
              ElementsAre("block-ads", "make-https", "A", "whitelist"));
  EXPECT_THAT(packageIDs(dataManager.published().get()->packages()),
              ElementsAre("block-ads", "make-https", "A", "whitelist"));
  EXPECT_THAT(takeLines(), IsEmpty()) << "nothing is left to be read";
  EXPECT_THAT(process.reloads, IsEmpty());
}

TEST_F(DataManagerRefreshTest, AnUnchangedCatalogueIsNotReadAgain) {
  process.refresh();
  takeLines();
  const auto before = dataManager.published().get();
  EXPECT_EQ(process.refresh(), Result::unchanged);
  EXPECT_THAT(takeLines(), IsEmpty());
  EXPECT_EQ(dataManager.published().get(), before);
}

TEST_F(DataManagerRefreshTest, AFileThatOnlyGotANewDateIsNotReadAgain) {
  process.refresh();
  takeLines();
  files().files[customFile].date = atSecond(9);
  EXPECT_EQ(process.refresh(), Result::unchanged);
  EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_F(DataManagerRefreshTest, WhatThisProcessSavedIsNotReadAgain) {
  process.refresh();
  dataManager.addRule(blockRule("2"), "whitelist");
  takeLines();
  EXPECT_EQ(process.refresh(), Result::unchanged);
  EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_F(DataManagerRefreshTest, OnlyTheChangedListIsReadAndReplaced) {
  process.refresh();
  takeLines();
  const auto before = dataManager.published().get();
  put(customFile, {packageOf("A"), packageOf("B")}, 2);
  EXPECT_EQ(process.refresh(), Result::changed);
  EXPECT_THAT(filesRead(), Not(Contains("ConfigurablePackages")));
  const auto after = dataManager.published().get();
  EXPECT_THAT(packageIDs(*after->custom), ElementsAre("A", "B"));
  EXPECT_EQ(after->configurable, before->configurable);
  EXPECT_EQ(after->preinstalled, before->preinstalled);

  put(configurableFile, {packageOf("whitelist"), packageOf("make-https")}, 2);
  EXPECT_EQ(process.refresh(), Result::changed);
  EXPECT_THAT(filesRead(), Not(Contains("CustomPackages")));
  EXPECT_THAT(process.whitelist().rules, IsEmpty());
}

TEST_F(DataManagerRefreshTest, NewPreinstalledPackagesAreAnnounced) {
  process.refresh();
  takeLines();
  const auto before = dataManager.published().get();
  files().put(bundledFile, packagesJSON({packageOf("block-ads"), packageOf("block-comments")}), 5);
  EXPECT_EQ(process.refresh(), Result::changed);
  const auto lines = takeLines();
  EXPECT_THAT(lines, Contains("PreinstalledPackages.json is in Shared Container.").Times(1));
  EXPECT_EQ(lines.back(), "[DidUpdatePreinstalledBlockers]");
  EXPECT_THAT(packageIDs(dataManager.generalPackages()),
              ElementsAre("block-ads", "block-comments"));
  EXPECT_EQ(dataManager.published().get()->custom, before->custom);
}

TEST_F(DataManagerRefreshTest, ADeletedFileIsAChange) {
  process.refresh();
  files().files.erase(customFile);
  EXPECT_EQ(process.refresh(), Result::changed);
  EXPECT_THAT(dataManager.customPackages(), IsEmpty());
}

TEST_F(DataManagerRefreshTest, ItDoesNotWaitForTheFiles) {
  std::optional<Result> result;
  dataManager.refresh([&](Result now) { result = now; });
  EXPECT_THAT(takeLines(), IsEmpty());
  EXPECT_THAT(dataManager.preinstalledPackages(), IsEmpty());
  process.machine.time.runUntilIdle();
  EXPECT_EQ(result, Result::changed);
}

TEST_F(DataManagerRefreshTest, WithoutTheFolderItFailsAndTheCatalogueStays) {
  process.refresh();
  files().removeFolder(TestPlatform::container);
  takeLines();
  EXPECT_EQ(process.refresh(), Result::failed);
  EXPECT_EQ(takeLog(), (Lines{"The folder '" + std::string(TestPlatform::container) +
                              "' with the packages is missing."}));
  EXPECT_THAT(packageIDs(dataManager.packages()),
              ElementsAre("block-ads", "make-https", "A", "whitelist"));
  SetUp();
  EXPECT_EQ(process.refresh(), Result::unchanged);
}

TEST_F(DataManagerRefreshTest, ADamagedFileLeavesItsListAsItIs) {
  process.refresh();
  files().put(customFile, "[{\"id\":", 2);
  files().put(configurableFile, "no JSON", 2);
  files().put(preinstalledFile, "no JSON either", 2);
  EXPECT_EQ(process.refresh(), Result::unchanged);
  EXPECT_THAT(packageIDs(dataManager.packages()),
              ElementsAre("block-ads", "make-https", "A", "whitelist"));
  EXPECT_EQ(files().file(customFile).contents, "[{\"id\":");
  put(customFile, {packageOf("B")}, 3);
  EXPECT_EQ(process.refresh(), Result::changed);
  EXPECT_THAT(packageIDs(dataManager.customPackages()), ElementsAre("B"));
}

TEST_F(DataManagerRefreshTest, AFileThatCannotBeReadLeavesItsListAsItIs) {
  process.refresh();
  for (const auto& file : {customFile, configurableFile, preinstalledFile}) {
    files().failAt(Operation::read, file);
  }
  EXPECT_EQ(process.refresh(), Result::incomplete);
  EXPECT_THAT(takeLog(), Contains("ordered failure"));
  EXPECT_THAT(packageIDs(dataManager.packages()),
              ElementsAre("block-ads", "make-https", "A", "whitelist"));
}

TEST_F(DataManagerRefreshTest, DamagedPreinstalledPackagesComeFromTheBundleAgain) {
  files().put(bundledFile, packagesJSON({packageOf("block-trackers")}), 1);
  files().put(preinstalledFile, "damaged", 2);
  EXPECT_EQ(process.refresh(), Result::changed);
  EXPECT_THAT(packageIDs(dataManager.preinstalledPackages()), ElementsAre("block-trackers"));
  EXPECT_EQ(files().file(preinstalledFile).contents, packagesJSON({packageOf("block-trackers")}));
  EXPECT_THAT(takeLog(), Contains(HasSubstr("Set aside")));
  EXPECT_EQ(process.refresh(), Result::unchanged);
}

TEST_F(DataManagerRefreshTest, PreinstalledPackagesThatCannotBeReadAtAllComeFromTheBundleAgain) {
  files().put(bundledFile, packagesJSON({packageOf("block-trackers")}), 1);
  files().put(preinstalledFile, packagesJSON({packageOf("block-ads")}), 2);
  files().failAt(Operation::read, preinstalledFile);
  // What is renamed cannot be read under its new name either, but the copy of the bundle can.
  process.machine.time.runUntilIdle();
  process.refresh();
  files().stopFailing();
  process.refresh();
  EXPECT_THAT(packageIDs(dataManager.preinstalledPackages()), ElementsAre("block-trackers"));
}

TEST_F(DataManagerRefreshTest, ADamagedBundleRepairsNothing) {
  files().put(bundledFile, "damaged too", 1);
  files().put(preinstalledFile, "damaged", 2);
  process.refresh();
  EXPECT_THAT(dataManager.preinstalledPackages(), IsEmpty());
  EXPECT_EQ(files().file(preinstalledFile).contents, "damaged");
}

TEST_F(DataManagerRefreshTest, RulesWithoutAnIdGetOneForGood) {
  const std::string anonymous =
      R"([{"id":"A","name":"","rules":[{"name":"","content":{"trigger":{"url-filter":"x"},)"
      R"("action":{"type":"block"}}}]}])";
  files().put(customFile, anonymous, 2);
  EXPECT_EQ(process.refresh(), Result::changed);
  EXPECT_EQ(process.onDisk(PackageType::CustomPackages), dataManager.customPackages());
  EXPECT_THAT(ruleIDs(dataManager.customPackages().front()), Not(ElementsAre("")));
  EXPECT_EQ(process.refresh(), Result::unchanged);
}

TEST_F(DataManagerRefreshTest, EditsThatAreNotSavedSurviveIt) {
  process.refresh();
  dataManager.mergeRemoteRule(blockRule("cloud"), "whitelist");
  dataManager.addPackage(packageOf("C"));
  dataManager.removeItem("A");
  put(configurableFile, {packageOf("whitelist", {blockRule("other")}), packageOf("make-https")}, 2);
  put(customFile, {packageOf("A"), packageOf("B")}, 2);
  EXPECT_EQ(process.refresh(), Result::changed);
  EXPECT_THAT(ruleIDs(process.whitelist()), ElementsAre("other", "cloud"));
  EXPECT_THAT(packageIDs(dataManager.customPackages()), ElementsAre("B", "C"));
}

TEST_F(DataManagerRefreshTest, EditsOfTheListThatIsNotReadAreNotMadeTwice) {
  put(customFile, {packageOf("A", {blockRule("1")}), packageOf("B", {blockRule("1")})});
  put(configurableFile, {packageOf("whitelist"), packageOf("make-https")});
  process.refresh();
  dataManager.removeItem("1");
  put(configurableFile, {packageOf("whitelist", {blockRule("2")}), packageOf("make-https")}, 2);
  EXPECT_EQ(process.refresh(), Result::changed);
  EXPECT_EQ(dataManager.customPackages(),
            (std::vector{packageOf("A"), packageOf("B", {blockRule("1")})}));
}

TEST_F(DataManagerRefreshTest, ASaveMeanwhileIsNotUndone) {
  process.refresh();
  put(customFile, {packageOf("A"), packageOf("B")}, 2);
  std::optional<Result> result;
  dataManager.refresh([&](Result now) { result = now; });
  process.machine.time.runOne();  // the files have been read, the result is on its way
  EXPECT_TRUE(dataManager.addRule(blockRule("2"), "A"));
  put(configurableFile, {packageOf("whitelist"), packageOf("make-https")}, 3);
  process.machine.time.runUntilIdle();
  EXPECT_EQ(result, Result::changed);
  EXPECT_EQ(dataManager.customPackages(),
            (std::vector{packageOf("A", {blockRule("2")}), packageOf("B")}));
  EXPECT_EQ(process.onDisk(PackageType::CustomPackages), dataManager.customPackages());
  EXPECT_THAT(process.whitelist().rules, IsEmpty());
}

TEST_F(DataManagerRefreshTest, AManagerThatIsGoneIsNotCalledBack) {
  bool isCalled = false;
  for (const bool runsOnWriteQueue : {false, true}) {
    auto gone = std::make_unique<DataManager>(
        process.machine.platform, process.store, process.machine.suite(), *process.writeQueue,
        [](auto&, bool, const auto&) {}, LocalChangeHooks{});
    gone->refresh([&](Result) { isCalled = true; });
    if (runsOnWriteQueue) process.machine.time.runOne();
    gone.reset();
    process.machine.time.runUntilIdle();
    EXPECT_FALSE(isCalled);
  }
}

}  // namespace
}  // namespace orvane::test
