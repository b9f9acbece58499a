#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/ConnectedMachine.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char* fullDuplicate =
    "Local record is a full duplicate of server version, minus metadata";

class MergeConflict : public ConnectedMachine {
 protected:
  void edit(const Rule& rule) { machine->sync->ruleAdded(rule, package); }
  /// The rule is known to both, and then both change it.
  void conflict(const Rule& ours, const CKRecord& theirs) {
    edit(blockRule(ours.id));
    machine->run();
    cloudSide.save(theirs);
    edit(ours);
  }
  const Package package = packageOf("block-url");
};

using FatalMerge = MergeConflict;

TEST_F(MergeConflict, saysWhatItDoes) {
  conflict(blockRule("a", "ours"), ruleRecord("a", "theirs"));
  EXPECT_THAT(printedByRun(),
              ElementsAre("Records to add/modify 1", "Records to delete 0",
                          "Splitting data into 1 operations", "a The record has changed.",
                          "Merging a", "Changetag for a: 2", "Records to add/modify 1",
                          "Records to delete 0", "Splitting data into 1 operations",
                          "Local changes pushed successfully!", "Changetag for a: 3"));
}

TEST_F(MergeConflict, isSentAgainWithTheServersChangeTag) {
  conflict(blockRule("a", "ours"), ruleRecord("a", "theirs"));
  listRequests();
  machine->run();
  ASSERT_EQ(batches.size(), 2U);
  EXPECT_EQ(batches[0].recordsToSave.at(0).recordChangeTag(), "1");
  EXPECT_EQ(batches[1].recordsToSave.at(0).recordChangeTag(), "2");
  EXPECT_FALSE(isAdded("a"));
}

TEST_F(MergeConflict, isFlushed) {
  conflict(blockRule("a", "ours"), ruleRecord("a", "theirs"));
  const auto before = machine->machine.suiteAtRisk.synchronizations;
  machine->run();
  EXPECT_EQ(machine->machine.suiteAtRisk.synchronizations, before + 2)
      << "and the push that follows";
}

TEST_F(MergeConflict, endsWithTheLocalValueOfWhatBothHaveChanged) {
  conflict(blockRule("a", "ours"), ruleRecord("a", "theirs"));
  machine->run();
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "ours");
}

TEST_F(MergeConflict, endsWithTheLocalValueOfWhatTheServerLacks) {
  auto theirs = ruleRecord("a");
  theirs.setValue("name", std::nullopt);
  conflict(blockRule("a", "ours"), theirs);
  machine->run();
  EXPECT_EQ(cloudSide.text("a", "name"), "R");
}

TEST_F(MergeConflict, keepsWhatOnlyTheServerHas) {
  auto theirs = ruleRecord("a", "theirs");
  theirs.setValue("futureField", std::string("kept"));
  conflict(blockRule("a", "ours"), theirs);
  machine->run();
  EXPECT_EQ(cloudSide.text("a", "futureField"), "kept");
}

TEST_F(MergeConflict, clearsWhatTheLocalRuleNoLongerHas) {
  auto theirs = ruleRecord("a");
  theirs.setValue("selector", std::string(".ad"));
  conflict(blockRule("a", "ours"), theirs);
  machine->run();
  EXPECT_EQ(cloudSide.text("a", "selector"), "");
}

TEST_F(MergeConflict, ofARecordThatTheServerHasAlikeForgetsIt) {
  cloudSide.save(ruleRecord("a"));
  edit(blockRule("a"));
  listRequests();
  EXPECT_THAT(printedByRun(),
              ElementsAre("Records to add/modify 1", "Records to delete 0",
                          "Splitting data into 1 operations", "a The record has changed.",
                          "Merging a", fullDuplicate, "No local record changes to push"));
  EXPECT_THAT(requests, ElementsAre(CloudRequest::modifyRecords));
  EXPECT_FALSE(isAdded("a"));
  EXPECT_FALSE(hasMetadata("a"));
}

TEST_F(MergeConflict, ofARecordThatWasSavedBeforeIsNoDuplicate) {
  conflict(blockRule("a", "same"), ruleRecord("a", "same"));
  machine->run();
  EXPECT_EQ(count(fullDuplicate), 0U);
  EXPECT_FALSE(isAdded("a"));
}

TEST_F(MergeConflict, ofARecordThatWasNeverSavedFromHereEndsWithTheServersValues) {
  cloudSide.save(ruleRecord("a", "theirs"));
  machine->add(blockRule("a", "ours"));
  machine->run();
  fetch();
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "theirs");
  EXPECT_EQ(machine->dataManager.configurablePackage(ConfigurablePackageType::BlockURL)
                ->rules.at(0)
                .blocker.trigger.urlFilter,
            "theirs");
  EXPECT_FALSE(isAdded("a"));
}

TEST_F(MergeConflict, ofAPackageEndsWithTheLocalName) {
  set("AddedPackages", Dictionary{{"p", packageFields()}});
  push();
  cloudSide.save(packageRecord("p", "theirs"));
  set("AddedPackages", Dictionary{{"p", Dictionary{{"name", "ours"}}}});
  push();
  EXPECT_EQ(cloudSide.text("p", "name"), "ours");
  EXPECT_EQ(object("AddedPackages"), Value(Dictionary{}));
}

