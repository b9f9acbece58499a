#include <utility>

#include <gtest/gtest.h>

#include "BlockerKit/Model/Package.h"

namespace orvane {
namespace {

Package withID(std::string id) { return {std::move(id), "", {}}; }

Rule rule(std::string id, std::string name) {
  return {std::move(id),
          std::move(name),
          {.trigger = {.urlFilter = "ads"}, .action = *Action::make(ActionType::Block)}};
}

void expectKind(const std::string& id, PackageType type, PackageCollectionType groupType) {
  EXPECT_EQ(withID(id).type(), type) << id;
  EXPECT_EQ(withID(id).groupType(), groupType) << id;
}

TEST(PackageTest, TheIdOfAGeneralCategoryNamesItsFile) {
  constexpr auto general = PackageCollectionType::general;
  expectKind("block-ads", PackageType::blockAds, general);
  expectKind("block-adult", PackageType::blockAdult, general);
  expectKind("block-annoyances", PackageType::blockAnnoyances, general);
  expectKind("block-comments", PackageType::blockComments, general);
  expectKind("block-trackers", PackageType::blockTrackers, general);
}

TEST(PackageTest, TheInternationalCategoryHasItsOwnHeading) {
  expectKind("block-international", PackageType::blockInternational,
             PackageCollectionType::international);
}

TEST(PackageTest, BlockCustomStandsUnderCustom) {
  expectKind("block-custom", PackageType::blockCustom, PackageCollectionType::custom);
}

TEST(PackageTest, TheCollectionsStandUnderCustom) {
  constexpr auto custom = PackageCollectionType::custom;
  expectKind("PreinstalledPackages", PackageType::PreinstalledPackages, custom);
  expectKind("ConfigurablePackages", PackageType::ConfigurablePackages, custom);
  expectKind("CustomPackages", PackageType::CustomPackages, custom);
}

TEST(PackageTest, AnIdThatNamesNoFileIsAPackageOfTheUsers) {
  for (const char* id : {"", "whitelist", "make-https", "block-url", "Block-Ads",
                         "7C0F4E52-9C2B-4B6A-A0C2-3F2B6C2C9D11"}) {
    expectKind(id, PackageType::CustomPackages, PackageCollectionType::custom);
  }
}

TEST(PackageTest, AnIdThatEndsInJsonNamesNoFile) {
  expectKind("block-ads.json", PackageType::CustomPackages, PackageCollectionType::custom);
}

TEST(PackageTest, SettingARuleReplacesTheOneWithItsIdInPlace) {
  const Package package{"p", "n", {rule("1", "a"), rule("2", "b"), rule("3", "c")}};
  EXPECT_EQ(package.packageBySettingRule(rule("2", "new")),
            (Package{"p", "n", {rule("1", "a"), rule("2", "new"), rule("3", "c")}}));
}

TEST(PackageTest, SettingARuleWithANewIdAppendsIt) {
  const Package package{"p", "n", {rule("1", "a")}};
  EXPECT_EQ(package.packageBySettingRule(rule("2", "b")),
            (Package{"p", "n", {rule("1", "a"), rule("2", "b")}}));
}

TEST(PackageTest, SettingARuleReplacesOnlyTheFirstOfTwoWithItsId) {
  const Package package{"p", "n", {rule("1", "a"), rule("2", "b"), rule("2", "c")}};
  EXPECT_EQ(package.packageBySettingRule(rule("2", "new")),
            (Package{"p", "n", {rule("1", "a"), rule("2", "new"), rule("2", "c")}}));
}

TEST(PackageTest, SettingARuleIntoAnEmptyPackageGivesThatOneRule) {
  EXPECT_EQ(withID("p").packageBySettingRule(rule("1", "a")), (Package{"p", "", {rule("1", "a")}}));
}

TEST(PackageTest, APackageThatNobodyNeedsIsEditedInPlace) {
  Package package{"p", "n", {rule("1", "a"), rule("2", "b"), rule("3", "c")}};
  const auto* rules = package.rules.data();
  auto set = std::move(package).packageBySettingRule(rule("2", "new"));
  EXPECT_EQ(set, (Package{"p", "n", {rule("1", "a"), rule("2", "new"), rule("3", "c")}}));
  EXPECT_EQ(set.rules.data(), rules) << "no rule was copied";
  auto removed = std::move(set).packageByRemovingRuleAtIndex(0);
  EXPECT_EQ(removed, (Package{"p", "n", {rule("2", "new"), rule("3", "c")}}));
  EXPECT_EQ(removed.rules.data(), rules);
}

TEST(PackageTest, IdsAreComparedExactly) {
  const Package package{"p", "n", {rule("a", "")}};
  EXPECT_EQ(package.packageBySettingRule(rule("A", "")).rules.size(), 2U);
}

TEST(PackageTest, RemovingARuleMovesTheLaterOnesUp) {
  const Package package{"p", "n", {rule("1", "a"), rule("2", "b"), rule("3", "c")}};
  EXPECT_EQ(package.packageByRemovingRuleAtIndex(0),
            (Package{"p", "n", {rule("2", "b"), rule("3", "c")}}));
  EXPECT_EQ(package.packageByRemovingRuleAtIndex(1),
            (Package{"p", "n", {rule("1", "a"), rule("3", "c")}}));
  EXPECT_EQ(package.packageByRemovingRuleAtIndex(2),
            (Package{"p", "n", {rule("1", "a"), rule("2", "b")}}));
}

TEST(PackageDeathTest, RemovingAtAnIndexOutOfRangeStopsTheProcess) {
  const std::string message = "^Fatal error: Index out of range: file BlockerKit/Model, line ";
  EXPECT_DEATH(static_cast<void>(withID("p").packageByRemovingRuleAtIndex(0)), message);
  const Package package{"p", "n", {rule("1", "a")}};
  EXPECT_DEATH(static_cast<void>(package.packageByRemovingRuleAtIndex(1)), message);
  EXPECT_DEATH(
      static_cast<void>(package.packageByRemovingRuleAtIndex(static_cast<std::size_t>(-1))),
      message);
}

}  // namespace
}  // namespace orvane
