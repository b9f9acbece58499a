#include "Tests/BlockerKit/PersistentStore/StoreFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SettingAside : public StoreTest {
 protected:
  bool write() { return store.writePackages({}, PackageType::CustomPackages); }
  const std::string path = shared("CustomPackages.json");
  const std::string aside = shared("CustomPackages.set-aside-1970-01-01T00.01.30Z.json");
};

TEST_F(SettingAside, fileThatCannotBeParsedKeepsItsBytesUnderANameWithItsDate) {
  files().put(path, "[{\"id\":", 90);
  EXPECT_TRUE(write());
  EXPECT_EQ(contents(aside), "[{\"id\":");
  EXPECT_EQ(contents(path), "[]");
  EXPECT_THAT(
      machine.systemLog.lines,
      ElementsAre("Set aside '" + path + "', which cannot be read in full, as '" + aside + "'"));
}

TEST_F(SettingAside, readingAloneMovesNothing) {
  files().put(path, "[{\"id\":", 90);
  store.readCustomPackages();
  EXPECT_EQ(contents(path), "[{\"id\":");
  EXPECT_FALSE(files().has(aside));
}

TEST_F(SettingAside, fileOfAnotherShapeIsSetAside) {
  files().put(path, packageJSON("one"), 90);
  EXPECT_TRUE(write());
  EXPECT_EQ(contents(aside), packageJSON("one"));

  files().put(shared("block-ads.json"), "[]", 90);
  EXPECT_TRUE(store.writePackage({"block-ads", "", {}}, PackageType::blockAds));
  EXPECT_EQ(contents(shared("block-ads.set-aside-1970-01-01T00.01.30Z.json")), "[]");
}

TEST_F(SettingAside, fileWithARuleThatReadingDropsIsSetAside) {
  const auto text = "[" + packageJSON("p", R"({"id":"r","content":{}})") + "]";
  files().put(path, text, 90);
  EXPECT_TRUE(write());
  EXPECT_EQ(contents(aside), text);
}

TEST_F(SettingAside, wholeFileIsSimplyReplaced) {
  files().put(path, "[" + packageJSON("p", ruleJSON("r")) + "]", 90);
  EXPECT_TRUE(write());
  EXPECT_FALSE(files().has(aside));
  EXPECT_THAT(machine.systemLog.lines, IsEmpty());
}

TEST_F(SettingAside, emptyFileHoldsNothingToKeep) {
  files().put(path, "", 90);
  EXPECT_TRUE(write());
  EXPECT_FALSE(files().has(aside));
}

TEST_F(SettingAside, unreadableFileIsSetAside) {
  files().put(path, "secret", 90);
  files().failAt(Operation::read, path);
  EXPECT_TRUE(write());
  EXPECT_EQ(contents(aside), "secret");
}

TEST_F(SettingAside, earlierFileUnderThatNameIsKept) {
  files().put(aside, "earlier", 1);
  files().put(path, "garbage", 90);
  EXPECT_TRUE(write());
  EXPECT_EQ(contents(aside), "earlier");
  EXPECT_EQ(contents(shared("CustomPackages.set-aside-1970-01-01T00.01.30Z-2.json")), "garbage");
}

TEST_F(SettingAside, failedReplacementLeavesTheFileInItsPlaceAndTheNextTryKeepsOneCopyOnly) {
  const auto text = "[" + packageJSON("p", ruleJSON("good") + R"(,{"id":"r","content":{}})") + "]";
  files().put(path, text, 90);
  files().failAt(Operation::replace, path);
  EXPECT_FALSE(write());
  EXPECT_EQ(contents(path), text);
  EXPECT_EQ(store.readCustomPackages().front().rules.size(), 1U);

  files().stopFailing();
  EXPECT_TRUE(write());
  EXPECT_EQ(contents(aside), text);
  EXPECT_EQ(files().files.size(), 2U);
}

TEST_F(SettingAside, whateverReadingWouldLoseInSilenceIsReasonEnough) {
  const std::string action = R"("action":{"type":"block"}}})";
  for (const std::string& rule : {
           R"({"id":"r","content":{"trigger":{"url-filter":"x","resource-type":["bogus"]},)" +
               action,
           R"({"id":"r","content":{"trigger":{"url-filter":"x","if-top-url":["y"]},)" + action,
           R"({"id":"r","content":{"trigger":{"url-filter":"x","if-domain":["a",7]},)" + action,
           R"({"id":7,"content":{"trigger":{"url-filter":"x"},)" + action,
           R"({"id":"r","note":null,"content":{"trigger":{"url-filter":"x"},)" + action,
       }) {
    files().files.clear();
    files().put(path, "[" + packageJSON("p", rule) + "]", 90);
    EXPECT_TRUE(write());
    EXPECT_TRUE(files().has(aside)) << rule;
  }
  for (const auto* text : {"[7]", R"([{"id":"p","name":"","rules":{}}])"}) {
    files().files.clear();
    files().put(path, text, 90);
    EXPECT_TRUE(write());
    EXPECT_TRUE(files().has(aside)) << text;
  }
}

TEST_F(SettingAside, whatReadingAddsOrTakesForGrantedIsNoReason) {
  files().put(path,
              R"([{"rules":[{"content":{"trigger":{"url-filter-is-case-sensitive":false,)"
              R"("url-filter":"x"},"action":{"type":"block","selector":"kept"}}}]}])",
              90);
  EXPECT_TRUE(write());
  EXPECT_FALSE(files().has(aside));
}

TEST_F(SettingAside, damagedFilesOfTheUsersAreListed) {
  EXPECT_THAT(store.damagedUserFiles(), IsEmpty());
  files().put(path, "garbage", 1);
  files().put(shared("ConfigurablePackages.json"), "[]", 1);
  EXPECT_THAT(store.damagedUserFiles(), ElementsAre(path));
}

TEST_F(SettingAside, fileThatCannotBeSetAsideIsNotReplaced) {
  files().put(path, "garbage", 90);
  files().failAt(Operation::replace, aside);
  EXPECT_FALSE(write());
  EXPECT_EQ(contents(path), "garbage");
  EXPECT_THAT(machine.systemLog.lines,
              ElementsAre("Could not set aside '" + path +
                          "', which cannot be read in full: ordered failure"));
}

TEST_F(SettingAside, newerCopyDoesNotDestroyADamagedFile) {
  files().put(path, "garbage", 90);
  files().put(documents("CustomPackages.json"), "[]", 100);
  store.readCustomPackages();
  EXPECT_EQ(contents(aside), "garbage");
  EXPECT_EQ(contents(path), "[]");
}

TEST_F(SettingAside, copyOverADamagedFileThatCannotBeSetAsideIsGivenUp) {
  files().put(path, "garbage", 90);
  files().put(documents("CustomPackages.json"), "[]", 100);
  files().failAt(Operation::replace, aside);
  store.readCustomPackages();
  EXPECT_EQ(contents(path), "garbage");
  EXPECT_EQ(machine.standardOutput.lines[2],
            "Error copying '" + documents("CustomPackages.json") + "' to '" + path +
                "': the damaged file there could not be set aside");
}

}  // namespace
}  // namespace orvane::test
