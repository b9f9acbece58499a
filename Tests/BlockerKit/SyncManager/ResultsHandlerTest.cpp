#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/SyncManager/ResultsHandler.h"
#include "Tests/BlockerKit/SyncManager/ConnectedMachine.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Pages = std::vector<std::string>;

constexpr auto replace = InMemoryFileSystem::Operation::replace;

class ResultsOfAFetch : public NewMachine {
 protected:
  ResultsOfAFetch() {
    machine->dataManager.customPackages();
    machine->dataManager.configurablePackages();
  }
  void apply(RemoteChanges changes, bool moreComing = false, const std::string& page = "") {
    handler->apply(
        std::move(changes), page, moreComing,
        [this](const SafariReloadingResult& result) { completions.push_back(result.isSuccess()); });
    machine->run();
  }
  DataManager& catalogue() { return machine->dataManager; }
  static std::string file(const char* name) {
    return std::string(TestPlatform::container) + "/" + name;
  }

  std::vector<bool> completions;
  Pages saved;
  std::optional<ResultsHandler> handler{std::in_place, *machine->machine.mainQueue,
                                        machine->dataManager, [this](const Pages& pages) {
                                          saved.insert(saved.end(), pages.begin(), pages.end());
                                          return true;
                                        }};
};

TEST_F(ResultsOfAFetch, areAppliedInOneGoOnceAllHasCome) {
  apply({.deleted = {}, .rules = {{blockRule("a"), "p"}}, .packages = {}}, true);
  apply({.deleted = {"nobody"}, .rules = {}, .packages = {}}, true);
  EXPECT_EQ(machine->rules("p"), std::nullopt);
  EXPECT_EQ(machine->reloads, 0U);
  EXPECT_THAT(completions, IsEmpty());
  apply({.deleted = {}, .rules = {{blockRule("b"), "p"}}, .packages = {packageOf("p")}});
  EXPECT_THAT(machine->rules("p").value(), ElementsAre("a", "b"));
  EXPECT_EQ(machine->reloads, 1U);
  EXPECT_THAT(completions, ElementsAre(true));
}

TEST_F(ResultsOfAFetch, areOnDisk) {
  apply({.deleted = {}, .rules = {{blockRule("a"), "p"}}, .packages = {packageOf("p")}});
  restart();
  EXPECT_THAT(machine->rules("p").value(), ElementsAre("a"));
}

TEST_F(ResultsOfAFetch, wakeNoPush) {
  listRequests();
  apply({.deleted = {"b"}, .rules = {{blockRule("a"), "p"}}, .packages = {packageOf("p")}});
  EXPECT_THAT(requests, IsEmpty());
  EXPECT_FALSE(isAdded("a"));
}

TEST_F(ResultsOfAFetch, deleteBeforeTheyAdd) {
  apply({.deleted = {"a", "p"}, .rules = {{blockRule("a"), "p"}}, .packages = {packageOf("p")}});
  EXPECT_THAT(machine->rules("p").value(), ElementsAre("a"));
}

TEST_F(ResultsOfAFetch, deleteAPackageAndItsRuleBeforeTheyAdd) {
  apply({.deleted = {}, .rules = {{blockRule("a"), "p"}}, .packages = {packageOf("p")}});
  apply({.deleted = {"a", "p"}, .rules = {}, .packages = {packageOf("p")}});
  EXPECT_THAT(machine->rules("p").value(), IsEmpty());
}

TEST_F(ResultsOfAFetch, addPackagesBeforeTheirRules) {
  apply({.deleted = {}, .rules = {{blockRule("a"), "p"}}, .packages = {packageOf("p")}});
  EXPECT_THAT(machine->rules("p").value(), ElementsAre("a"));
}

TEST_F(ResultsOfAFetch, dropARuleWhosePackageIsUnknown) {
  apply({.deleted = {}, .rules = {{blockRule("a"), "q"}}, .packages = {}});
  EXPECT_THAT(take(), Contains("Can't find package with identifier q"));
  EXPECT_EQ(machine->rules("q"), std::nullopt);
  EXPECT_THAT(completions, ElementsAre(true));
}

TEST_F(ResultsOfAFetch, leaveAConfigurablePackageAsItIs) {
  machine->dataManager.addRule(blockRule("a"), "block-url");
  apply({.deleted = {}, .rules = {}, .packages = {packageOf("block-url")}});
  EXPECT_THAT(take(), Contains("There's already a configurable package with ID block-url"));
  EXPECT_THAT(machine->rules().value(), ElementsAre("a"));
}

TEST_F(ResultsOfAFetch, replaceARuleInItsPlace) {
  apply({.deleted = {},
         .rules = {{blockRule("a"), "block-url"}, {blockRule("b"), "block-url"}},
         .packages = {}});
  apply({.deleted = {}, .rules = {{blockRule("a", "changed"), "block-url"}}, .packages = {}});
  const auto& rules = catalogue().configurablePackage(ConfigurablePackageType::BlockURL)->rules;
  EXPECT_THAT(rules, ElementsAre(blockRule("a", "changed"), blockRule("b")));
}

