#include <thread>

#include "Tests/BlockerKit/PersistentStore/StoreFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto ads = PackageType::blockAds;

class PackageFiles : public StoreTest {
 protected:
  std::optional<std::vector<Package>> readAds() { return store.readPackages(ads, false); }
  /// The id of the package that is read, which tells where it came from.
  std::string source() {
    const auto packages = readAds();
    return packages ? packages->front().id : "absent";
  }
};

TEST_F(PackageFiles, newerBundleCopyIsCopiedOverTheSharedOneBeforeParsing) {
  files().put(bundle("block-ads.json"), packageJSON("from-bundle"), 20);
  files().put(shared("block-ads.json"), packageJSON("from-shared"), 10);

  EXPECT_EQ(source(), "from-bundle");
  EXPECT_EQ(contents(shared("block-ads.json")), packageJSON("from-bundle"));
  const auto from = bundle("block-ads.json");
  const auto to = shared("block-ads.json");
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Copying from " + from + " to Shared Container " + to,
                          "File block-ads.json already exists in '" + to + "'",
                          "Removed file block-ads.json from '" + to + "'",
                          "Copied '" + from + "' to '" + to + "'",
                          "block-ads.json is in Shared Container."));
}

TEST_F(PackageFiles, olderBundleCopyIsLeftAlone) {
  files().put(bundle("block-ads.json"), packageJSON("from-bundle"), 10);
  files().put(shared("block-ads.json"), packageJSON("from-shared"), 20);

  EXPECT_EQ(source(), "from-shared");
  EXPECT_EQ(contents(shared("block-ads.json")), packageJSON("from-shared"));
  EXPECT_THAT(machine.standardOutput.lines, ElementsAre("block-ads.json is in Shared Container."));
}

TEST_F(PackageFiles, fileOnlyInTheDocumentsDirectoryIsCopiedAndParsedFromTheSharedContainer) {
  files().put(documents("block-ads.json"), packageJSON("from-documents"), 5);

  EXPECT_EQ(source(), "from-documents");
  EXPECT_EQ(contents(shared("block-ads.json")), packageJSON("from-documents"));
  const auto from = documents("block-ads.json");
  const auto to = shared("block-ads.json");
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Copying from " + from + " to Shared Container " + to,
                          "Copied '" + from + "' to '" + to + "'",
                          "block-ads.json is in Shared Container."));
}

TEST_F(PackageFiles, documentsCopyThatIsNewestOfThreeWins) {
  files().put(bundle("block-ads.json"), packageJSON("from-bundle"), 10);
  files().put(shared("block-ads.json"), packageJSON("from-shared"), 20);
  files().put(documents("block-ads.json"), packageJSON("from-documents"), 30);
  EXPECT_EQ(source(), "from-documents");
}

TEST_F(PackageFiles, bundleCopyThatIsNewestOfThreeWins) {
  files().put(bundle("block-ads.json"), packageJSON("from-bundle"), 30);
  files().put(shared("block-ads.json"), packageJSON("from-shared"), 10);
  files().put(documents("block-ads.json"), packageJSON("from-documents"), 20);
  EXPECT_EQ(source(), "from-bundle");
}

TEST_F(PackageFiles, copyKeepsItsDateSoThatTheNextReadCopiesNothingAndANewerBundleStillWins) {
  files().put(bundle("block-ads.json"), packageJSON("first"), 10);
  EXPECT_EQ(source(), "first");
  EXPECT_EQ(files().file(shared("block-ads.json")).date, atSecond(10));

  machine.standardOutput.take();
  EXPECT_EQ(source(), "first");
  EXPECT_THAT(machine.standardOutput.take(), ElementsAre("block-ads.json is in Shared Container."));

  files().put(bundle("block-ads.json"), packageJSON("second"), 11);
  EXPECT_EQ(source(), "second");
}

TEST_F(PackageFiles, sharedCopyIsParsedWhenSeveralHaveTheSameDate) {
  files().put(bundle("block-ads.json"), packageJSON("from-bundle"), 10);
  files().put(shared("block-ads.json"), packageJSON("from-shared"), 10);
  files().put(documents("block-ads.json"), packageJSON("from-documents"), 10);
  EXPECT_EQ(source(), "from-shared");
}

