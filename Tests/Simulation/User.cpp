#include "Tests/Simulation/User.h"

#include <algorithm>
#include <array>
#include <utility>

#include <fmt/format.h>

namespace orvane::test {
namespace {

using Answer = UserModel::Answer;

constexpr std::array configurable{"block-url", "block-cookies", "hide-elements", "whitelist",
                                  "make-https"};

/// Tells the companion, as the browser's extension does after each edit.
void tellCompanion(SimulatedProcess& process) {
  process.process().communication().send(Communication::Message::reloadRulesFromDisk);
}

}  // namespace

std::string User::newID(const std::string& prefix) {
  return fmt::format("{}{}", prefix, ++idCount_);
}

Rule User::anyRule(const std::string& id) {
  auto& random = world_.random;
  const bool hides = random.chance(40);
  Trigger trigger{.urlFilter = fmt::format("u{}", random.below(1000)),
                  .caseSensitive = random.chance(50)};
  if (random.chance(30)) trigger.resourceTypes = {ResourceType::Image, ResourceType::Script};
  if (random.chance(20)) trigger.resourceTypes = std::vector<ResourceType>();
  if (random.chance(30)) trigger.loadType = {LoadType::ThirdParty};
  if (random.chance(40)) {
    trigger.domainFilter = DomainFilter{
        random.chance(50) ? DomainFilterType::IfDomain : DomainFilterType::UnlessDomain,
        {fmt::format("d{}.org", random.below(9)), "e.org"}};
  }
  return {id, fmt::format("rule {}", random.below(1000)),
          Blocker{std::move(trigger), hides ? *Action::make(ActionType::Hide, ".ad")
                                            : *Action::make(ActionType::Block)}};
}

void User::doSomething(SimulatedProcess& process, const std::string& machine, bool isCompanion) {
  const auto kind = world_.random.below(isCompanion ? 100 : 75);
  if (kind < 25) {
    addRule(process, machine);
  } else if (kind < 45) {
    editRule(process, machine);
  } else if (kind < 65) {
    deleteRule(process, machine);
  } else if (kind < 75) {
    switchSomething(process, machine);
  } else if (kind < 85) {
    addPackage(process, machine);
  } else if (kind < 93) {
    renamePackage(process, machine);
  } else {
    deletePackage(process, machine);
  }
  if (!isCompanion && !process.risk().isDead()) tellCompanion(process);
}

/// Whether a change is on disk and kept for the cloud. What a file could not take waits in the
/// process, whose death would lose it.
Answer User::answerOf(SimulatedProcess& process, bool isDone, std::size_t refusedBefore,
                      const std::vector<std::string>& ids) {
  const auto& risk = process.risk();
  if (risk.isDead() || risk.refused() != refusedBefore) {
    world_.history.neverSends(process.machine(), ids);
    return Answer::doubtful;
  }
  if (isDone) return Answer::acknowledged;
  if (risk.failsToWriteFiles()) {
    process.unsaved.insert(process.unsaved.end(), ids.begin(), ids.end());
  }
  return Answer::doubtful;
}

void User::lookAfter(SimulatedProcess& process) {
  const auto refused = process.risk().refused();
  if (!process.risk().isDead() && refused == process.refusalsSeen) return;
  process.refusalsSeen = refused;
  world_.history.neverSends(process.machine(), process.unsaved);
}

std::optional<User::Place> User::anyPlace(SimulatedProcess& process) {
  std::vector<Place> places;
  for (const auto* package : process.dataManager().packages()) {
    for (const auto& rule : package->rules) {
      places.push_back({{package->id, package->name, {}}, rule});
    }
  }
  if (places.empty()) return std::nullopt;
  if (!world_.onTheirWay.empty() && world_.random.chance(60)) {
    const auto& id = world_.random.oneOf(world_.onTheirWay);
    const auto found =
        std::ranges::find(places, id, [](const Place& place) { return place.rule.id; });
    if (found != places.end()) return *found;
  }
  return world_.random.oneOf(places);
}

/// Sometimes that of a rule that was deleted.
std::string User::idForNewRule() {
  if (!world_.random.chance(15)) return newID("r");
  auto deleted = world_.model.deletedIDs();
  std::erase_if(deleted, [](const std::string& id) { return !id.starts_with('r'); });
  return deleted.empty() ? newID("r") : world_.random.oneOf(deleted);
}

void User::setRule(SimulatedProcess& process, const std::string& machine, const Rule& rule,
                   const std::string& package) {
  world_.trace.note(machine, fmt::format("user sets {} in {}", rule.id, package));
  const auto refused = process.risk().refused();
  const bool isDone = process.dataManager().addRule(rule, package);
  const auto answer = answerOf(process, isDone, refused, {rule.id});
  world_.model.saved(machine, rule.id, ruleFieldDictionary(rule, package), answer);
}

void User::addRule(SimulatedProcess& process, const std::string& machine) {
  std::string package = world_.random.oneOf(configurable);
  const auto custom = process.dataManager().customPackages();
  if (!custom.empty() && world_.random.chance(40)) package = world_.random.oneOf(custom).id;
  const auto id = idForNewRule();
  // A rule that is there, or was in another package, is not a new one.
  for (const auto* held : process.dataManager().packages()) {
    for (const auto& rule : held->rules) {
      if (rule.id == id) return;
    }
  }
  if (const auto known = world_.model.packageOf(id)) {
    bool isHeld = false;
    for (const auto* held : process.dataManager().packages()) isHeld |= held->id == *known;
    if (!isHeld) return;
    package = *known;
  }
  setRule(process, machine, anyRule(id), package);
}

void User::editRule(SimulatedProcess& process, const std::string& machine) {
  const auto place = anyPlace(process);
  if (!place) return;
  const auto edited = anyRule(place->rule.id);
  const auto type = fromRawValue<ConfigurablePackageType>(place->package.id);
  if (!type || world_.random.chance(30)) {
    return setRule(process, machine, edited, place->package.id);
  }
  world_.trace.note(machine, "user edits " + edited.id);
  const auto refused = process.risk().refused();
  const bool isDone = process.dataManager().replaceRule(place->rule, edited, *type);
  const auto answer = answerOf(process, isDone, refused, {edited.id});
  world_.model.saved(machine, edited.id, ruleFieldDictionary(edited, place->package.id), answer);
}

void User::deleteRule(SimulatedProcess& process, const std::string& machine) {
  const auto place = anyPlace(process);
  if (!place) return;
  const auto& id = place->rule.id;
  world_.trace.note(machine, "user deletes " + id);
  const auto refused = process.risk().refused();
  auto& dataManager = process.dataManager();
  bool isDone = false;
  if (const auto type = fromRawValue<ConfigurablePackageType>(place->package.id)) {
    isDone = dataManager.replaceRule(place->rule, std::nullopt, *type);
  } else {
    dataManager.removeItem(id);
    isDone = dataManager.save(PackageCollectionType::custom, nullptr);
    if (isDone) process.process().syncManager().ruleDeleted(place->rule, place->package);
    if (!isDone) world_.history.neverSends(machine, id);
  }
  world_.model.deleted(machine, id, answerOf(process, isDone, refused, {id}));
}

void User::savePackage(SimulatedProcess& process, const std::string& machine,
                       const Package& package) {
  const auto refused = process.risk().refused();
  process.dataManager().addPackage(package);
  const bool isDone = process.dataManager().save(PackageCollectionType::custom, nullptr);
  // Another process may have changed its rules meanwhile.
  const auto& custom = process.dataManager().customPackages();
  const auto saved = *std::ranges::find(custom, package.id, &Package::id);
  if (isDone) process.process().syncManager().packageAdded(saved);
  if (!isDone) world_.history.neverSends(machine, package.id);
  std::vector<std::string> ids{package.id};
  for (const auto& rule : saved.rules) ids.push_back(rule.id);
  const auto answer = answerOf(process, isDone, refused, ids);
  world_.model.saved(machine, package.id, packageFieldDictionary(package.name), answer);
  for (const auto& rule : saved.rules) {
    world_.model.saved(machine, rule.id, ruleFieldDictionary(rule, package.id), answer);
  }
}

void User::addPackage(SimulatedProcess& process, const std::string& machine) {
  Package package{newID("p"), fmt::format("package {}", world_.random.below(1000)), {}};
  const auto count = world_.random.below(4);
  for (std::size_t i = 0; i < count; ++i) package.rules.push_back(anyRule(newID("r")));
  world_.trace.note(machine, fmt::format("user makes {} with {} rules", package.id, count));
  savePackage(process, machine, package);
}

void User::renamePackage(SimulatedProcess& process, const std::string& machine) {
  const auto custom = process.dataManager().customPackages();
  if (custom.empty()) return;
  auto package = world_.random.oneOf(custom);
  package.name = fmt::format("package {}", world_.random.below(1000));
  world_.trace.note(machine, "user renames " + package.id);
  savePackage(process, machine, package);
}

void User::deletePackage(SimulatedProcess& process, const std::string& machine) {
  const auto custom = process.dataManager().customPackages();
  if (custom.empty()) return;
  const auto package = world_.random.oneOf(custom);
  world_.trace.note(machine, "user deletes " + package.id);
  const auto refused = process.risk().refused();
  process.dataManager().removeItem(package.id);
  const bool isDone = process.dataManager().save(PackageCollectionType::custom, nullptr);
  if (isDone) process.process().syncManager().packageDeleted(package);
  if (!isDone) world_.history.neverSends(machine, package.id);
  std::vector<std::string> ids{package.id};
  for (const auto& rule : package.rules) ids.push_back(rule.id);
  const auto answer = answerOf(process, isDone, refused, ids);
  for (const auto& id : ids) world_.model.deleted(machine, id, answer);
}

void User::switchSomething(SimulatedProcess& process, const std::string& machine) {
  auto& preferences = process.dataManager().preferenceManager();
  const auto place = anyPlace(process);
  if (!place) return;
  world_.trace.note(machine, "user switches something");
  switch (world_.random.below(4)) {
    case 0:
      (void)preferences.saveDisabledUserPrefenceForPackage(place->package);
      break;
    case 1:
      (void)preferences.saveEnabledUserPrefenceForPackage(place->package);
      break;
    case 2:
      (void)preferences.disableRuleSynchronouslyWithoutReload(place->rule, place->package);
      break;
    default:
      (void)preferences.enableRuleSynchronouslyWithoutReload(place->rule, place->package);
      break;
  }
}

}  // namespace orvane::test
