#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/ConnectedMachine.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class Fetch : public ConnectedMachine {
 protected:
  /// What was printed, but for what the catalogue says of its files.
  std::vector<std::string> takeSync() {
    auto lines = take();
    std::erase_if(lines, [](const std::string& line) { return line.starts_with("Wrote "); });
    return lines;
  }
  /// With a completion whose answers are kept.
  void fetchAndTell() {
    machine->sync->fetchRemoteChanges([this](bool isSuccess) { told.push_back(isSuccess); });
    machine->run();
  }
  std::vector<std::string> rules() { return machine->rules().value(); }
  std::string urlFilter(const std::string& rule) {
    for (const auto* package : machine->dataManager.packages()) {
      for (const auto& held : package->rules) {
        if (held.id == rule) return held.blocker.trigger.urlFilter;
      }
    }
    return "";
  }

  std::vector<bool> told;
};

using FatalFetch = Fetch;

TEST_F(Fetch, saysWhatItDoes) {
  cloudSide.save(ruleRecord("a"));
  fetch();
  EXPECT_THAT(takeSync(), ElementsAre("Fetching from remote changes...", "Changetag for a: 1",
                                      "Finished remote changes fetch", nothingToPush));
}

TEST_F(Fetch, thatBringsNothingCallsNobody) {
  fetchAndTell();
  EXPECT_THAT(take(), ElementsAre("Fetching from remote changes...",
                                  "Finished remote changes fetch", nothingToPush));
  EXPECT_THAT(told, IsEmpty());
  EXPECT_EQ(machine->reloads, 0U);
}

TEST_F(Fetch, bringsPackagesAndTheirRules) {
  cloudSide.save(ruleRecord("a", "x", "p"));
  cloudSide.save(packageRecord("p"));
  fetchAndTell();
  EXPECT_THAT(machine->rules("p").value(), ElementsAre("a"));
  EXPECT_EQ(machine->reloads, 1U);
  EXPECT_THAT(told, ElementsAre(true));
}

TEST_F(Fetch, tellsOfAListThatCouldNotBeReloaded) {
  cloudSide.save(ruleRecord("a"));
  machine->reloadResult = SafariReloadingResult::error(NSError{"test", 1, "No."});
  fetchAndTell();
  EXPECT_THAT(told, ElementsAre(false));
}

TEST_F(Fetch, goesOnBehindTheLastToken) {
  cloudSide.save(ruleRecord("a"));
  fetch();
  EXPECT_TRUE(object("ServerToken")->as<PropertyListValue::Data>() != nullptr);
  take();
  cloudSide.save(ruleRecord("b"));
  fetch();
  EXPECT_THAT(take(), Not(Contains("Changetag for a: 1")));
  EXPECT_THAT(rules(), ElementsAre("a", "b"));
}

TEST_F(Fetch, bringsAllWithoutAToken) {
  cloudSide.save(ruleRecord("a"));
  fetch();
  ASSERT_TRUE(machine->defaults().removeObject("ServerToken"));
  take();
  fetch();
  EXPECT_THAT(take(), Contains("Changetag for a: 1"));
}

TEST_F(Fetch, flushesWhatItStores) {
  cloudSide.save(ruleRecord("a"));
  const auto before = machine->machine.suiteAtRisk.synchronizations;
  fetch();
  EXPECT_EQ(machine->machine.suiteAtRisk.synchronizations, before + 1);
}

TEST_F(Fetch, remembersTheChangeTagForTheNextSave) {
  cloudSide.save(ruleRecord("a"));
  fetch();
  machine->sync->ruleAdded(blockRule("a", "ours"), packageOf("block-url"));
  listRequests();
  machine->run();
  EXPECT_THAT(requests, ElementsAre(CloudRequest::modifyRecords));
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "ours");
}

TEST_F(Fetch, writesItsOwnMetadataAndNoOther) {
  cloudSide.save(ruleRecord("a"));
  // A push ends meanwhile.
  during(CloudRequest::fetchChanges, [this] {
    ASSERT_TRUE(
        machine->defaults().setEntry("RecordMetaData", "pushed", PropertyListValue::Data()));
  });
  fetch();
  EXPECT_TRUE(hasMetadata("a"));
  EXPECT_TRUE(hasMetadata("pushed"));
}

