#include <algorithm>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "BlockerKit/Model/Package.h"
#include "Tests/Support/ModelGenerators.h"

namespace orvane::test {
namespace {

/// A package whose rules often share an id.
Package anyPackage() { return *packages(texts(), fewIdentifiers()); }

bool hasID(const Rule& rule, const std::string& id) { return rule.id == id; }

RC_GTEST_PROP(PackageProperties, SettingARuleChangesThatRuleAlone, ()) {
  const auto package = anyPackage();
  const auto rule = *rules(fewIdentifiers());
  const auto changed = package.packageBySettingRule(rule);

  const auto old = std::find_if(package.rules.begin(), package.rules.end(),
                                [&](const Rule& other) { return hasID(other, rule.id); });
  const auto position = static_cast<std::size_t>(old - package.rules.begin());
  const bool isNew = old == package.rules.end();
  RC_CLASSIFY(isNew, "appended");
  RC_ASSERT(changed.id == package.id);
  RC_ASSERT(changed.name == package.name);
  RC_ASSERT(changed.rules.size() == package.rules.size() + (isNew ? 1U : 0U));
  RC_ASSERT(changed.rules[position] == rule);
  for (std::size_t index = 0; index < package.rules.size(); ++index) {
    if (index != position) RC_ASSERT(changed.rules[index] == package.rules[index]);
  }
}

RC_GTEST_PROP(PackageProperties, SettingARuleTwiceIsSettingItOnce, ()) {
  const auto rule = *rules(fewIdentifiers());
  const auto once = anyPackage().packageBySettingRule(rule);
  RC_ASSERT(once.packageBySettingRule(rule) == once);
}

RC_GTEST_PROP(PackageProperties, RemovingARuleLeavesTheOthersInOrder, ()) {
  const auto package = anyPackage();
  RC_PRE(!package.rules.empty());
  const auto index = *rc::gen::inRange<std::size_t>(0, package.rules.size());
  const auto changed = package.packageByRemovingRuleAtIndex(index);

  RC_ASSERT(changed.id == package.id);
  RC_ASSERT(changed.name == package.name);
  RC_ASSERT(changed.rules.size() + 1 == package.rules.size());
  auto restored = changed.rules;
  restored.insert(restored.begin() + static_cast<std::ptrdiff_t>(index), package.rules[index]);
  RC_ASSERT(restored == package.rules);
}

RC_GTEST_PROP(PackageProperties, RemovingANewRuleUndoesSettingIt, ()) {
  const auto package = anyPackage();
  auto rule = *rules();
  rule.id = "an id that no rule has";
  RC_ASSERT(package.packageBySettingRule(rule).packageByRemovingRuleAtIndex(package.rules.size()) ==
            package);
}

}  // namespace
}  // namespace orvane::test