TEST_F(PackageFiles, candidateWithoutAModificationDateDropsOutWithALine) {
  files().putUndated(shared("block-ads.json"), packageJSON("from-shared"));
  files().put(documents("block-ads.json"), packageJSON("from-documents"), 1);

  EXPECT_EQ(source(), "from-documents");
  EXPECT_EQ(machine.standardOutput.lines.front(),
            "No modification date for file at path " + shared("block-ads.json"));
}

TEST_F(PackageFiles, noCopyAnywhereParsesNothing) {
  EXPECT_EQ(readAds(), std::nullopt);
  EXPECT_THAT(machine.standardOutput.lines, IsEmpty());
}

TEST_F(PackageFiles, failedCopyIsLoggedAndTheSharedFileIsParsedAnyway) {
  files().put(bundle("block-ads.json"), packageJSON("from-bundle"), 20);
  files().put(shared("block-ads.json"), packageJSON("from-shared"), 10);
  files().failAt(Operation::replace, shared("block-ads.json"));

  EXPECT_EQ(source(), "from-shared");
  const auto from = bundle("block-ads.json");
  const auto to = shared("block-ads.json");
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Copying from " + from + " to Shared Container " + to,
                          "File block-ads.json already exists in '" + to + "'",
                          "Error copying '" + from + "' to '" + to + "': ordered failure",
                          "block-ads.json is in Shared Container."));
}

TEST_F(PackageFiles, failedCopyToNowhereReadsAsAbsent) {
  files().put(bundle("block-ads.json"), packageJSON("from-bundle"), 20);
  files().failAt(Operation::replace, shared("block-ads.json"));
  EXPECT_EQ(readAds(), std::nullopt);
}

TEST_F(PackageFiles, unreadableFileReadsAsAbsent) {
  files().put(shared("block-ads.json"), packageJSON("x"), 1);
  files().failAt(Operation::read, shared("block-ads.json"));
  EXPECT_EQ(readAds(), std::nullopt);
}

TEST_F(PackageFiles, emptyFileBehavesLikeAMissingOne) {
  files().put(shared("block-ads.json"), "", 1);
  files().put(shared("CustomPackages.json"), "", 1);
  files().put(shared("ConfigurablePackages.json"), "", 1);
  EXPECT_EQ(readAds(), std::nullopt);
  EXPECT_THAT(store.readCustomPackages(), IsEmpty());
  EXPECT_EQ(store.readConfigurablePackages().size(), 5U);
}

TEST_F(PackageFiles, malformedFileReadsAsAbsent) {
  files().put(shared("block-ads.json"), "{\"id\":", 1);
  EXPECT_EQ(readAds(), std::nullopt);
}

TEST_F(PackageFiles, byteOrderMarkAtTheStartIsSkipped) {
  files().put(shared("block-ads.json"), "\xEF\xBB\xBF" + packageJSON("marked"), 1);
  EXPECT_EQ(source(), "marked");
}

TEST_F(PackageFiles, categoryFileThatHoldsAListReadsAsAbsent) {
  files().put(shared("block-ads.json"), "[" + packageJSON("x") + "]", 1);
  EXPECT_EQ(readAds(), std::nullopt);
}

TEST_F(PackageFiles, collectionFileThatHoldsOnePackageObjectReadsAsAnEmptyList) {
  files().put(shared("CustomPackages.json"), packageJSON("x"), 1);
  EXPECT_THAT(store.readPackages(PackageType::CustomPackages, true)->size(), 0);
}

TEST_F(PackageFiles, everyKindHasItsFile) {
  for (const auto& [type, name] : RawValues<PackageType>::table) {
    const bool isCollection = name.ends_with("Packages.json");
    const auto package = packageJSON("in-" + std::string(name));
    files().put(shared(std::string(name)), isCollection ? "[" + package + "]" : package, 1);
    const auto packages = store.readPackages(type, isCollection);
    ASSERT_TRUE(packages) << name;
    EXPECT_THAT(ids(*packages), ElementsAre("in-" + std::string(name)));
  }
}

TEST_F(PackageFiles, standardPackagesComeInTheirFixedOrder) {
  for (const auto* id : {"block-adult", "block-ads", "block-comments", "block-trackers",
                         "block-annoyances", "block-international", "block-custom"}) {
    files().put(bundle(std::string(id) + ".json"), packageJSON(id), 1);
  }
  EXPECT_THAT(ids(store.readStandardPackages()),
              ElementsAre("block-ads", "block-trackers", "block-annoyances", "block-comments",
                          "block-adult"));
}

