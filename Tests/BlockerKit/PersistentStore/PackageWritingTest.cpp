#include "BlockerKit/JSON/RecordWriter.h"
#include "Tests/BlockerKit/PersistentStore/StoreFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PackageWriting : public StoreTest {
 protected:
  Package mine{"mine", "My rules", {blockRule("r1")}};
};

TEST_F(PackageWriting, packageIsWrittenAsOneObjectAndLogged) {
  EXPECT_TRUE(store.writePackage(mine, PackageType::blockCustom));
  const auto path = shared("block-custom.json");
  EXPECT_EQ(contents(path), *toJSON(mine));
  EXPECT_THAT(machine.standardOutput.lines, ElementsAre("Wrote mine package to " + path));
}

TEST_F(PackageWriting, packagesAreWrittenAsAListAndLogged) {
  const std::vector<Package> packages{mine, {"other", "", {}}};
  EXPECT_TRUE(store.writePackages(packages, PackageType::CustomPackages));
  const auto path = shared("CustomPackages.json");
  EXPECT_EQ(contents(path), *toJSON(std::span<const Package>(packages)));
  EXPECT_THAT(machine.standardOutput.lines, ElementsAre("Wrote 2 packages to " + path));
}

TEST_F(PackageWriting, whatIsWrittenReadsBackEqual) {
  const std::vector<Package> packages{mine, {"other", "", {}}};
  store.writePackages(packages, PackageType::CustomPackages);
  EXPECT_EQ(store.readCustomPackages(), packages);
}

TEST_F(PackageWriting, failureToStoreGivesFalseAndNoLineOfSuccess) {
  files().failAt(Operation::replace, shared("CustomPackages.json"));
  EXPECT_FALSE(store.writePackages({}, PackageType::CustomPackages));
  EXPECT_THAT(machine.standardOutput.lines, IsEmpty());
  EXPECT_THAT(machine.systemLog.lines, ElementsAre("ordered failure"));
}

TEST_F(PackageWriting, textThatCannotBeEncodedGivesFalseAndALineAndLeavesTheFile) {
  files().put(shared("block-custom.json"), packageJSON("old"), 1);
  mine.name = "\xFF";
  EXPECT_FALSE(store.writePackage(mine, PackageType::blockCustom));
  EXPECT_EQ(contents(shared("block-custom.json")), packageJSON("old"));
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Could not encode packages for " + shared("block-custom.json") +
                          ": A text is not valid UTF-8."));
}

TEST_F(PackageWriting, packageForSharingIsAListOfOne) {
  ASSERT_FALSE(machine.fileManager.documentDirectories().empty());
  const auto path = store.sharePackagesDocumentsPath();
  EXPECT_TRUE(store.writePackageForSharing(mine, path));
  EXPECT_EQ(contents(documents("Rules.orvanepkg")), "[" + *toJSON(mine) + "]");
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Wrote 1 packages to " + documents("Rules.orvanepkg")));
}

TEST_F(PackageWriting, packageForSharingWithoutAPathIsNotWritten) {
  EXPECT_FALSE(store.writePackageForSharing(mine, std::nullopt));
  EXPECT_THAT(files().files, IsEmpty());
  EXPECT_THAT(machine.standardOutput.lines, ElementsAre("path is nil"));
}

TEST_F(PackageWriting, packageForSharingThatCannotBeStoredGivesFalse) {
  EXPECT_FALSE(store.writePackageForSharing(mine, "/no/such/folder/Rules.orvanepkg"));
}

TEST_F(PackageWriting, bundledPreinstalledPackagesAlwaysReplaceTheSharedOnes) {
  files().put(bundle("PreinstalledPackages.json"), "[" + packageJSON("new") + "]", 1);
  files().put(shared("PreinstalledPackages.json"), "[" + packageJSON("old") + "]", 99);
  store.copyPreinstalledPackagesFromBundleToSharedContainer();

  const auto from = bundle("PreinstalledPackages.json");
  const auto to = shared("PreinstalledPackages.json");
  EXPECT_EQ(contents(to), "[" + packageJSON("new") + "]");
  EXPECT_EQ(files().file(to).date, atSecond(1));
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("File PreinstalledPackages.json already exists in '" + to + "'",
                          "Removed file PreinstalledPackages.json from '" + to + "'",
                          "Copied '" + from + "' to '" + to + "'"));
}

using PackageWritingDeathTest = PackageWriting;

TEST_F(PackageWritingDeathTest, bundleWithoutPreinstalledPackagesStopsTheProcess) {
  EXPECT_DEATH(store.copyPreinstalledPackagesFromBundleToSharedContainer(),
               "Fatal error: Invalid filepath for PreinstalledPackages.json: file "
               "BlockerKit/PersistentStore, line ");
}

TEST_F(PackageWriting, downloadedPackageIsAListOfOne) {
  machine.urlLoader.answers["https://example.test/p.json"] = packageJSON("p", ruleJSON("r"));
  const auto packages =
      store.downloadPreinstalledPackagesFromRemoteURL("https://example.test/p.json");
  ASSERT_TRUE(packages);
  EXPECT_EQ(*packages, (std::vector<Package>{{"p", "N", {blockRule("r")}}}));
}

TEST_F(PackageWriting, downloadWithoutAPackageGivesNothing) {
  machine.urlLoader.answers = {
      {"empty", ""}, {"list", "[" + packageJSON("p") + "]"}, {"garbage", "<html>"}};
  for (const auto* url : {"empty", "list", "garbage"}) {
    EXPECT_EQ(store.downloadPreinstalledPackagesFromRemoteURL(url), std::nullopt) << url;
  }
  EXPECT_THAT(machine.systemLog.lines, IsEmpty());
}

TEST_F(PackageWriting, downloadThatFailsGivesNothingAndSaysWhyInTheSystemLog) {
  EXPECT_EQ(store.downloadPreinstalledPackagesFromRemoteURL("unknown"), std::nullopt);
  EXPECT_THAT(machine.systemLog.lines, ElementsAre("no such URL"));
}

}  // namespace
}  // namespace orvane::test
