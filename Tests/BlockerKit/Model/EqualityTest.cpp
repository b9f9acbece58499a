#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "BlockerKit/Model/Package.h"

namespace orvane {
namespace {

Trigger fullTrigger() {
  return {.urlFilter = "ads",
          .caseSensitive = true,
          .resourceTypes = std::vector{ResourceType::Image, ResourceType::Script},
          .loadType = std::vector{LoadType::FirstParty, LoadType::ThirdParty},
          .domainFilter = DomainFilter{DomainFilterType::IfDomain, {"a.test", "b.test"}}};
}

Rule fullRule() { return {"1", "one", {fullTrigger(), *Action::make(ActionType::Hide, "div.ad")}}; }

/// Each of the changes makes another value, and the same change made twice the same value.
template <typename Value>
void expectEachChangeTells(const Value& original,
                           const std::vector<std::function<void(Value&)>>& changes) {
  EXPECT_TRUE(original == Value(original));
  for (std::size_t index = 0; index < changes.size(); ++index) {
    Value changed = original;
    changes[index](changed);
    EXPECT_FALSE(original == changed) << "change " << index;
    EXPECT_TRUE(original != changed) << "change " << index;
    Value again = original;
    changes[index](again);
    EXPECT_TRUE(again == changed) << "change " << index;
  }
}

TEST(EqualityTest, ADomainFilterIsItsTypeAndItsOrderedNames) {
  expectEachChangeTells<DomainFilter>(
      {DomainFilterType::IfDomain, {"a.test", "b.test"}},
      {[](auto& filter) { filter.type = DomainFilterType::UnlessDomain; },
       [](auto& filter) {
         filter.values = {"b.test", "a.test"};
       },
       [](auto& filter) { filter.values = {"a.test"}; },
       [](auto& filter) {
         filter.values = {"a.test", "b.test", "b.test"};
       },
       [](auto& filter) {
         filter.values = {"a.test", "B.test"};
       },
       [](auto& filter) { filter.values = {}; }});
}

TEST(EqualityTest, EveryFieldOfATriggerCounts) {
  expectEachChangeTells<Trigger>(
      fullTrigger(),
      {[](auto& trigger) { trigger.urlFilter = "Ads"; },
       [](auto& trigger) { trigger.caseSensitive = false; },
       [](auto& trigger) { trigger.resourceTypes.reset(); },
       [](auto& trigger) { trigger.resourceTypes->clear(); },
       [](auto& trigger) { trigger.resourceTypes->pop_back(); },
       [](auto& trigger) {
         trigger.resourceTypes = {ResourceType::Script, ResourceType::Image};
       },
       [](auto& trigger) { trigger.loadType.reset(); },
       [](auto& trigger) { trigger.loadType->clear(); },
       [](auto& trigger) { trigger.loadType->pop_back(); },
       [](auto& trigger) {
         trigger.loadType = {LoadType::ThirdParty, LoadType::FirstParty};
       },
       [](auto& trigger) { trigger.domainFilter.reset(); },
       [](auto& trigger) {
         trigger.domainFilter->values = {"b.test", "a.test"};
       },
       [](auto& trigger) { trigger.domainFilter->type = DomainFilterType::UnlessDomain; }});
}

TEST(EqualityTest, AnAbsentListDiffersFromAnEmptyOne) {
  const Trigger absent{.urlFilter = "ads"};
  const Trigger noResourceTypes{.urlFilter = "ads", .resourceTypes = std::vector<ResourceType>()};
  const Trigger noLoadTypes{.urlFilter = "ads", .loadType = std::vector<LoadType>()};
  EXPECT_NE(absent, noResourceTypes);
  EXPECT_NE(absent, noLoadTypes);
  EXPECT_EQ(absent, Trigger{.urlFilter = "ads"});
  EXPECT_EQ(noResourceTypes, Trigger(noResourceTypes));
}

TEST(EqualityTest, ATriggerStartsCaseInsensitiveForAllLoadsOnEverySite) {
  const Trigger trigger{.urlFilter = "ads"};
  EXPECT_FALSE(trigger.caseSensitive);
  EXPECT_EQ(trigger.resourceTypes, std::nullopt);
  EXPECT_EQ(trigger.loadType, std::nullopt);
  EXPECT_EQ(trigger.domainFilter, std::nullopt);
}

TEST(EqualityTest, AnActionIsItsTypeAndItsSelector) {
  expectEachChangeTells<Action>(
      *Action::make(ActionType::Hide, "div.ad"),
      {[](auto& action) { action = *Action::make(ActionType::Hide, "div.AD"); },
       [](auto& action) { action = *Action::make(ActionType::Hide, ""); },
       [](auto& action) { action = Action::asRead(ActionType::Hide, std::nullopt); },
       [](auto& action) { action = Action::asRead(ActionType::Block, "div.ad"); }});
}

TEST(EqualityTest, ABlockerIsItsTriggerAndItsAction) {
  expectEachChangeTells<Blocker>(
      fullRule().blocker,
      {[](auto& blocker) { blocker.trigger.urlFilter = ""; },
       [](auto& blocker) { blocker.action = *Action::make(ActionType::Block); }});
}

TEST(EqualityTest, RulesWithEqualBlockersAndDifferentIdsAreUnequal) {
  expectEachChangeTells<Rule>(
      fullRule(), {[](auto& rule) { rule.id = "2"; }, [](auto& rule) { rule.name = "One"; },
                   [](auto& rule) { rule.blocker.trigger.urlFilter = ""; }});
}

TEST(EqualityTest, APackageIsItsIdItsNameAndItsOrderedRules) {
  Rule second = fullRule();
  second.id = "2";
  expectEachChangeTells<Package>(
      {"p", "name", {fullRule(), second}},
      {[](auto& package) { package.id = "q"; }, [](auto& package) { package.name = "Name"; },
       [](auto& package) { package.rules.pop_back(); },
       [](auto& package) { std::swap(package.rules[0], package.rules[1]); },
       [](auto& package) { package.rules[1].name = "two"; },
       [](auto& package) { package.rules.clear(); }});
}

TEST(EqualityTest, RecordsAreValues) {
  const Package original{"p", "name", {fullRule()}};
  Package copy = original;
  copy.rules[0].blocker.trigger.domainFilter->values = {"other.test"};
  EXPECT_EQ(original.rules[0], fullRule());
  EXPECT_NE(copy, original);
}

}  // namespace
}  // namespace orvane