TEST_F(PackageFiles, missingStandardPackagesAreNamedAndTheOthersReturned) {
  files().put(bundle("block-trackers.json"), packageJSON("block-trackers"), 1);
  store.readStandardPackages();
  machine.standardOutput.take();

  EXPECT_THAT(ids(store.readStandardPackages()), ElementsAre("block-trackers"));
  EXPECT_THAT(
      machine.standardOutput.lines,
      ElementsAre("blockAds doesn't exist on disk.", "block-trackers.json is in Shared Container.",
                  "blockAnnoyances doesn't exist on disk.", "blockComments doesn't exist on disk.",
                  "blockAdult doesn't exist on disk."));
}

TEST_F(PackageFiles, absentCollectionsReadAsEmptyLists) {
  EXPECT_THAT(store.readPreinstalledPackages(), IsEmpty());
  EXPECT_THAT(store.readCustomPackages(), IsEmpty());
}

TEST_F(PackageFiles, absentConfigurablePackagesAreTheFiveDefaults) {
  EXPECT_EQ(store.readConfigurablePackages(),
            (std::vector<Package>{{"whitelist", "Whitelist", {}},
                                  {"block-url", "Block URLs", {}},
                                  {"block-cookies", "Block Cookies", {}},
                                  {"hide-elements", "Hide Page Elements", {}},
                                  {"make-https", "Make HTTPS-only", {}}}));
}

TEST_F(PackageFiles, configurableFileWithOnlyBlockURLIsCompletedAtBothEnds) {
  files().put(shared("ConfigurablePackages.json"), "[" + packageJSON("block-url") + "]", 1);
  const auto packages = store.readConfigurablePackages();
  EXPECT_THAT(ids(packages), ElementsAre("whitelist", "block-url", "make-https"));
  EXPECT_EQ(packages.front(), (Package{"whitelist", "Whitelist", {}}));
  EXPECT_EQ(packages.back(), (Package{"make-https", "Make HTTPS-only", {}}));
}

TEST_F(PackageFiles, configurableFileWithAnEmptyListGivesTwoPackages) {
  files().put(shared("ConfigurablePackages.json"), "[]", 1);
  EXPECT_THAT(ids(store.readConfigurablePackages()), ElementsAre("whitelist", "make-https"));
}

TEST_F(PackageFiles, configurableFileKeepsItsOrder) {
  files().put(shared("ConfigurablePackages.json"),
              "[" + packageJSON("make-https") + "," + packageJSON("whitelist") + "]", 1);
  EXPECT_THAT(ids(store.readConfigurablePackages()), ElementsAre("make-https", "whitelist"));
}

TEST_F(PackageFiles, catalogueIsPreinstalledConfigurableCustomAndTheWhitelistLast) {
  files().put(bundle("PreinstalledPackages.json"),
              "[" + packageJSON("block-ads") + "," + packageJSON("block-trackers") + "]", 1);
  files().put(shared("CustomPackages.json"), "[" + packageJSON("mine") + "]", 1);
  EXPECT_THAT(ids(store.readAllPackages()),
              ElementsAre("block-ads", "block-trackers", "block-url", "block-cookies",
                          "hide-elements", "make-https", "mine", "whitelist"));
}

TEST_F(PackageFiles, catalogueWithoutAnyFileEndsWithTheWhitelist) {
  EXPECT_THAT(
      ids(store.readAllPackages()),
      ElementsAre("block-url", "block-cookies", "hide-elements", "make-https", "whitelist"));
}

TEST_F(PackageFiles, compileOrderIsPositionalTheFirstConfigurablePackageGoesLast) {
  files().put(shared("ConfigurablePackages.json"),
              "[" + packageJSON("block-url") + "," + packageJSON("whitelist") + "," +
                  packageJSON("make-https") + "]",
              1);
  EXPECT_THAT(ids(store.readAllPackages()), ElementsAre("whitelist", "make-https", "block-url"));
}

TEST_F(PackageFiles, ruleWithoutAnIdGetsANewOneAtEveryRead) {
  files().put(shared("CustomPackages.json"),
              R"([{"id":"p","rules":[{"content":{"trigger":{"url-filter":"x"},)"
              R"("action":{"type":"block"}}}]}])",
              1);
  EXPECT_NE(store.readCustomPackages().front().rules.front().id,
            store.readCustomPackages().front().rules.front().id);
}

