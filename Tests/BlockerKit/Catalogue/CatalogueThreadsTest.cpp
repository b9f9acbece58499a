#include <atomic>
#include <thread>

#include "Tests/BlockerKit/Catalogue/CatalogueFixture.h"

namespace orvane::test {
namespace {

constexpr int edits = 200;

/// What a reader finds is the catalogue after some number of edits, and never fewer than before.
TEST(CatalogueThreads, AReaderSeesWholeCataloguesWhileTheMainThreadEditsAndSaves) {
  CatalogueProcess process;
  process.dataManager.setPreinstalledPackages({packageOf("block-ads", {blockRule("ad")})});
  process.dataManager.packages();
  auto& preferences = process.dataManager.preferenceManager();
  std::atomic<bool> isDone = false;
  std::atomic<int> readings = 0;
  std::string wrong;
  std::thread reader([&] {
    std::size_t seen = 0;
    while (!isDone || readings == 0) {
      const auto catalogue = process.dataManager.published().get();
      const auto count = catalogue->configurable->front().rules.size();
      const auto blockers = preferences.enabledBlockers(preferences.disabledPackageIDs(),
                                                        preferences.disabledRuleIDs());
      if (count < seen) wrong = "a rule that was saved is gone";
      if (count % 2 != 0) wrong = "an edit was seen before it was saved";
      if (blockers.size() < 1 + count) wrong = "the compiled list is older than the catalogue";
      seen = count;
      ++readings;
    }
  });
  for (int i = 0; i < edits; ++i) {
    // Each save brings two rules.
    process.dataManager.mergeRemoteRule(blockRule("cloud " + std::to_string(i)), "whitelist");
    EXPECT_TRUE(process.dataManager.addRule(blockRule("own " + std::to_string(i)), "whitelist"));
    if (i % 10 == 0) {
      preferences.disableRuleSynchronouslyWithoutReload(blockRule("nobody's"), packageOf("p"));
      preferences.enableRuleSynchronouslyWithoutReload(blockRule("nobody's"), packageOf("p"));
    }
  }
  isDone = true;
  reader.join();
  EXPECT_EQ(wrong, "");
  EXPECT_GT(readings, 0);
  EXPECT_EQ(process.whitelist().rules.size(), 2U * edits);
}

}  // namespace
}  // namespace orvane::test
