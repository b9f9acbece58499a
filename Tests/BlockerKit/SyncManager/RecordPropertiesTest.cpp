#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "BlockerKit/SyncManager/RecordDecoding.h"
#include "BlockerKit/SyncManager/RecordsToSave.h"
#include "Tests/BlockerKit/SyncManager/SyncManagerFixture.h"
#include "Tests/Support/ModelGenerators.h"

namespace orvane::test {
namespace {

/// A text that a record can hold.
std::string travelling(std::string text) {
  std::erase(text, '\0');
  return text;
}

Rule travelling(Rule rule) {
  auto& trigger = rule.blocker.trigger;
  const auto& action = rule.blocker.action;
  trigger.urlFilter = travelling(trigger.urlFilter);
  if (trigger.domainFilter) {
    for (auto& value : trigger.domainFilter->values) value = travelling(value);
  }
  auto selector = action.selector();
  if (selector) selector = travelling(*selector);
  return {rule.id, travelling(rule.name), {trigger, Action::asRead(action.type(), selector)}};
}

rc::Gen<std::string> recordNames() {
  return rc::gen::map(texts(), [](std::string text) {
    auto name = "id " + travelling(std::move(text));
    return name.size() <= 255 ? name : std::string("a long one");
  });
}

RC_GTEST_PROP(RecordProperties, ARuleComesBackFromTheQueueAndTheCloudAsItWas, ()) {
  const auto rule = travelling(*rules(recordNames()));
  const auto package = *recordNames();
  SyncProcess process;
  RC_ASSERT(
      process.queue.change([&](LocalChangesEdit& edit) {
                     edit.addRules({&rule, 1}, package);
                   })
          .has_value());
  const auto records = process.queue.all(rulesZone).recordsToSave.all();
  RC_ASSERT(records.size() == 1U);
  const auto fetched = records.front().savedWithChangeTag("tag");
  RC_ASSERT(ruleFromRecord(fetched) == rule);
  RC_ASSERT(packageIdentifierFromRecord(fetched) == package);
  RC_ASSERT(process.logged().empty());
}

RC_GTEST_PROP(RecordProperties, APackageComesBackWithoutItsRules, ()) {
  const auto identifier = *recordNames();
  const auto name = travelling(*texts());
  RecordingOutput log;
  const auto records =
      recordsToSave(RecordKind::package, {{identifier, packageFieldDictionary(name)}}, {}, log);
  RC_ASSERT(records.size() == 1U);
  RC_ASSERT(packageFromRecord(records.front()) == (Package{identifier, name, {}}));
}

}  // namespace
}  // namespace orvane::test
