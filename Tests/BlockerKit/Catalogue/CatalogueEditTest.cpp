#include "BlockerKit/Catalogue/CatalogueEdit.h"
#include "Tests/BlockerKit/Catalogue/CatalogueFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;

std::vector<Package> edited(const CatalogueEdit& edit, std::vector<Package> packages) {
  EditablePackages list(std::move(packages));
  perform(edit, list);
  return list.get();
}

TEST(CatalogueEditTest, APackageIsLookedForAmongTheConfigurableOnesFirst) {
  const UserPackages packages{EditablePackages({packageOf("same", {blockRule("1")})}),
                              EditablePackages({packageOf("same"), packageOf("own")})};
  EXPECT_EQ(packageWithIdentifier(packages, "same")->rules.size(), 1U);
  EXPECT_EQ(packageWithIdentifier(packages, "own")->id, "own");
  EXPECT_EQ(packageWithIdentifier(packages, "Own"), nullptr);
  EXPECT_EQ(listWithPackage(packages, "same"), UserList::configurable);
  EXPECT_EQ(listWithPackage(packages, "own"), UserList::custom);
  EXPECT_EQ(listWithPackage(packages, "1"), std::nullopt);
}

TEST(CatalogueEditTest, SettingARuleReplacesTheOneWithItsIdOrAppends) {
  const std::vector packages{packageOf("A", {blockRule("1"), blockRule("2")}), packageOf("B")};
  EXPECT_EQ(edited(SettingRule{"A", blockRule("1", "new")}, packages),
            (std::vector{packageOf("A", {blockRule("1", "new"), blockRule("2")}), packageOf("B")}));
  EXPECT_EQ(edited(SettingRule{"B", blockRule("1")}, packages),
            (std::vector{packages[0], packageOf("B", {blockRule("1")})}));
  EXPECT_EQ(edited(SettingRule{"C", blockRule("1")}, packages), packages);
}

TEST(CatalogueEditTest, SettingManyRulesIsSettingEachInTurn) {
  const std::vector<Package> packages{
      {"A", "", {blockRule("1"), blockRule("2"), blockRule("1", "again")}}, {"B", "", {}}};
  const std::vector<Rule> rules{blockRule("3"), blockRule("1", "new"), blockRule("3", "newer")};
  auto expected = packages;
  for (const auto& rule : rules) expected = edited(SettingRule{"A", rule}, expected);
  EXPECT_EQ(edited(SettingRules{"A", rules}, packages), expected);
  EXPECT_EQ(edited(SettingRules{"C", rules}, packages), packages);
}

TEST(CatalogueEditTest, NamingAPackageLeavesItsRulesOrMakesAnEmptyOne) {
  const std::vector<Package> packages{{"A", "old", {blockRule("1")}}};
  EXPECT_EQ(edited(NamingPackage{"A", "new"}, packages),
            (std::vector<Package>{{"A", "new", {blockRule("1")}}}));
  EXPECT_EQ(edited(NamingPackage{"B", "new"}, packages),
            (std::vector<Package>{packages[0], {"B", "new", {}}}));
}

TEST(CatalogueEditTest, AReplacementTakesThePlaceOfTheFirstEqualRule) {
  const std::vector packages{
      packageOf("A", {blockRule("1", "other"), blockRule("1"), blockRule("1")})};
  EXPECT_EQ(
      edited(ReplacingRule{"A", blockRule("1"), blockRule("2")}, packages),
      (std::vector{packageOf("A", {blockRule("1", "other"), blockRule("2"), blockRule("1")})}));
  EXPECT_EQ(edited(ReplacingRule{"A", blockRule("1"), std::nullopt}, packages),
            (std::vector{packageOf("A", {blockRule("1", "other"), blockRule("1")})}));
}

TEST(CatalogueEditTest, AReplacementFindsARuleThatAnotherProcessHasChangedByItsId) {
  const std::vector packages{packageOf("A", {blockRule("0"), blockRule("1", "changed")})};
  EXPECT_EQ(edited(ReplacingRule{"A", blockRule("1"), blockRule("2")}, packages),
            (std::vector{packageOf("A", {blockRule("0"), blockRule("2")})}));
  EXPECT_EQ(edited(ReplacingRule{"A", blockRule("1"), std::nullopt}, packages),
            (std::vector{packageOf("A", {blockRule("0")})}));
}

TEST(CatalogueEditTest, AReplacementWhoseOldRuleIsGoneIsANewRule) {
  const std::vector packages{packageOf("A", {blockRule("0")})};
  EXPECT_EQ(edited(ReplacingRule{"A", blockRule("1"), blockRule("2")}, packages),
            (std::vector{packageOf("A", {blockRule("0"), blockRule("2")})}));
  EXPECT_EQ(edited(ReplacingRule{"A", blockRule("1"), std::nullopt}, packages), packages);
  EXPECT_EQ(edited(ReplacingRule{"C", blockRule("0"), blockRule("2")}, packages), packages);
}

TEST(CatalogueEditTest, SettingAPackageReplacesTheOneWithItsIdOrAppends) {
  const std::vector packages{packageOf("A"), packageOf("B")};
  EXPECT_EQ(edited(SettingPackage{packageOf("A", {blockRule("1")})}, packages),
            (std::vector{packageOf("A", {blockRule("1")}), packageOf("B")}));
  EXPECT_EQ(edited(SettingPackage{packageOf("C")}, packages),
            (std::vector{packageOf("A"), packageOf("B"), packageOf("C")}));
}

TEST(CatalogueEditTest, AnEditThatChangesNothingLeavesASharedListShared) {
  EditablePackages list({packageOf("A")});
  const auto shared = list.share();
  perform(SettingRule{"C", blockRule("1")}, list);
  perform(ReplacingRule{"A", blockRule("1"), std::nullopt}, list);
  perform(RemovingItems{{{RemovingItems::Kind::package, "C"}, {RemovingItems::Kind::rule, "1"}}},
          list);
  EXPECT_EQ(&list.get(), shared.get());
}

TEST(EditablePackagesTest, WhatWasSharedStaysAsItWas) {
  EditablePackages list({packageOf("A")});
  const auto before = list.share();
  list.edit().push_back(packageOf("B"));
  EXPECT_THAT(packageIDs(*before), ElementsAre("A"));
  EXPECT_THAT(packageIDs(list.get()), ElementsAre("A", "B"));
}

TEST(EditablePackagesTest, ARunOfEditsCopiesOnce) {
  EditablePackages list({packageOf("A")});
  const auto before = list.share();
  const auto* own = &list.edit();
  EXPECT_NE(own, before.get());
  EXPECT_EQ(&list.edit(), own);
  EXPECT_EQ(list.share().get(), own);
}

TEST(EditablePackagesTest, ThereMayBeNoListAtAll) {
  EXPECT_FALSE(EditablePackages());
  EXPECT_TRUE(EditablePackages(std::vector<Package>()));
}

}  // namespace
}  // namespace orvane::test
