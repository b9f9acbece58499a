#include <algorithm>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "BlockerKit/Catalogue/EnabledBlockers.h"
#include "Tests/Support/ModelGenerators.h"

namespace orvane::test {
namespace {

Blocker blocking(std::string urlFilter) {
  return {{.urlFilter = std::move(urlFilter)}, *Action::make(ActionType::Block)};
}

Rule rule(std::string id, std::string urlFilter) {
  return {std::move(id), "", blocking(std::move(urlFilter))};
}

std::vector<Package> catalogue() {
  return {{"ads", "", {rule("1", "ads-1"), rule("2", "ads-2")}},
          {"custom", "", {rule("1", "custom-1")}},
          {"empty", "", {}},
          {"whitelist", "", {rule("1", "whitelist-1")}}};
}

/// The same for packages that are simply in a list.
std::vector<Blocker> enabledBlockers(const std::vector<Package>& packages,
                                     const std::vector<std::string>& disabledPackageIDs,
                                     const DisabledRuleIDs& disabledRuleIDs) {
  std::vector<const Package*> pointers;
  for (const auto& package : packages) pointers.push_back(&package);
  return orvane::enabledBlockers(pointers, disabledPackageIDs, disabledRuleIDs);
}

using Filters = std::vector<std::string>;

Filters enabledFilters(const std::vector<std::string>& disabledPackageIDs,
                       const DisabledRuleIDs& disabledRuleIDs) {
  Filters filters;
  for (const auto& blocker : enabledBlockers(catalogue(), disabledPackageIDs, disabledRuleIDs)) {
    filters.push_back(blocker.trigger.urlFilter);
  }
  return filters;
}

TEST(EnabledBlockersTest, AllRulesComeInTheOrderOfThePackagesAndOfTheRules) {
  EXPECT_EQ(enabledFilters({}, {}), (Filters{"ads-1", "ads-2", "custom-1", "whitelist-1"}));
}

TEST(EnabledBlockersTest, ADisabledPackageIsLeftOutWhole) {
  EXPECT_EQ(enabledFilters({"ads"}, {}), (Filters{"custom-1", "whitelist-1"}));
  EXPECT_EQ(enabledFilters({"ads", "ads", "custom"}, {}), (Filters{"whitelist-1"}));
}

TEST(EnabledBlockersTest, WithTheWhitelistSwitchedOffItsRulesAreGone) {
  EXPECT_EQ(enabledFilters({"whitelist"}, {}), (Filters{"ads-1", "ads-2", "custom-1"}));
}

TEST(EnabledBlockersTest, ADisabledRuleIsLeftOutOfItsOwnPackageOnly) {
  EXPECT_EQ(enabledFilters({}, {{"ads", {"1"}}}), (Filters{"ads-2", "custom-1", "whitelist-1"}));
  EXPECT_EQ(enabledFilters({}, {{"ads", {"2", "1", "2"}}}), (Filters{"custom-1", "whitelist-1"}));
}

TEST(EnabledBlockersTest, AnEmptyEntrySwitchesNothingOff) {
  EXPECT_EQ(enabledFilters({}, {{"ads", {}}}), enabledFilters({}, {}));
}

TEST(EnabledBlockersTest, UnknownIdentifiersSwitchNothingOff) {
  EXPECT_EQ(enabledFilters({"ADS", "", "1"}, {{"ads", {"3", "", "ads-1"}}, {"other", {"1"}}}),
            enabledFilters({}, {}));
}

TEST(EnabledBlockersTest, ADisabledPackageNeedsNoEntryForItsRules) {
  EXPECT_EQ(enabledFilters({"ads"}, {{"ads", {"1"}}}), (Filters{"custom-1", "whitelist-1"}));
}

TEST(EnabledBlockersTest, AnEmptyCatalogueGivesAnEmptyList) {
  EXPECT_TRUE(enabledBlockers(std::vector<Package>(), {"ads"}, {{"ads", {"1"}}}).empty());
}

TEST(EnabledBlockersTest, EveryRuleWithADisabledIdIsLeftOut) {
  const std::vector<Package> packages{{"p", "", {rule("1", "a"), rule("2", "b"), rule("1", "c")}}};
  EXPECT_EQ(enabledBlockers(packages, {}, {{"p", {"1"}}}), std::vector{blocking("b")});
}

TEST(EnabledBlockersTest, BlockersAreTakenAsTheyAre) {
  const Rule full{"1",
                  "one",
                  {{.urlFilter = "ads",
                    .caseSensitive = true,
                    .resourceTypes = std::vector{ResourceType::Font},
                    .loadType = std::vector<LoadType>(),
                    .domainFilter = DomainFilter{DomainFilterType::IfDomain, {"a.test"}}},
                   *Action::make(ActionType::Hide, "div.ad")}};
  const std::vector<Package> packages{{"p", "", {full}}};
  EXPECT_EQ(enabledBlockers(packages, {}, {}), std::vector{full.blocker});
}

/// The definition, word for word.
std::vector<Blocker> naiveEnabledBlockers(const std::vector<Package>& packages,
                                          const std::vector<std::string>& disabledPackageIDs,
                                          const DisabledRuleIDs& disabledRuleIDs) {
  const auto contains = [](const std::vector<std::string>& ids, const std::string& id) {
    return std::count(ids.begin(), ids.end(), id) > 0;
  };
  std::vector<Blocker> result;
  for (const auto& package : packages) {
    for (const auto& rule : package.rules) {
      const auto entry = disabledRuleIDs.find(package.id);
      const bool isDisabled = contains(disabledPackageIDs, package.id) ||
                              (entry != disabledRuleIDs.end() && contains(entry->second, rule.id));
      if (!isDisabled) result.push_back(rule.blocker);
    }
  }
  return result;
}

RC_GTEST_PROP(EnabledBlockersProperties, AgreesWithTheDefinition, ()) {
  const auto packages = *packageLists(fewIdentifiers(), fewIdentifiers());
  const auto ids =
      rc::gen::resize(3, rc::gen::container<std::vector<std::string>>(fewIdentifiers()));
  const auto disabledPackageIDs = *ids;
  const auto disabledRuleIDs = *rc::gen::container<DisabledRuleIDs>(fewIdentifiers(), ids);
  const auto expected = naiveEnabledBlockers(packages, disabledPackageIDs, disabledRuleIDs);
  RC_CLASSIFY(!expected.empty(), "some enabled");
  RC_ASSERT(enabledBlockers(packages, disabledPackageIDs, disabledRuleIDs) == expected);
}

RC_GTEST_PROP(EnabledBlockersProperties, TheListsOfPackagesFollowEachOther, ()) {
  const auto front = *packageLists(fewIdentifiers(), fewIdentifiers());
  const auto back = *packageLists(fewIdentifiers(), fewIdentifiers());
  const std::vector<std::string> disabledPackageIDs{"1"};
  const DisabledRuleIDs disabledRuleIDs{{"2", {"1", "3"}}};
  auto all = front;
  all.insert(all.end(), back.begin(), back.end());
  auto expected = enabledBlockers(front, disabledPackageIDs, disabledRuleIDs);
  const auto behind = enabledBlockers(back, disabledPackageIDs, disabledRuleIDs);
  expected.insert(expected.end(), behind.begin(), behind.end());
  RC_ASSERT(enabledBlockers(all, disabledPackageIDs, disabledRuleIDs) == expected);
}

}  // namespace
}  // namespace orvane::test
