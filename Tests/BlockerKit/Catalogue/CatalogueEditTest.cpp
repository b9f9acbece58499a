#include "BlockerKit/Catalogue/CatalogueEdit.h"
#include "Tests/BlockerKit/Catalogue/CatalogueFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;

UserPackages userPackages() {
  return {EditablePackages({packageOf("whitelist", {blockRule("1"), blockRule("2")}),
                            packageOf("make-https", {blockRule("1")})}),
          EditablePackages({packageOf("A", {blockRule("2"), blockRule("3")}), packageOf("B")})};
}

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
}

TEST(CatalogueEditTest, AnEditConcernsTheListThatHasWhatItIsAbout) {
  const auto packages = userPackages();
  const auto concerned = [&](const CatalogueEdit& edit) { return listConcerned(edit, packages); };
  constexpr auto configurable = UserList::configurable;
  constexpr auto custom = UserList::custom;
  EXPECT_EQ(concerned(SettingRule{"whitelist", blockRule("9")}), configurable);
  EXPECT_EQ(concerned(SettingRule{"B", blockRule("9")}), custom);
  EXPECT_EQ(concerned(SettingRule{"C", blockRule("9")}), std::nullopt);
  EXPECT_EQ(concerned(ReplacingRule{"make-https", blockRule("1"), std::nullopt}), configurable);
  EXPECT_EQ(concerned(ReplacingRule{"C", blockRule("1"), std::nullopt}), std::nullopt);
  EXPECT_EQ(concerned(SettingPackage{packageOf("new")}), custom);
  EXPECT_EQ(concerned(NamingPackage{"whitelist", "x"}), custom);
  EXPECT_EQ(concerned(RemovingPackage{"A"}), custom);
  EXPECT_EQ(concerned(RemovingPackage{"whitelist"}), std::nullopt);
  EXPECT_EQ(concerned(RemovingRule{"2"}), configurable);
  EXPECT_EQ(concerned(RemovingRule{"3"}), custom);
  EXPECT_EQ(concerned(RemovingRule{"A"}), std::nullopt);
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

TEST(CatalogueEditTest, RemovingTakesTheFirstWithTheId) {
  const std::vector packages{packageOf("A", {blockRule("1"), blockRule("2")}),
                             packageOf("B", {blockRule("1")}), packageOf("A")};
  EXPECT_EQ(edited(RemovingPackage{"A"}, packages), (std::vector{packages[1], packages[2]}));
  EXPECT_EQ(edited(RemovingPackage{"1"}, packages), packages);
  EXPECT_EQ(edited(RemovingRule{"1"}, packages),
            (std::vector{packageOf("A", {blockRule("2")}), packages[1], packages[2]}));
  EXPECT_EQ(edited(RemovingRule{"B"}, packages), packages);
}

TEST(CatalogueEditTest, AnEditThatChangesNothingLeavesASharedListShared) {
  EditablePackages list({packageOf("A")});
  const auto shared = list.share();
  perform(SettingRule{"C", blockRule("1")}, list);
  perform(ReplacingRule{"A", blockRule("1"), std::nullopt}, list);
  perform(RemovingPackage{"C"}, list);
  perform(RemovingRule{"1"}, list);
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