TEST_F(Fetch, returnsThisMachinesOwnSavesToo) {
  machine->add(blockRule("a"));
  machine->run();
  take();
  fetch();
  EXPECT_THAT(take(), Contains("Changetag for a: 1"));
  EXPECT_THAT(rules(), ElementsAre("a"));
}

TEST_F(Fetch, pushesWhatIsQueuedInTheEnd) {
  queueRules(1);
  cloudSide.save(ruleRecord("a"));
  listRequests();
  fetch();
  EXPECT_THAT(requests, ElementsAre(CloudRequest::fetchChanges, CloudRequest::modifyRecords));
  EXPECT_THAT(cloudSide.names(), ElementsAre("a", "rule-0"));
}

TEST_F(Fetch, ignoresARuleWithAnUnsentEdit) {
  cloudSide.save(ruleRecord("a", "theirs"));
  set("AddedRules", Dictionary{{"a", blockFields("block-url", "ours")}});
  machine->sync->fetchRemoteChanges(nullptr);
  while (!machine->hasPrinted("Finished remote changes fetch")) {
    ASSERT_TRUE(machine->machine.time.runOne());
  }
  EXPECT_THAT(take(), Not(Contains("Changetag for a: 1")));
  EXPECT_FALSE(hasMetadata("a"));
  EXPECT_TRUE(isAdded("a"));
  machine->machine.mainQueue->runAndWait([] {});
  EXPECT_THAT(rules(), IsEmpty());
}

TEST_F(Fetch, ofARuleWithAnUnsentEditEndsInAMerge) {
  machine->add(blockRule("a"));
  machine->run();
  cloudSide.save(ruleRecord("a", "theirs"));
  set("AddedRules", Dictionary{{"a", blockFields("block-url", "ours")}});
  fetch();
  EXPECT_EQ(count("Merging a"), 1U);
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "ours");
}

TEST_F(Fetch, ignoresAPackageWithAnUnsentEdit) {
  cloudSide.save(packageRecord("p", "theirs"));
  set("AddedPackages", Dictionary{{"p", packageFields()}});
  machine->cloud().failWith(CloudRequest::modifyRecords, errorOf(CKErrorCode::internalError));
  fetch();
  EXPECT_EQ(machine->rules("p"), std::nullopt);
  EXPECT_FALSE(hasMetadata("p"));
}

TEST_F(Fetch, skipsARuleWithoutALinkToItsPackage) {
  auto record = ruleRecord("a");
  record.setValue("package", std::string("block-url"));
  cloudSide.save(record);
  cloudSide.save(ruleRecord("b"));
  fetch();
  EXPECT_THAT(takeSync(), ElementsAre("Fetching from remote changes...", "Changetag for a: 1",
                                      "Can't find package link in a rule", "Changetag for b: 2",
                                      "Finished remote changes fetch", nothingToPush));
  EXPECT_THAT(rules(), ElementsAre("b"));
  EXPECT_TRUE(hasMetadata("a"));
}

TEST_F(Fetch, dropsARuleOfAnUnknownPackage) {
  cloudSide.save(ruleRecord("a", "x", "nowhere"));
  fetch();
  EXPECT_THAT(take(), Contains("Can't find package with identifier nowhere"));
}

