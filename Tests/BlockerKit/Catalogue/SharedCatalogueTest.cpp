#include <algorithm>
#include <array>
#include <functional>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Tests/BlockerKit/Catalogue/CatalogueFixture.h"
#include "Tests/Support/ModelGenerators.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr auto configurableType = PackageType::ConfigurablePackages;
constexpr auto customType = PackageType::CustomPackages;

TEST_F(TwoProcesses, BothAddARuleAndBothAreKept) {
  first.dataManager.packages();
  second.dataManager.packages();
  EXPECT_TRUE(first.dataManager.addRule(blockRule("1"), "whitelist"));
  EXPECT_TRUE(second.dataManager.addRule(blockRule("2"), "whitelist"));
  EXPECT_THAT(ruleIDs(second.whitelist()), ElementsAre("1", "2"));
  EXPECT_EQ(second.onDisk(configurableType), second.dataManager.configurablePackages());
  EXPECT_THAT(ruleIDs(first.whitelist()), ElementsAre("1"));
  EXPECT_TRUE(first.dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_THAT(ruleIDs(first.whitelist()), ElementsAre("1", "2"));
}

TEST_F(TwoProcesses, TheHookIsToldOfThePackageAsItIsOnDisk) {
  first.dataManager.packages();
  second.dataManager.packages();
  first.dataManager.addRule(blockRule("1"), "whitelist");
  second.dataManager.addRule(blockRule("2"), "whitelist");
  EXPECT_THAT(second.lines(), Contains("[added 2 in whitelist of 1 2]"));
  EXPECT_THAT(second.lines(), Not(Contains("[added 1 in whitelist of 1 2]")));
}

TEST_F(TwoProcesses, WhatOneDeletedDoesNotComeBackWithASaveOfTheOther) {
  first.dataManager.addRule(blockRule("1"), "whitelist");
  second.dataManager.packages();
  first.dataManager.replaceRule(blockRule("1"), std::nullopt, whitelistType);
  EXPECT_TRUE(second.dataManager.addRule(blockRule("2"), "make-https"));
  EXPECT_THAT(second.whitelist().rules, IsEmpty());
  EXPECT_EQ(second.onDisk(configurableType), second.dataManager.configurablePackages());
}

TEST_F(TwoProcesses, ADeletionIsMadeAgainOnWhatTheOtherSaved) {
  first.dataManager.addRule(blockRule("1"), "whitelist");
  second.dataManager.packages();
  first.dataManager.addRule(blockRule("2"), "whitelist");
  EXPECT_TRUE(second.dataManager.replaceRule(blockRule("1"), std::nullopt, whitelistType));
  EXPECT_THAT(ruleIDs(second.onDisk(configurableType).front()), ElementsAre("2"));
}

TEST_F(TwoProcesses, ADeletionOfARuleThatTheOtherChangedIsADeletion) {
  first.dataManager.addRule(blockRule("1"), "whitelist");
  second.dataManager.packages();
  first.dataManager.addRule(blockRule("1", "changed"), "whitelist");
  EXPECT_TRUE(second.dataManager.replaceRule(blockRule("1"), std::nullopt, whitelistType));
  EXPECT_THAT(second.onDisk(configurableType).front().rules, IsEmpty());
}

TEST_F(TwoProcesses, OnlyTheListThatTheOtherChangedIsReadAgain) {
  first.dataManager.packages();
  second.dataManager.packages();
  first.dataManager.addRule(blockRule("1"), "whitelist");
  second.lines().clear();
  second.dataManager.addRule(blockRule("2"), "whitelist");
  EXPECT_EQ(second.lines(),
            (std::vector<std::string>{
                "[WillSavePackages]", "ConfigurablePackages.json is in Shared Container.",
                "Wrote 5 packages to " + configurableFile,
                "CustomPackages.json is in Shared Container.", "Wrote 0 packages to " + customFile,
                "[DidSavePackages]", "[reload]", "[added 2 in whitelist of 1 2]"}))
      << "both files are new to the second process";
  first.dataManager.addRule(blockRule("3"), "whitelist");
  second.lines().clear();
  second.dataManager.addRule(blockRule("4"), "whitelist");
  EXPECT_THAT(second.lines(), Not(Contains("CustomPackages.json is in Shared Container.")));
  EXPECT_THAT(ruleIDs(second.whitelist()), ElementsAre("1", "2", "3", "4"));
}

TEST_F(TwoProcesses, ARuleThatIsOnDiskDoesNotComeBackAfterTheOtherDeletedIt) {
  first.dataManager.packages();
  files().failAt(Operation::replace, customFile);
  EXPECT_TRUE(first.dataManager.addRule(blockRule("1"), "whitelist"));
  files().stopFailing();
  EXPECT_TRUE(second.dataManager.replaceRule(blockRule("1"), std::nullopt, whitelistType));
  EXPECT_TRUE(first.dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_THAT(first.whitelist().rules, IsEmpty());
  EXPECT_THAT(first.onDisk(configurableType).front().rules, IsEmpty());
}

TEST_F(TwoProcesses, AnEditThatWasMadeIsNotMadeTwiceWhenTheFileOfTheOtherListIsReadAgain) {
  files().put(customFile,
              packagesJSON({packageOf("A", {blockRule("1")}), packageOf("B", {blockRule("1")})}),
              1);
  first.dataManager.packages();
  second.dataManager.addRule(blockRule("2"), "whitelist");
  first.dataManager.removeItem("1");
  EXPECT_TRUE(first.dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_EQ(first.onDisk(customType),
            (std::vector{packageOf("A"), packageOf("B", {blockRule("1")})}));
}

TEST_F(TwoProcesses, ANameFromTheCloudBringsNoRuleBackThatTheOtherHasRemoved) {
  first.dataManager.addPackage({"A", "old", {blockRule("1"), blockRule("2")}});
  EXPECT_TRUE(first.dataManager.save(PackageCollectionType::custom, nullptr));
  second.dataManager.removeItem("1");
  EXPECT_TRUE(second.dataManager.save(PackageCollectionType::custom, nullptr));
  auto renamed = first.dataManager.customPackages().front();
  renamed.name = "new";
  first.dataManager.addPackage(renamed);
  EXPECT_TRUE(first.dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_EQ(first.onDisk(customType), (std::vector<Package>{{"A", "new", {blockRule("2")}}}));
}

TEST_F(TwoProcesses, ADeletionFromTheCloudFindsWhatTheOtherHasMade) {
  first.dataManager.packages();
  second.dataManager.addRule(blockRule("1"), "whitelist");
  second.dataManager.addPackage(packageOf("A", {blockRule("2")}));
  second.dataManager.addPackage(packageOf("B", {blockRule("3")}));
  EXPECT_TRUE(second.dataManager.save(PackageCollectionType::custom, nullptr));
  for (const auto* item : {"1", "A", "3"}) first.dataManager.removeItem(item);
  EXPECT_TRUE(first.dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_THAT(first.onDisk(configurableType).front().rules, IsEmpty());
  EXPECT_EQ(first.onDisk(customType), (std::vector{packageOf("B")}));
  EXPECT_EQ(first.dataManager.customPackages(), first.onDisk(customType));
}

TEST_F(TwoProcesses, ManyDeletionsFromTheCloudFindWhatTheOtherHasMade) {
  files().put(customFile, packagesJSON({packageOf("A", {blockRule("1"), blockRule("2")})}), 1);
  first.dataManager.packages();
  second.dataManager.addRule(blockRule("3"), "whitelist");
  second.dataManager.addPackage(packageOf("B", {blockRule("4"), blockRule("5")}));
  second.dataManager.addPackage(packageOf("C"));
  EXPECT_TRUE(second.dataManager.save(PackageCollectionType::custom, nullptr));
  first.dataManager.removeItems({"3", "1", "nowhere", "4", "C"});
  EXPECT_TRUE(first.dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_THAT(first.whitelist().rules, IsEmpty());
  EXPECT_EQ(first.dataManager.customPackages(),
            (std::vector{packageOf("A", {blockRule("2")}), packageOf("B", {blockRule("5")})}));
  EXPECT_EQ(first.onDisk(configurableType), first.dataManager.configurablePackages());
  EXPECT_EQ(first.onDisk(customType), first.dataManager.customPackages());
}

TEST_F(TwoProcesses, ADeletionThatFoundNothingIsOverWithTheSave) {
  first.dataManager.packages();
  first.dataManager.removeItems({"1", "A", "2"});
  EXPECT_TRUE(first.dataManager.save(PackageCollectionType::custom, nullptr));
  second.dataManager.addRule(blockRule("1"), "whitelist");
  second.dataManager.addPackage(packageOf("A", {blockRule("2")}));
  EXPECT_TRUE(second.dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_TRUE(first.dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_THAT(ruleIDs(first.whitelist()), ElementsAre("1"));
  EXPECT_EQ(first.onDisk(customType), std::vector{packageOf("A", {blockRule("2")})});
}

TEST_F(TwoProcesses, AnEditOfADamagedListIsMadeOnce) {
  files().put(customFile,
              packagesJSON({packageOf("A", {blockRule("1")}), packageOf("B", {blockRule("1")})}),
              1);
  first.dataManager.packages();
  second.dataManager.addRule(blockRule("2"), "whitelist");
  files().put(customFile, "damaged", 9);
  first.dataManager.removeItem("1");
  EXPECT_TRUE(first.dataManager.save(PackageCollectionType::custom, nullptr));
  EXPECT_EQ(first.onDisk(customType),
            (std::vector{packageOf("A"), packageOf("B", {blockRule("1")})}));
  EXPECT_THAT(ruleIDs(first.whitelist()), ElementsAre("2"));
}

TEST_F(TwoProcesses, AnAssignedListThatIsOlderThanItsFileUndoesNothing) {
  auto read = first.store.readConfigurablePackages();
  second.dataManager.addRule(blockRule("1"), "whitelist");
  first.dataManager.setConfigurablePackages(std::move(read));
  EXPECT_TRUE(first.dataManager.addRule(blockRule("2"), "whitelist"));
  EXPECT_THAT(ruleIDs(first.onDisk(configurableType).front()), ElementsAre("1", "2"));
}

TEST_F(TwoProcesses, ARuleForAPackageThatTheOtherDeletedIsGoneWithIt) {
  files().put(customFile, packagesJSON({packageOf("A")}), 1);
  first.dataManager.packages();
  second.dataManager.removeItem("A");
  second.dataManager.save(PackageCollectionType::custom, nullptr);
  EXPECT_FALSE(first.dataManager.addRule(blockRule("1"), "A"));
  EXPECT_THAT(first.lines(), Contains("Can't find package with identifier A"));
  EXPECT_THAT(first.dataManager.customPackages(), IsEmpty());
  EXPECT_THAT(first.lines(), Not(Contains(::testing::HasSubstr("[added"))));
}

// Random edits of two processes against the plain definition: what is on disk is what was there,
// with the edits of each process made on it in the order of the saves.

struct Step {
  enum class Kind {
    addRule,
    removeRule,
    replaceRule,
    cloudPackage,
    cloudRule,
    cloudRemoval,
    save,
    refresh,
    assign,
    fullDisk,
    noLock,
    repair
  };
  Kind kind;
  std::size_t process;
  std::string package;
  std::string rule;
  std::string urlFilter;
  std::string other;
  /// What a removal takes; so few that they meet packages and rules again and again.
  std::vector<std::string> items;
};

void showValue(const Step& step, std::ostream& os) {
  os << "{kind " << static_cast<int>(step.kind) << ", process " << step.process << ", package "
     << step.package << ", rule " << step.rule << " " << step.urlFilter << ", other " << step.other
     << ", items";
  for (const auto& item : step.items) os << " " << item;
  os << "}";
}

rc::Gen<Step> steps() {
  using Kind = Step::Kind;
  return rc::gen::apply(
      [](Kind kind, std::size_t process, std::string package, std::string rule,
         std::string urlFilter, std::string other, std::vector<std::string> items) {
        return Step{kind,
                    process,
                    std::move(package),
                    std::move(rule),
                    std::move(urlFilter),
                    std::move(other),
                    std::move(items)};
      },
      rc::gen::weightedElement<Kind>({{6, Kind::addRule},
                                      {3, Kind::removeRule},
                                      {3, Kind::replaceRule},
                                      {3, Kind::cloudPackage},
                                      {3, Kind::cloudRule},
                                      {4, Kind::cloudRemoval},
                                      {3, Kind::save},
                                      {2, Kind::refresh},
                                      {1, Kind::assign},
                                      {1, Kind::fullDisk},
                                      {1, Kind::noLock},
                                      {3, Kind::repair}}),
      rc::gen::inRange<std::size_t>(0, 2),
      rc::gen::element<std::string>("whitelist", "make-https", "A", "B"),
      rc::gen::element<std::string>("1", "2", "3", "4"), rc::gen::element<std::string>("x", "y"),
      rc::gen::element<std::string>("1", "2", "3", "4", "5"),
      rc::gen::container<std::vector<std::string>>(
          rc::gen::element<std::string>("whitelist", "A", "B", "1", "2", "3", "4", "5")));
}

/// The lists as plain values, and edits of them as they are defined.
struct PlainLists {
  std::vector<Package> configurable;
  std::vector<Package> custom;

  std::vector<Package>& list(bool isCustom) { return isCustom ? custom : configurable; }
};

using PlainEdit = std::function<void(std::vector<Package>&)>;

Package* find(std::vector<Package>& packages, const std::string& id) {
  const auto found = std::find_if(packages.begin(), packages.end(),
                                  [&](const Package& package) { return package.id == id; });
  return found == packages.end() ? nullptr : &*found;
}

std::vector<Rule>::iterator findRule(Package& package, const std::string& id) {
  return std::find_if(package.rules.begin(), package.rules.end(),
                      [&](const Rule& rule) { return rule.id == id; });
}

PlainEdit setting(const std::string& packageID, const Rule& rule) {
  return [=](std::vector<Package>& packages) {
    auto* package = find(packages, packageID);
    if (package != nullptr) *package = std::as_const(*package).packageBySettingRule(rule);
  };
}

PlainEdit replacing(const std::string& packageID, const Rule& old, std::optional<Rule> with) {
  return [=](std::vector<Package>& packages) {
    auto* package = find(packages, packageID);
    if (package == nullptr) return;
    auto at = std::find(package->rules.begin(), package->rules.end(), old);
    if (at == package->rules.end()) at = findRule(*package, old.id);
    if (at == package->rules.end()) {
      if (with) *package = std::as_const(*package).packageBySettingRule(*with);
    } else if (with) {
      *at = *with;
    } else {
      package->rules.erase(at);
    }
  };
}

PlainEdit settingPackage(const Package& package) {
  return [=](std::vector<Package>& packages) {
    if (auto* old = find(packages, package.id)) {
      *old = package;
    } else {
      packages.push_back(package);
    }
  };
}

/// Leaves the rules to whoever changes them meanwhile.
PlainEdit namingPackage(const std::string& id, const std::string& name) {
  return [=](std::vector<Package>& packages) {
    if (auto* old = find(packages, id)) {
      old->name = name;
    } else {
      packages.push_back({id, name, {}});
    }
  };
}

PlainEdit removingPackage(const std::string& id) {
  return [=](std::vector<Package>& packages) {
    for (auto at = packages.begin(); at != packages.end(); ++at) {
      if (at->id == id) {
        packages.erase(at);
        return;
      }
    }
  };
}

bool holdsRule(std::vector<Package>& packages, const std::string& id) {
  return std::any_of(packages.begin(), packages.end(), [&](Package& package) {
    return findRule(package, id) != package.rules.end();
  });
}

PlainEdit removingRule(const std::string& id) {
  return [=](std::vector<Package>& packages) {
    for (auto& package : packages) {
      const auto at = findRule(package, id);
      if (at != package.rules.end()) {
        package.rules.erase(at);
        return;
      }
    }
  };
}

class Simulation {
 public:
  Simulation() {
    files().put(configurableFile, packagesJSON(disk_.configurable), 1);
    files().put(customFile, packagesJSON(disk_.custom), 1);
    for (auto& process : processes_) process.dataManager.packages();
  }

  void run(const Step& step) {
    auto& process = processes_.at(step.process);
    auto& model = models_.at(step.process);
    auto& manager = process.dataManager;
    const auto rule = blockRule(step.rule, step.urlFilter);
    switch (step.kind) {
      case Step::Kind::addRule:
        if (editPackage(model, step.package, setting(step.package, rule))) saved(step.process);
        manager.addRule(rule, step.package);
        break;
      case Step::Kind::removeRule:
      case Step::Kind::replaceRule: {
        const bool removes = step.kind == Step::Kind::removeRule;
        const auto with = removes ? std::nullopt : std::optional(blockRule(step.other));
        auto* package = find(model.lists.configurable, step.package);
        const auto type = fromRawValue<ConfigurablePackageType>(step.package);
        if (package != nullptr && std::count(package->rules.begin(), package->rules.end(), rule)) {
          edit(model, false, replacing(step.package, rule, with));
          saved(step.process);
        }
        if (type) manager.replaceRule(rule, with, *type);
        break;
      }
      case Step::Kind::cloudPackage: {
        const auto package = packageOf(step.package, {rule, blockRule(step.other + "'")});
        if (!fromRawValue<ConfigurablePackageType>(step.package)) {
          const auto* held = find(model.lists.custom, package.id);
          const bool hasRulesHeld = held != nullptr && held->rules == package.rules;
          edit(model, true,
               hasRulesHeld ? namingPackage(package.id, package.name) : settingPackage(package));
        }
        manager.addPackage(package);
        break;
      }
      case Step::Kind::cloudRule:
        editPackage(model, step.package, setting(step.package, rule));
        manager.mergeRemoteRule(rule, step.package);
        break;
      case Step::Kind::cloudRemoval:
        for (const auto& item : step.items) remove(model, item);
        manager.removeItems(step.items);
        break;
      case Step::Kind::save: {
        const bool expected = saved(step.process);
        RC_ASSERT(manager.save(PackageCollectionType::custom, nullptr) == expected);
        break;
      }
      case Step::Kind::refresh:
        rebase(model, false);
        rebase(model, true);
        RC_ASSERT(process.refresh() != DataManager::RefreshResult::failed);
        break;
      case Step::Kind::assign:
        rebase(model, false);
        manager.setConfigurablePackages(process.store.readConfigurablePackages());
        break;
      case Step::Kind::fullDisk:
        failing_.at(step.urlFilter == "x" ? 0 : 1) = true;
        files().failAt(InMemoryFileSystem::Operation::replace,
                       step.urlFilter == "x" ? configurableFile : customFile);
        break;
      case Step::Kind::noLock:
        isLockable_ = false;
        files().failAt(InMemoryFileSystem::Operation::lock, lockFile);
        break;
      case Step::Kind::repair:
        failing_ = {};
        isLockable_ = true;
        files().stopFailing();
        break;
    }
    check();
  }

 private:
  struct Model {
    PlainLists lists;
    /// Whether of the custom list, and what.
    std::vector<std::pair<bool, PlainEdit>> unsaved;
  };

  InMemoryFileSystem& files() { return machine_->fileSystem; }

  static void edit(Model& model, bool isCustom, const PlainEdit& edit) {
    edit(model.lists.list(isCustom));
    model.unsaved.emplace_back(isCustom, edit);
  }
  static bool editPackage(Model& model, const std::string& package, const PlainEdit& change) {
    for (const bool isCustom : {false, true}) {
      if (find(model.lists.list(isCustom), package) == nullptr) continue;
      edit(model, isCustom, change);
      return true;
    }
    return false;
  }
  static void remove(Model& model, const std::string& id) {
    if (find(model.lists.custom, id) != nullptr) {
      edit(model, true, removingPackage(id));
    } else if (holdsRule(model.lists.configurable, id)) {
      edit(model, false, removingRule(id));
    } else if (holdsRule(model.lists.custom, id)) {
      edit(model, true, removingRule(id));
    } else {
      model.unsaved.emplace_back(false, removingRule(id));
      model.unsaved.emplace_back(true, removingRule(id));
      model.unsaved.emplace_back(true, removingPackage(id));
    }
  }
  void rebase(Model& model, bool isCustom) {
    auto& list = model.lists.list(isCustom);
    list = disk_.list(isCustom);
    for (const auto& [ofCustom, edit] : model.unsaved) {
      if (ofCustom == isCustom) edit(list);
    }
  }
  bool saved(std::size_t which) {
    if (!isLockable_) return false;
    auto& model = models_.at(which);
    for (const bool isCustom : {false, true}) {
      rebase(model, isCustom);
      if (failing_.at(isCustom ? 1 : 0)) continue;
      disk_.list(isCustom) = model.lists.list(isCustom);
      std::erase_if(model.unsaved, [&](const auto& edit) { return edit.first == isCustom; });
    }
    return failing_ == std::array<bool, 2>{};
  }
  void check() {
    RC_ASSERT(processes_[0].onDisk(configurableType) == disk_.configurable);
    RC_ASSERT(processes_[0].onDisk(customType) == disk_.custom);
    for (std::size_t i = 0; i < processes_.size(); ++i) {
      RC_ASSERT(processes_.at(i).dataManager.configurablePackages() ==
                models_.at(i).lists.configurable);
      RC_ASSERT(processes_.at(i).dataManager.customPackages() == models_.at(i).lists.custom);
    }
  }

  PlainLists disk_{{packageOf("whitelist", {blockRule("1")}), packageOf("make-https")},
                   {packageOf("A", {blockRule("1"), blockRule("2")})}};
  std::array<Model, 2> models_{{{disk_, {}}, {disk_, {}}}};
  std::array<bool, 2> failing_{};
  bool isLockable_ = true;
  std::shared_ptr<TestMachine> machine_ = std::make_shared<TestMachine>();
  std::array<CatalogueProcess, 2> processes_{CatalogueProcess(machine_),
                                             CatalogueProcess(machine_)};
};

RC_GTEST_PROP(SharedCatalogueProperties, NothingAddedIsLostAndNothingDeletedComesBack, ()) {
  Simulation simulation;
  for (const auto& step : *rc::gen::scale(2.0, rc::gen::container<std::vector<Step>>(steps()))) {
    simulation.run(step);
  }
}

}  // namespace
}  // namespace orvane::test