TEST_F(PackageFiles, settledIdentifiersStay) {
  const std::string anonymous =
      R"({"content":{"trigger":{"url-filter":"x"},"action":{"type":"block"}}})";
  files().put(shared("CustomPackages.json"), "[" + packageJSON("p", anonymous) + "]", 1);
  files().put(shared("ConfigurablePackages.json"), "[" + packageJSON("whitelist", anonymous) + "]",
              1);
  store.settleIdentifiers();
  EXPECT_EQ(store.readCustomPackages(), store.readCustomPackages());
  EXPECT_EQ(store.readConfigurablePackages(), store.readConfigurablePackages());
  EXPECT_EQ(store.readCustomPackages().front().rules.front().blocker.trigger.urlFilter, "x");
  EXPECT_EQ(store.readConfigurablePackages().front().id, "whitelist");
  EXPECT_TRUE(contents(shared("ConfigurablePackages.json")).find("make-https") !=
              std::string::npos);

  const auto written = files().file(shared("CustomPackages.json")).date;
  machine.fileSystem.now += std::chrono::hours(1);
  store.settleIdentifiers();
  EXPECT_EQ(files().file(shared("CustomPackages.json")).date, written);
}

TEST_F(PackageFiles, filesWhoseRulesHaveIdsAreNotWrittenBack) {
  files().put(shared("CustomPackages.json"), "[" + packageJSON("p", ruleJSON("r")) + "]", 1);
  store.settleIdentifiers();
  EXPECT_EQ(files().file(shared("CustomPackages.json")).date, atSecond(1));
  EXPECT_FALSE(files().has(shared("ConfigurablePackages.json")));
}

TEST_F(PackageFiles, identifiersOfOneFileAreSettledAlone) {
  const std::string anonymous =
      R"({"content":{"trigger":{"url-filter":"x"},"action":{"type":"block"}}})";
  const auto configurable = "[" + packageJSON("whitelist", anonymous) + "]";
  files().put(shared("CustomPackages.json"), "[" + packageJSON("p", anonymous) + "]", 1);
  files().put(shared("ConfigurablePackages.json"), configurable, 1);
  store.settleIdentifiers(PackageType::CustomPackages);
  EXPECT_EQ(store.readCustomPackages(), store.readCustomPackages());
  EXPECT_EQ(contents(shared("ConfigurablePackages.json")), configurable);
}

TEST_F(PackageFiles, identifiersAreSettledUnderTheLock) {
  files().put(shared("CustomPackages.json"),
              R"([{"id":"p","rules":[{"content":{"trigger":{"url-filter":"x"},)"
              R"("action":{"type":"block"}}}]}])",
              1);
  {
    const auto lock = store.lockPackageFiles();
    ASSERT_TRUE(lock);
    store.settleIdentifiers();
    EXPECT_EQ(files().file(shared("CustomPackages.json")).date, atSecond(1));
    EXPECT_THAT(machine.systemLog.take(), ::testing::Each(::testing::HasSubstr("held already")));
  }
  store.settleIdentifiers();
  EXPECT_NE(files().file(shared("CustomPackages.json")).date, atSecond(1));
  EXPECT_TRUE(store.lockPackageFiles()) << "the lock was given back";
}

TEST_F(PackageFiles, theLockIsOnePerContainer) {
  TestPlatform other(machine.machine);
  PersistentStore otherStore(other.platform);
  auto lock = store.lockPackageFiles();
  ASSERT_TRUE(lock);
  EXPECT_FALSE(otherStore.lockPackageFiles());
  lock->reset();
  EXPECT_TRUE(otherStore.lockPackageFiles());
}

TEST_F(PackageFiles, lockThatCannotBeTakenIsAnError) {
  files().failAt(Operation::lock, shared("PackageFiles.lock"));
  EXPECT_EQ(store.lockPackageFiles().error().localizedDescription, "ordered failure");
}

TEST_F(PackageFiles, fingerprintIsThatOfTheCopyThatWouldBeRead) {
  const auto fingerprint = [&] { return store.fingerprint(PackageType::blockAds).value(); };
  EXPECT_EQ(fingerprint(), std::nullopt);
  files().put(shared("block-ads.json"), "one", 1);
  const auto one = fingerprint();
  ASSERT_NE(one, std::nullopt);
  files().put(shared("block-ads.json"), "one", 2);
  EXPECT_EQ(fingerprint(), one) << "a date alone is no change";
  files().put(documents("block-ads.json"), "two", 1);
  EXPECT_EQ(fingerprint(), one) << "the older copy does not count";
  files().put(documents("block-ads.json"), "two", 3);
  const auto two = fingerprint();
  EXPECT_NE(two, one);
  files().put(bundle("block-ads.json"), "three", 4);
  EXPECT_NE(fingerprint(), two);
  EXPECT_NE(fingerprint(), one);
  EXPECT_EQ(contents(shared("block-ads.json")), "one") << "nothing is copied";
}