TEST_F(ResultsOfAFetch, addTheRulesOfAPackageInTheirOrderWhateverComesInBetween) {
  apply({.deleted = {},
         .rules = {{blockRule("b"), "p"},
                   {blockRule("c"), "q"},
                   {blockRule("a"), "p"},
                   {blockRule("b"), "q"},
                   {blockRule("b", "last"), "p"},
                   {blockRule("a"), "q"}},
         .packages = {packageOf("p"), packageOf("q")}});
  EXPECT_THAT(catalogue().customPackages()[0].rules,
              ElementsAre(blockRule("b", "last"), blockRule("a")));
  EXPECT_THAT(catalogue().customPackages()[1].rules,
              ElementsAre(blockRule("c"), blockRule("b"), blockRule("a")));
}

TEST_F(ResultsOfAFetch, removeARuleFromWhateverPackageItIsIn) {
  apply({.deleted = {},
         .rules = {{blockRule("a"), "block-url"}, {blockRule("b"), "p"}},
         .packages = {packageOf("p")}});
  apply({.deleted = {"a", "b"}, .rules = {}, .packages = {}});
  EXPECT_THAT(machine->rules().value(), IsEmpty());
  EXPECT_THAT(machine->rules("p").value(), IsEmpty());
}

TEST_F(ResultsOfAFetch, renameAPackageWithoutEmptyingIt) {
  apply({.deleted = {}, .rules = {{blockRule("a"), "p"}}, .packages = {packageOf("p")}});
  auto renamed = packageOf("p");
  renamed.name = "Renamed";
  apply({.deleted = {}, .rules = {}, .packages = {renamed}});
  EXPECT_THAT(catalogue().customPackages(), ElementsAre(Package{"p", "Renamed", {blockRule("a")}}));
}

TEST_F(ResultsOfAFetch, thatAreNoneAreNotSavedNorToldOf) {
  bool isSaved = false;
  const auto observation = machine->machine.notificationCenter.addObserver(
      DataManager::willSaveNotification, [&](const NSNotification&) { isSaved = true; });
  apply({});
  EXPECT_FALSE(isSaved);
  EXPECT_EQ(machine->reloads, 0U);
  EXPECT_THAT(completions, IsEmpty());
}

TEST_F(ResultsOfAFetch, areNotAppliedTwice) {
  apply({.deleted = {}, .rules = {{blockRule("a"), "block-url"}}, .packages = {}});
  apply({});
  EXPECT_EQ(machine->reloads, 1U);
  EXPECT_THAT(completions, ElementsAre(true));
}

TEST_F(ResultsOfAFetch, ofAnEarlierProcessAreAppliedWithTheNextFetch) {
  handler->append({.deleted = {}, .rules = {{blockRule("a"), "block-url"}}, .packages = {}}, "1");
  machine->run();
  EXPECT_THAT(machine->rules().value(), IsEmpty());
  apply({});
  EXPECT_THAT(machine->rules().value(), ElementsAre("a"));
  EXPECT_THAT(saved, ElementsAre("1"));
}

TEST_F(ResultsOfAFetch, tellWhichPagesAreOnDisk) {
  apply({.deleted = {"x"}, .rules = {}, .packages = {}}, true, "1");
  EXPECT_THAT(saved, IsEmpty());
  apply({.deleted = {"y"}, .rules = {}, .packages = {}}, false, "2");
  EXPECT_THAT(saved, ElementsAre("1", "2"));
}

TEST_F(ResultsOfAFetch, tellOfPagesOnlyOnceTheFilesAreWritten) {
  for (const auto* name : {"ConfigurablePackages.json", "CustomPackages.json"}) {
    saved.clear();
    machine->machine.fileSystem.failAt(replace, file(name));
    apply({.deleted = {},
           .rules = {{blockRule("a", name), "block-url"}},
           .packages = {packageOf("p")}},
          false, "1");
    EXPECT_THAT(saved, IsEmpty());
    machine->machine.fileSystem.stopFailing();
    apply({.deleted = {"nobody"}, .rules = {}, .packages = {}}, false, "2");
    EXPECT_THAT(saved, ElementsAre("1", "2"));
  }
}

TEST_F(ResultsOfAFetch, areNobodysAfterTheHandlerHasEnded) {
  handler->apply({.deleted = {}, .rules = {{blockRule("a"), "block-url"}}, .packages = {}}, "",
                 false, nullptr);
  handler.reset();
  machine->run();
  EXPECT_THAT(machine->rules().value(), IsEmpty());
}

TEST_F(ResultsOfAFetch, needNoCompletion) {
  handler->apply({.deleted = {}, .rules = {{blockRule("a"), "block-url"}}, .packages = {}}, "",
                 false, nullptr);
  machine->run();
  EXPECT_THAT(machine->rules().value(), ElementsAre("a"));
}

}  // namespace
}  // namespace orvane::test
