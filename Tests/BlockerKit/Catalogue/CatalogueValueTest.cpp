#include "Tests/BlockerKit/Catalogue/CatalogueFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(CatalogueValueTest, CompileOrderEndsWithTheFirstConfigurablePackage) {
  const Catalogue catalogue{
      share({packageOf("ads"), packageOf("trackers")}),
      share({packageOf("whitelist"), packageOf("block-url"), packageOf("make-https")}),
      share({packageOf("A"), packageOf("B")})};
  EXPECT_THAT(packageIDs(catalogue.packages()),
              ElementsAre("ads", "trackers", "block-url", "make-https", "A", "B", "whitelist"));
}

TEST(CatalogueValueTest, TheWhitelistAloneIsACatalogue) {
  const Catalogue catalogue{share({}), share({packageOf("whitelist")}), share({})};
  EXPECT_THAT(packageIDs(catalogue.packages()), ElementsAre("whitelist"));
}

TEST(CatalogueValueDeathTest, WithoutConfigurablePackagesTheProcessStops) {
  const Catalogue catalogue{share({}), share({}), share({packageOf("A")})};
  EXPECT_DEATH(
      static_cast<void>(catalogue.packages()),
      "^Fatal error: There are no configurable packages: file BlockerKit/Catalogue, line ");
}

TEST(CatalogueValueTest, OnlyAbsentListsAreReadFromTheirFiles) {
  TestPlatform machine;
  PersistentStore store(machine.platform);
  machine.fileSystem.put(customFile, packagesJSON({packageOf("A")}), 1);
  Catalogue catalogue;
  catalogue.configurable = share({packageOf("whitelist")});
  const auto loaded = catalogue.loaded(store);
  EXPECT_EQ(loaded.configurable, catalogue.configurable);
  EXPECT_THAT(packageIDs(*loaded.custom), ElementsAre("A"));
  EXPECT_EQ(catalogue.custom, nullptr);
  EXPECT_THAT(machine.standardOutput.take(),
              ElementsAre("CustomPackages.json is in Shared Container."));
  EXPECT_EQ(loaded.loaded(store).custom, loaded.custom);
  EXPECT_THAT(machine.standardOutput.take(), IsEmpty());
}

TEST(SafariReloadingResultTest, AResultIsASuccessOrAnError) {
  EXPECT_TRUE(SafariReloadingResult::success().isSuccess());
  EXPECT_EQ(SafariReloadingResult::success().failure(), nullptr);
  const NSError error{"test", 1, "no"};
  const auto failed = SafariReloadingResult::error(error);
  EXPECT_FALSE(failed.isSuccess());
  EXPECT_EQ(*failed.failure(), error);
  EXPECT_EQ(failed, SafariReloadingResult::error(error));
  EXPECT_NE(failed, SafariReloadingResult::success());
}

}  // namespace
}  // namespace orvane::test