TEST_F(Fetch, skipsWhatCannotBeDecoded) {
  auto rule = ruleRecord("a");
  rule.setValue("actionType", std::string("explode"));
  cloudSide.save(rule);
  CKRecord package("package", {"p", rulesZone});
  package.setValue("name", std::int64_t{1});
  cloudSide.save(package);
  fetchAndTell();
  EXPECT_THAT(rules(), IsEmpty());
  EXPECT_EQ(machine->rules("p"), std::nullopt);
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(FatalFetch, ofAnUnknownTypeStopsTheProcess) {
  CKRecord record("note", {"n", rulesZone});
  record.setValue("name", std::string("N"));
  cloudSide.save(record);
  EXPECT_DEATH(fetch(),
               "Fatal error: Unknown record type note: file BlockerKit/SyncManager, line [0-9]+");
}

TEST_F(Fetch, deletesWhatOtherMachinesHaveDeleted) {
  machine->add(blockRule("a"));
  cloudSide.save(packageRecord("p"));
  cloudSide.save(ruleRecord("b", "x", "p"));
  machine->run();
  fetch();
  ASSERT_THAT(machine->rules("p").value(), ElementsAre("b"));
  cloudSide.remove("a");
  cloudSide.remove("b");
  cloudSide.remove("p");
  fetchAndTell();
  EXPECT_THAT(rules(), IsEmpty());
  EXPECT_EQ(machine->rules("p"), std::nullopt);
  EXPECT_THAT(told, ElementsAre(true));
}

TEST_F(Fetch, forgetsWhatOtherMachinesHaveDeleted) {
  queueRules(2);
  push();
  cloudSide.remove("rule-0");
  set("AddedRules", Dictionary{{"rule-0", blockFields("p")}});
  set("AddedPackages", Dictionary{{"rule-0", packageFields()}});
  set("DeletedRules", Array{"rule-0"});
  set("DeletedPackages", Array{"rule-0"});
  listRequests();
  fetch();
  EXPECT_EQ(object("AddedRules"), Value(Dictionary{}));
  EXPECT_EQ(object("AddedPackages"), Value(Dictionary{}));
  EXPECT_EQ(object("DeletedRules"), Value(Array{}));
  EXPECT_EQ(object("DeletedPackages"), Value(Array{}));
  EXPECT_FALSE(hasMetadata("rule-0"));
  EXPECT_TRUE(hasMetadata("rule-1"));
  EXPECT_THAT(requests, ElementsAre(CloudRequest::fetchChanges));
}

TEST_F(Fetch, goesOnWhileMoreIsComing) {
  machine->cloud().setPageSize(1);
  cloudSide.save(ruleRecord("a"));
  cloudSide.save(ruleRecord("b"));
  queueRules(1);
  listRequests();
  fetchAndTell();
  EXPECT_THAT(rules(), ElementsAre("a", "b"));
  EXPECT_THAT(told, ElementsAre(true));
  EXPECT_EQ(machine->reloads, 1U);
  const auto lines = take();
  ASSERT_GE(lines.size(), 7U);
  EXPECT_THAT(std::vector(lines.begin(), lines.begin() + 7),
              ElementsAre("Fetching from remote changes...", "Changetag for a: 1", "more coming...",
                          "Fetching from remote changes...", "Changetag for b: 2",
                          "Finished remote changes fetch", "Records to add/modify 1"));
  EXPECT_THAT(requests, ElementsAre(CloudRequest::fetchChanges, CloudRequest::fetchChanges,
                                    CloudRequest::modifyRecords));
}

TEST_F(Fetch, thatFailsSaysSoAndPushesNothing) {
  cloudSide.save(ruleRecord("a"));
  fetch();
  const auto token = object("ServerToken");
  queueRules(1);
  cloudSide.save(ruleRecord("b"));
  take();
  machine->cloud().failWith(errorOf(CKErrorCode::serviceUnavailable, 1, "Not now."));
  listRequests();
  fetchAndTell();
  advance(1h);
  EXPECT_THAT(take(), ElementsAre("Fetching from remote changes...", "Not now."));
  EXPECT_THAT(told, ElementsAre(false));
  EXPECT_EQ(object("ServerToken"), token);
  EXPECT_THAT(requests, ElementsAre(CloudRequest::fetchChanges));
  fetch();
  EXPECT_THAT(rules(), ElementsAre("a", "b"));
}

TEST_F(Fetch, thatFailsMidwayKeepsWhatHasComeForTheNextOne) {
  machine->cloud().setPageSize(1);
  cloudSide.save(ruleRecord("a"));
  cloudSide.save(ruleRecord("b"));
  std::size_t fetches = 0;
  machine->cloud().watch([&](CloudRequest request, const CloudBatch* /*batch*/) {
    if (request == CloudRequest::fetchChanges && ++fetches == 2) {
      machine->cloud().failWith(errorOf(CKErrorCode::networkFailure, 1));
    }
  });
  fetchAndTell();
  EXPECT_THAT(told, ElementsAre(false));
  EXPECT_THAT(rules(), IsEmpty());
  fetchAndTell();
  EXPECT_THAT(told, ElementsAre(false, true));
  EXPECT_THAT(rules(), ElementsAre("a", "b"));
  EXPECT_EQ(count("Changetag for a: 1"), 1U);
  EXPECT_EQ(machine->reloads, 1U);
}

TEST_F(Fetch, thatCannotBeStoredComesAgain) {
  cloudSide.save(ruleRecord("a"));
  during(CloudRequest::fetchChanges, [this] { machine->machine.suiteAtRisk.isFull = true; });
  fetchAndTell();
  EXPECT_THAT(told, ElementsAre(false));
  machine->machine.suiteAtRisk.isFull = false;
  EXPECT_THAT(rules(), IsEmpty());
  EXPECT_FALSE(hasMetadata("a"));
  fetchAndTell();
  EXPECT_THAT(told, ElementsAre(false, true));
  EXPECT_THAT(rules(), ElementsAre("a"));
}

TEST_F(Fetch, thatCannotBeStoredLeavesNothingForTheNextOne) {
  cloudSide.save(ruleRecord("a"));
  during(CloudRequest::fetchChanges, [this] { machine->machine.suiteAtRisk.isFull = true; });
  fetch();
  machine->machine.suiteAtRisk.isFull = false;
  cloudSide.remove("a");
  fetch();
  EXPECT_THAT(rules(), IsEmpty());
}

TEST_F(Fetch, isNotCancelledByAPush) {
  cloudSide.save(ruleRecord("a"));
  machine->sync->fetchRemoteChanges(nullptr);
  push();
  EXPECT_THAT(rules(), ElementsAre("a"));
}

TEST_F(Fetch, isWhatANotificationAsksFor) {
  cloudSide.save(ruleRecord("a"));
  machine->sync->handleNotification({.subscriptionID = "whatever"},
                                    [this](bool isSuccess) { told.push_back(isSuccess); });
  machine->run();
  EXPECT_THAT(rules(), ElementsAre("a"));
  EXPECT_THAT(told, ElementsAre(true));
}

TEST_F(Fetch, isWhatAnUpdateEndsWith) {
  cloudSide.save(ruleRecord("a"));
  machine->sync->update({});
  machine->run();
  EXPECT_THAT(rules(), ElementsAre("a"));
}

TEST_F(Fetch, ofAnotherZoneUnderTheSameNameBringsAllOfIt) {
  cloudSide.save(ruleRecord("a"));
  fetch();
  cloudSide.deleteZone();
  cloudSide.saveZone();
  cloudSide.save(ruleRecord("b"));
  fetch();
  EXPECT_THAT(rules(), ElementsAre("a", "b"));
}

TEST_F(Fetch, leavesAnEditThatIsMadeMeanwhileInTheQueue) {
  cloudSide.save(ruleRecord("a"));
  fetch();
  cloudSide.save(ruleRecord("a", "theirs"));
  during(CloudRequest::fetchChanges, [this] { machine->add(blockRule("a", "ours")); });
  fetch();
  fetch();
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "ours");
  EXPECT_EQ(urlFilter("a"), "ours");
  EXPECT_FALSE(isAdded("a"));
}

