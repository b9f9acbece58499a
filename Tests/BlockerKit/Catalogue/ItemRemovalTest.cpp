#include <algorithm>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "BlockerKit/Catalogue/CatalogueEdit.h"
#include "Tests/BlockerKit/Catalogue/CatalogueFixture.h"
#include "Tests/Support/ModelGenerators.h"

namespace orvane::test {
namespace {

using Packages = std::vector<Package>;
using Item = RemovingItems::Item;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

Item aPackage(std::string id) { return {RemovingItems::Kind::package, std::move(id)}; }
Item aRule(std::string id) { return {RemovingItems::Kind::rule, std::move(id)}; }

Packages without(std::vector<Item> items, Packages packages) {
  EditablePackages list(std::move(packages));
  perform(RemovingItems{std::move(items)}, list);
  return list.get();
}

TEST(ItemRemovalTest, TakesTheFirstWithTheId) {
  const Packages packages{packageOf("A", {blockRule("1"), blockRule("2")}),
                          packageOf("B", {blockRule("1")}), packageOf("A")};
  EXPECT_EQ(without({aPackage("A")}, packages), (Packages{packages[1], packages[2]}));
  EXPECT_EQ(without({aPackage("1")}, packages), packages);
  EXPECT_EQ(without({aRule("1")}, packages),
            (Packages{packageOf("A", {blockRule("2")}), packages[1], packages[2]}));
  EXPECT_EQ(without({aRule("B")}, packages), packages);
}

TEST(ItemRemovalTest, TakesTheNextOneWithAnIdThatIsNamedAgain) {
  const Packages packages{packageOf("A", {blockRule("1"), blockRule("2"), blockRule("1", "y")}),
                          packageOf("B", {blockRule("1")}), packageOf("A", {blockRule("3")})};
  EXPECT_EQ(without({aRule("1"), aRule("1")}, packages),
            (Packages{packageOf("A", {blockRule("2")}), packages[1], packages[2]}));
  EXPECT_EQ(without({aPackage("A"), aPackage("A"), aPackage("A")}, packages),
            Packages{packages[1]});
}

TEST(ItemRemovalTest, TakesNoRuleFromAPackageThatIsGone) {
  const Packages packages{packageOf("A", {blockRule("1")}), packageOf("B", {blockRule("1")})};
  EXPECT_EQ(without({aPackage("A"), aRule("1")}, packages), Packages{packageOf("B")});
  EXPECT_EQ(without({aRule("1"), aPackage("A")}, packages), Packages{packages[1]});
}

TEST(ItemRemovalTest, AnItemIsACustomPackageOrElseAConfigurableRuleOrElseACustomOne) {
  const Packages configurable{packageOf("whitelist", {blockRule("A"), blockRule("1")})};
  const Packages custom{packageOf("A", {blockRule("1"), blockRule("2")})};
  const auto removals = [&](const std::vector<std::string>& identifiers) {
    return itemRemovals(identifiers, configurable, custom);
  };
  EXPECT_THAT(removals({"A"}).custom.items, ElementsAre(aPackage("A")));
  EXPECT_THAT(removals({"A"}).configurable.items, IsEmpty());
  EXPECT_THAT(removals({"1"}).configurable.items, ElementsAre(aRule("1")));
  EXPECT_THAT(removals({"1"}).custom.items, IsEmpty());
  EXPECT_THAT(removals({"2"}).custom.items, ElementsAre(aRule("2")));
  EXPECT_THAT(removals({"2"}).configurable.items, IsEmpty());
}

TEST(ItemRemovalTest, AnItemThatIsNowhereIsRemovedFromBothListsInCaseItIsThereByThen) {
  const auto removals =
      itemRemovals(std::vector<std::string>{"whitelist"}, {packageOf("whitelist")}, {});
  EXPECT_THAT(removals.configurable.items, ElementsAre(aRule("whitelist")));
  EXPECT_THAT(removals.custom.items, ElementsAre(aRule("whitelist"), aPackage("whitelist")));
}

TEST(ItemRemovalTest, AnItemIsLookedForAfterThoseBeforeItAreGone) {
  const Packages configurable{packageOf("whitelist", {blockRule("A")})};
  const Packages custom{packageOf("A", {blockRule("1")})};
  const auto removals = itemRemovals(std::vector<std::string>{"A", "1", "A"}, configurable, custom);
  EXPECT_THAT(removals.custom.items, ElementsAre(aPackage("A"), aRule("1"), aPackage("1")));
  EXPECT_THAT(removals.configurable.items, ElementsAre(aRule("1"), aRule("A")));
}

// Many items against one after the other, as it is defined.

template <typename Value>
bool eraseFirst(std::vector<Value>& values, const std::string& id) {
  const auto found = std::ranges::find(values, id, &Value::id);
  if (found == values.end()) return false;
  values.erase(found);
  return true;
}

void removePlainly(const Item& item, Packages& packages) {
  if (item.kind == RemovingItems::Kind::package) {
    eraseFirst(packages, item.identifier);
    return;
  }
  for (auto& package : packages) {
    if (eraseFirst(package.rules, item.identifier)) return;
  }
}

/// So few that packages and rules share them, and some are there more than once.
rc::Gen<std::string> fewIDs() {
  return rc::gen::element<std::string>("1", "2", "3", "4", "5", "6");
}

rc::Gen<Packages> fewPackages() {
  const auto rules = rc::gen::container<std::vector<Rule>>(
      rc::gen::map(fewIDs(), [](const std::string& id) { return blockRule(id); }));
  return rc::gen::container<Packages>(rc::gen::apply(
      [](const std::string& id, const std::vector<Rule>& of) { return packageOf(id, of); },
      fewIDs(), rules));
}

RC_GTEST_PROP(ItemRemovalProperties, RemovingManyIsRemovingEachInTurn, ()) {
  auto expected = *fewPackages();
  const auto items = *rc::gen::container<std::vector<Item>>(rc::gen::apply(
      [](bool isPackage, const std::string& id) { return isPackage ? aPackage(id) : aRule(id); },
      rc::gen::arbitrary<bool>(), fewIDs()));
  const auto removed = without(items, expected);
  for (const auto& item : items) removePlainly(item, expected);
  RC_ASSERT(removed == expected);
}

}  // namespace
}  // namespace orvane::test