TEST_F(PackageFiles, fingerprintTellsAnEmptyFileFromNone) {
  files().put(shared("block-ads.json"), "", 1);
  EXPECT_NE(store.fingerprint(PackageType::blockAds).value(), std::nullopt);
}

TEST_F(PackageFiles, fingerprintOfAFileThatCannotBeReadIsAnError) {
  files().put(shared("block-ads.json"), "one", 1);
  files().failAt(Operation::read, shared("block-ads.json"));
  EXPECT_FALSE(store.fingerprint(PackageType::blockAds));
}

TEST_F(PackageFiles, fingerprintPrintsNothing) {
  files().put(shared("block-ads.json"), "one", 1);
  static_cast<void>(store.fingerprint(PackageType::blockAds));
  EXPECT_TRUE(machine.standardOutput.lines.empty());
}

TEST_F(PackageFiles, lastOfTheDocumentDirectoriesIsTaken) {
  files().put("/earlier/block-ads.json", packageJSON("from-earlier"), 1);
  EXPECT_EQ(readAds(), std::nullopt);
  EXPECT_EQ(store.sharePackagesDocumentsPath(), documents("Rules.orvanepkg"));
}

TEST(PackageFilesWithoutPlaces, absentDocumentsDirectoryGivesNoSharingPath) {
  TestPlatform machine({"/data", {}});
  PersistentStore store(machine.platform);
  EXPECT_EQ(store.sharePackagesDocumentsPath(), std::nullopt);
}

TEST(PackageFilesWithoutPlacesDeathTest, absentDocumentsDirectoryStopsReading) {
  TestPlatform machine({"/data", {}});
  PersistentStore store(machine.platform);
  EXPECT_DEATH(store.readPackages(ads, false),
               "Fatal error: Invalid filepath for blockAds: file BlockerKit/PersistentStore, line "
               "[0-9]+");
}

TEST(PackageFilesWithoutPlacesDeathTest, absentSharedContainerStopsEveryOperationThatNeedsIt) {
  TestPlatform machine({std::nullopt, {TestPlatform::documents}});
  PersistentStore store(machine.platform);
  machine.fileSystem.put("/bundle/PreinstalledPackages.json", "[]", 1);
  EXPECT_DEATH(store.readStandardPackages(), "Fatal error: Invalid filepath for blockAds: file ");
  EXPECT_DEATH(store.readCustomPackages(), "Invalid filepath for CustomPackages: file ");
  EXPECT_DEATH(store.writePackage({}, PackageType::blockCustom),
               "Invalid filepath for blockCustom: file BlockerKit/PersistentStore");
  EXPECT_DEATH(store.writePackages({}, PackageType::CustomPackages),
               "Invalid filepath for CustomPackages: file BlockerKit/PersistentStore");
  EXPECT_DEATH(store.copyPreinstalledPackagesFromBundleToSharedContainer(),
               "Invalid filepath for PreinstalledPackages.json: file BlockerKit/PersistentStore");
  EXPECT_DEATH(store.pathToSafariJSON(),
               "Fatal error: Shared Container URL invalid: file BlockerKit/PersistentStore, line ");
}

TEST(PackageFilesWithoutPlacesDeathTest, containerThatCannotBeMadeIsAbsent) {
  TestPlatform machine;
  machine.fileSystem.failAt(InMemoryFileSystem::Operation::createDirectories,
                            TestPlatform::container);
  PersistentStore store(machine.platform);
  EXPECT_DEATH(store.pathToSafariJSON(), "Shared Container URL invalid");
}

TEST_F(PackageFiles, placesAreResolvedOnceAlsoFromSeveralThreads) {
  std::vector<std::thread> threads;
  std::vector<std::string> paths(4);
  for (auto& path : paths) {
    threads.emplace_back([&] { path = store.pathToSafariJSON().string(); });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_THAT(paths, ::testing::Each(shared("tmp.json")));

  files().failAt(Operation::createDirectories, TestPlatform::container);
  EXPECT_EQ(store.pathToSafariJSON(), shared("tmp.json"));
}

}  // namespace
}  // namespace orvane::test