TEST_F(Fetch, ofADeletionDropsARuleThatWasMadeAgainMeanwhile) {
  // Whoever has deleted it, this machine included.
  machine->add(blockRule("a"));
  machine->run();
  machine->sync->ruleDeleted(blockRule("a"), packageOf("block-url"));
  machine->run();
  during(CloudRequest::fetchChanges, [this] { machine->add(blockRule("a", "again")); });
  fetch();
  EXPECT_THAT(rules(), IsEmpty());
  EXPECT_FALSE(isAdded("a"));
  EXPECT_THAT(cloudSide.names(), IsEmpty());
}

TEST_F(Fetch, ofADeletionRemovesARuleThatIsEditedBeforeItIsApplied) {
  machine->add(blockRule("a"));
  machine->run();
  cloudSide.remove("a");
  machine->sync->fetchRemoteChanges(nullptr);
  while (hasMetadata("a")) ASSERT_TRUE(machine->machine.time.runOne());
  machine->add(blockRule("a", "edited"));
  machine->run();
  EXPECT_THAT(rules(), IsEmpty());
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "edited");
  fetch();
  EXPECT_EQ(urlFilter("a"), "edited");
}

TEST_F(Fetch, behindADeletionFindsARuleThatWasMadeAgain) {
  machine->add(blockRule("a"));
  machine->run();
  machine->sync->ruleDeleted(blockRule("a"), packageOf("block-url"));
  machine->run();
  machine->add(blockRule("a", "again"));
  machine->run();
  fetch();
  EXPECT_THAT(rules(), ElementsAre("a"));
  EXPECT_EQ(urlFilter("a"), "again");
}

TEST_F(NewMachine, fetchesOnceItKnowsOfTheZone) {
  listRequests();
  machine->sync->update({});
  machine->run();
  EXPECT_THAT(requests, Contains(CloudRequest::fetchChanges).Times(1));
}

}  // namespace
}  // namespace orvane::test