TEST_F(MergeConflict, putsTheMergedFieldsIntoTheQueue) {
  auto theirs = ruleRecord("a", "theirs", "theirs");
  cloudSide.save(theirs);
  edit(blockRule("a", "ours"));
  Value queued;
  std::size_t saves = 0;
  machine->cloud().watch([&](CloudRequest request, const CloudBatch* /*batch*/) {
    if (request == CloudRequest::modifyRecords && ++saves == 2) queued = object("AddedRules");
  });
  machine->run();
  EXPECT_EQ(saves, 2U);
  EXPECT_EQ(queued, Value(Dictionary{{"a", blockFields("theirs", "theirs")}}));
}

TEST_F(MergeConflict, decidesOnOneRecordAtATime) {
  edit(blockRule("a"));
  edit(blockRule("b"));
  machine->run();
  cloudSide.save(ruleRecord("a", "theirs"));
  cloudSide.save(ruleRecord("b", "theirs"));
  edit(blockRule("a", "ours"));
  edit(blockRule("b", "ours"));
  machine->run();
  EXPECT_EQ(count("Merging a"), 1U);
  EXPECT_EQ(count("Merging b"), 1U);
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "ours");
  EXPECT_EQ(cloudSide.text("b", "urlFilter"), "ours");
}

TEST_F(MergeConflict, leavesADeletionThatWasMadeMeanwhile) {
  conflict(blockRule("a", "ours"), ruleRecord("a", "theirs"));
  during(CloudRequest::modifyRecords,
         [this] { machine->sync->ruleDeleted(blockRule("a"), package); });
  machine->run();
  EXPECT_EQ(count("Merging a"), 1U);
  EXPECT_FALSE(isAdded("a"));
  EXPECT_THAT(cloudSide.names(), IsEmpty());
}

TEST_F(MergeConflict, leavesAnEditThatWasMadeMeanwhile) {
  conflict(blockRule("a", "ours"), ruleRecord("a", "theirs"));
  during(CloudRequest::modifyRecords, [this] { edit(blockRule("a", "newer")); });
  machine->run();
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "newer");
  EXPECT_FALSE(isAdded("a"));
}

TEST_F(MergeConflict, ofADuplicateLeavesAnEditThatWasMadeMeanwhile) {
  cloudSide.save(ruleRecord("a"));
  edit(blockRule("a"));
  std::vector<CKRecord::Value> sent;
  machine->cloud().watch([&](CloudRequest /*request*/, const CloudBatch* batch) {
    if (batch == nullptr) return;
    sent.push_back(batch->recordsToSave.at(0).value("urlFilter"));
    if (sent.size() == 1) edit(blockRule("a", "newer"));
  });
  machine->run();
  EXPECT_EQ(count(fullDuplicate), 1U);
  ASSERT_GE(sent.size(), 2U);
  EXPECT_EQ(sent[1], CKRecordValue(std::string("newer")));
}

TEST_F(MergeConflict, whoseResultIsNoRuleForgetsIt) {
  auto theirs = ruleRecord("a");
  theirs.setValue("actionType", std::string("explode"));
  cloudSide.save(theirs);
  edit(blockRule("a"));
  machine->run();
  EXPECT_THAT(take(), Contains(AllOf(StartsWith("Merge failed: incorrect record "),
                                     HasSubstr("rule a"), HasSubstr("explode"))));
  EXPECT_FALSE(isAdded("a"));
}

TEST_F(MergeConflict, whoseResultIsARuleOfNoPackageForgetsIt) {
  auto theirs = ruleRecord("a");
  theirs.setValue("package", std::string("block-url"));
  cloudSide.save(theirs);
  edit(blockRule("a"));
  machine->run();
  EXPECT_THAT(take(), Contains(StartsWith("Merge failed: incorrect record ")));
  EXPECT_FALSE(isAdded("a"));
}

TEST_F(MergeConflict, whoseResultIsNoPackageForgetsIt) {
  CKRecord theirs("package", {"p", rulesZone});
  theirs.setValue("name", std::int64_t{1});
  cloudSide.save(theirs);
  set("AddedPackages", Dictionary{{"p", packageFields()}});
  push();
  EXPECT_THAT(take(), Contains(StartsWith("Merge failed: incorrect record ")));
  EXPECT_EQ(object("AddedPackages"), Value(Dictionary{}));
}

TEST_F(FatalMerge, withAnUnknownTypeStopsTheProcess) {
  CKRecord note("note", {"a", rulesZone});
  note.setValue("name", std::string("N"));
  cloudSide.save(note);
  edit(blockRule("a"));
  EXPECT_DEATH(machine->run(),
               "Fatal error: Unknown record type note: file BlockerKit/SyncManager, line [0-9]+");
}

TEST_F(MergeConflict, ofAnEditBehindALostFirstSaveEndsWithWhatWasSavedFirst) {
  // The rule was never saved as far as this machine knows, so what the cloud has stays.
  machine->add(blockRule("a"));
  machine->cloud().loseAnswer();
  machine->run();
  machine->add(blockRule("a", "edited"));
  machine->run();
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "x");
}

}  // namespace
}  // namespace orvane::test
