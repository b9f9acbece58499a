#include "Tests/Simulation/Simulation.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include <fmt/format.h>

#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "BlockerKit/SyncManager/RecordDecoding.h"
#include "BlockerKit/SyncManager/RecordField.h"

namespace orvane::test {
namespace {

constexpr std::size_t mostRounds = 40;
constexpr std::size_t mostTasks = 200'000;
constexpr std::array queueKeys{"AddedPackages", "AddedRules", "DeletedPackages", "DeletedRules"};

using Fields = UserModel::Version;

bool isConfigurable(const std::string& package) {
  return fromRawValue<ConfigurablePackageType>(package).has_value();
}

/// The package that a rule's fields name; nothing for the fields of a package.
std::optional<std::string> packageOf(const Fields& fields) {
  const auto found = fields.find(RecordField::package);
  if (found == fields.end()) return std::nullopt;
  return *found->second.as<std::string>();
}

std::string description(const PropertyListValue& value) {
  if (const auto* text = value.as<std::string>()) return "\"" + *text + "\"";
  if (const auto* flag = value.as<bool>()) return *flag ? "yes" : "no";
  std::string text;
  if (const auto* array = value.as<PropertyListValue::Array>()) {
    for (const auto& item : *array) text += description(item) + ",";
    return "[" + text + "]";
  }
  if (const auto* dictionary = value.as<PropertyListValue::Dictionary>()) {
    for (const auto& [key, item] : *dictionary) text += key + ":" + description(item) + " ";
    return "{" + text + "}";
  }
  return "?";
}

std::string description(const Fields* fields) {
  return fields == nullptr ? "nothing" : description(PropertyListValue(*fields));
}

template <typename Map>
auto find(const Map& map, const std::string& key) {
  const auto found = map.find(key);
  return found == map.end() ? nullptr : &found->second;
}

}  // namespace

Simulation::Simulation(std::uint64_t seed, std::size_t traceLength) : world_(seed, traceLength) {
  drawFaults();
  makeMachines();
}

/// Each kind of fault is left out of some runs, so that it does not hide what others do.
void Simulation::drawFaults() {
  auto& random = world_.random;
  auto& faults = world_.faults;
  if (random.chance(60)) faults.errorPercent = random.between(1, 30);
  if (random.chance(60)) faults.lostAnswerPercent = random.between(1, 30);
  if (random.chance(60)) faults.lostPushPercent = random.between(1, 100);
  faults.refusesRecords = random.chance(10);
  faults.isSlow = random.chance(70);
  if (random.chance(50)) faults.pageSize = random.between(1, 5);
  if (random.chance(50)) faults.batchLimit = random.between(2, 8);
  deletesZone_ = random.chance(10);
  if (random.chance(60)) deathPerMille_ = random.between(1, 20);
  fillsDisks_ = random.chance(40);
  losesAccounts_ = random.chance(40);
}

void Simulation::makeMachines() {
  auto& random = world_.random;
  const auto count = random.between(2, 4);
  std::vector<Rule> shared;
  for (std::size_t i = random.below(4); i > 0; --i)
    shared.push_back(user_.anyRule(user_.newID("r")));
  for (std::size_t i = 0; i < count; ++i) {
    machines_.push_back(std::make_unique<Machine>(fmt::format("machine {}", i + 1)));
    auto& machine = *machines_.back();
    machine.state.machine->cloud = world_.cloud;
    machine.state.machine->time.choose = [this](std::size_t end) {
      return world_.random.below(end);
    };
    static_cast<void>(machine.state.machine->fileSystem.createDirectories(TestPlatform::container));
    // Some machines are restored from the same backup, and changed since.
    std::vector<Rule> own;
    for (const auto& rule : shared) {
      if (random.chance(50)) own.push_back(random.chance(70) ? rule : user_.anyRule(rule.id));
    }
    for (std::size_t j = random.below(4); j > 0; --j)
      own.push_back(user_.anyRule(user_.newID("r")));
    writeOwnRules(machine, own);
    startProcesses(machine);
  }
}

void Simulation::writeOwnRules(Machine& machine, const std::vector<Rule>& rules) {
  TestPlatform platform(machine.state.machine, {"/data", {TestPlatform::documents}});
  PersistentStore store(platform.platform);
  auto packages = store.readConfigurablePackages();
  packages.front().rules = rules;
  store.writePackages(packages, PackageType::ConfigurablePackages);
}

void Simulation::startProcesses(Machine& machine) {
  if (!machine.companion) {
    world_.trace.note(machine.state.name(), "companion starts");
    machine.companion = std::make_unique<SimulatedCompanion>(world_, machine.state);
  }
  if (!machine.browser && world_.random.chance(50)) {
    machine.browser =
        std::make_unique<SimulatedProcess>(world_, machine.state, SyncManager::Cloud::none);
  }
}

void Simulation::endProcesses(Machine& machine) {
  machine.companion.reset();
  machine.state.access.watch.processEnded();
  machine.browser.reset();
}

void Simulation::buryTheDead() {
  for (const auto& machine : machines_) {
    for (auto* process :
         {static_cast<SimulatedProcess*>(machine->companion.get()), machine->browser.get()}) {
      if (process != nullptr) user_.lookAfter(*process);
    }
    if (machine->browser && machine->browser->risk().isDead()) machine->browser.reset();
    if (machine->companion && machine->companion->risk().isDead()) {
      world_.trace.note(machine->state.name(), "companion is dead");
      machine->companion.reset();
      machine->state.access.watch.processEnded();
    }
  }
}

bool Simulation::runOneTask() {
  const auto start = world_.random.below(machines_.size());
  for (std::size_t i = 0; i < machines_.size(); ++i) {
    if (machines_[(start + i) % machines_.size()]->state.machine->time.runOne()) return true;
  }
  return false;
}

void Simulation::waitFor(Executor::Duration duration) {
  for (const auto& machine : machines_) machine->state.machine->time.jump(duration);
  world_.trace.turn(duration);
}

/// However far away it is.
void Simulation::waitForNextTask() {
  std::optional<Executor::Duration> least;
  for (const auto& machine : machines_) {
    const auto& time = machine->state.machine->time;
    const auto due = time.nextDue();
    if (!due) continue;
    const auto wait = std::max(*due - time.now(), Executor::Duration::zero());
    if (!least || wait < *least) least = wait;
  }
  if (least) waitFor(*least);
}

void Simulation::step() {
  auto& random = world_.random;
  const auto kind = random.below(100);
  auto& machine = *machines_[random.below(machines_.size())];
  if (kind < 8) {
    const bool isCompanion = !machine.browser || random.chance(50);
    auto* process = isCompanion ? machine.companion.get() : machine.browser.get();
    if (process != nullptr) user_.doSomething(*process, machine.state.name(), isCompanion);
  } else if (kind < 12) {
    disturb();
  } else if (kind < 15) {
    waitFor(std::chrono::milliseconds(random.below(5'000)));
  } else if (!runOneTask()) {
    waitForNextTask();
  }
  buryTheDead();
}

void Simulation::disturb() {
  auto& random = world_.random;
  auto& machine = *machines_[random.below(machines_.size())];
  const auto& name = machine.state.name();
  auto& access = machine.state.access;
  const auto kind = random.below(12);
  if (kind < 2 && fillsDisks_) {
    auto& disk = machine.state.disk;
    if (random.chance(60)) disk.ofFiles = !disk.ofFiles;
    if (random.chance(60)) disk.ofKeysAndValues = !disk.ofKeysAndValues;
    // What only the memory has must not count as kept.
    if (machine.companion && deathPerMille_ != 0 && random.chance(50)) {
      machine.companion->risk().dieAfter(random.below(60));
    }
    world_.trace.note(name, fmt::format("writes {}files and {}keys", disk.ofFiles ? "no " : "",
                                        disk.ofKeysAndValues ? "no " : ""));
  } else if (kind < 4 && losesAccounts_) {
    access.hasAccount = !access.hasAccount;
    world_.trace.note(name, access.hasAccount ? "account is back" : "account is gone");
    if (machine.companion && !random.chance(world_.faults.lostPushPercent)) {
      machine.companion->platform().notificationCenter.post({.name = CKAccountChanged});
    }
  } else if (kind < 5) {
    const auto jump = std::chrono::seconds(random.below(3'600));
    world_.trace.note(name, "clock jumps");
    machine.state.machine->time.jump(jump);
    machine.state.machine->fileSystem.now += jump * (random.chance(50) ? 1 : -1);
  } else if (kind < 6 && deletesZone_ && random.chance(60)) {
    const auto deleted =
        world_.cloud->connect(World::user)->deleteZone({SyncManager::zoneName}, {});
    if (!deleted) return;
    world_.trace.note("cloud", "the zone is deleted");
    world_.history.zoneDeleted();
  } else if (kind < 9 && deathPerMille_ != 0) {
    if (machine.companion) machine.companion->risk().dieAfter(random.below(2'000 / deathPerMille_));
    if (machine.browser && random.chance(50)) {
      machine.browser->risk().dieAfter(random.below(2'000 / deathPerMille_));
    }
  } else if (kind < 10 && machine.companion && deathPerMille_ != 0 && random.chance(20)) {
    world_.trace.note(name, "companion quits");
    user_.lookAfter(*machine.companion);
    machine.companion.reset();
    access.watch.processEnded();
  } else {
    startProcesses(machine);
  }
}

void Simulation::endFaults() {
  world_.trace.note("all", "the faults end");
  world_.faults.isOn = false;
  for (const auto& machine : machines_) {
    machine->state.disk = {};
    machine->state.access.hasAccount = true;
    for (auto* process :
         {static_cast<SimulatedProcess*>(machine->companion.get()), machine->browser.get()}) {
      if (process == nullptr) continue;
      process->risk().stopDying();
      // What a full disk could not take waits for the next save.
      process->dataManager().save(PackageCollectionType::custom, nullptr);
    }
    startProcesses(*machine);
  }
}

void Simulation::rest() {
  for (std::size_t tasks = 0; tasks < mostTasks; ++tasks) {
    if (runOneTask()) continue;
    const auto isDone = std::ranges::none_of(machines_, [](const auto& machine) {
      return machine->state.machine->time.nextDue().has_value();
    });
    if (isDone) return;
    waitForNextTask();
  }
  fail("The machines do not come to rest");
}

bool Simulation::settle() {
  auto before = digest();
  for (std::size_t round = 0; round < mostRounds && !failure_; ++round) {
    for (const auto& machine : machines_) {
      machine->companion->syncEverything();
      rest();
    }
    auto now = digest();
    if (now == before && round > 0) return true;
    before = std::move(now);
  }
  fail("The machines do not settle");
  return false;
}

std::string Simulation::digest() {
  auto text = digestOfPackages();
  for (const auto& machine : machines_) {
    for (const auto* key : queueKeys) {
      const auto value = machine->state.value(key);
      text += value ? description(*value) : "nothing";
    }
    if (machine->state.hasEntries(FetchedPages::key)) text += "pages";
  }
  return text;
}

std::string Simulation::digestOfPackages() {
  std::string text;
  const auto add = [&](const Contents& contents) {
    for (const auto& [id, fields] : contents) text += id + "=" + description(&fields) + "\n";
  };
  for (const auto& machine : machines_) add(contents(*machine));
  add(cloudContents());
  return text;
}

Simulation::Contents Simulation::contents(Machine& machine) {
  Contents contents;
  const auto add = [&](const std::string& id, Fields fields) {
    if (!contents.emplace(id, std::move(fields)).second) {
      fail(fmt::format("{} has {} twice", machine.state.name(), id));
    }
  };
  for (const auto& package : machine.companion->packages()) {
    if (!isConfigurable(package.id)) add(package.id, packageFieldDictionary(package.name));
    for (const auto& rule : package.rules) add(rule.id, ruleFieldDictionary(rule, package.id));
  }
  return contents;
}

bool Simulation::isZoneThere() {
  return world_.cloud->connect(World::user)
      ->fetchChanges({SyncManager::zoneName}, std::nullopt, 1, {})
      .has_value();
}

/// What the records stand for. A rule whose package the cloud does not have stands for nothing.
Simulation::Contents Simulation::cloudContents() {
  cloudNames_.clear();
  const auto changes = world_.cloud->connect(World::user)
                           ->fetchChanges({SyncManager::zoneName}, std::nullopt,
                                          std::numeric_limits<std::size_t>::max(), {});
  if (!changes) return {};
  Contents contents;
  for (const auto& record : changes->changed) {
    const auto& name = record.recordID().recordName;
    cloudNames_.insert(name);
    if (const auto package = packageIdentifierFromRecord(record)) {
      const auto rule = ruleFromRecord(record);
      if (rule) contents.emplace(name, ruleFieldDictionary(*rule, *package));
      if (!rule) fail(name + " in the cloud is no rule");
    } else if (const auto found = packageFromRecord(record); !isConfigurable(name)) {
      contents.emplace(name, packageFieldDictionary(found->name));
    }
  }
  std::erase_if(contents, [&](const auto& entry) {
    const auto package = packageOf(entry.second);
    return package && !isConfigurable(*package) && !contents.contains(*package);
  });
  return contents;
}

void Simulation::fail(const std::string& what) {
  if (!failure_) failure_ = what;
}

Simulation::Machines Simulation::allMachines() const {
  Machines machines;
  for (const auto& machine : machines_) machines.push_back(machine.get());
  return machines;
}

/// Whether these machines may keep versions of it for good that the cloud does not have.
bool Simulation::isException(const std::string& id, const Fields* version,
                             const Machines& machines) {
  auto& history = world_.history;
  const auto package = version == nullptr ? world_.model.packageOf(id) : packageOf(*version);
  const bool hasOwnPackage = package && !isConfigurable(*package);
  const auto isIn = [&](const std::set<std::string>& names) {
    return names.contains(id) || (hasOwnPackage && names.contains(*package));
  };
  const char* why = nullptr;
  for (const auto* machine : machines) {
    if (isIn(history.neverSentBy(machine->state.name()))) why = "NeverSent";
  }
  if (history.orphaned().contains(id)) why = "Orphaned";
  if (isIn(history.ofDeletedZone())) why = "OfDeletedZone";
  if (isIn(stuckIDs_)) why = "BehindADeletedZone";
  if (why != nullptr) ++counts_[why];
  return why != nullptr;
}

/// A machine that would save a record of a zone that was deleted meanwhile saves nothing more.
bool Simulation::isStuck(Machine& machine) {
  for (const auto* key : {queueKeys[0], queueKeys[1]}) {
    const auto value = machine.state.value(key);
    const auto* added = value ? value->as<PropertyListValue::Dictionary>() : nullptr;
    if (added == nullptr) continue;
    for (const auto& [name, fields] : *added) {
      const bool isStale =
          world_.history.ofDeletedZone().contains(name) && !cloudNames_.contains(name);
      if (isStale) return true;
    }
  }
  return false;
}

void Simulation::checkQueues(Machine& machine) {
  if (isStuck(machine)) {
    for (const auto* key : queueKeys) {
      const auto value = machine.state.value(key);
      if (!value) continue;
      if (const auto* added = value->as<PropertyListValue::Dictionary>()) {
        for (const auto& [name, fields] : *added) stuckIDs_.insert(name);
      } else if (const auto names = stringsOf(*value)) {
        stuckIDs_.insert(names->begin(), names->end());
      }
    }
    return;
  }
  for (const auto* key : queueKeys) {
    if (!machine.state.hasEntries(key)) continue;
    fail(fmt::format("{} still has {}: {}", machine.state.name(), key,
                     description(*machine.state.value(key))));
  }
}

void Simulation::checkContents(Machine& machine, const Contents& cloud) {
  const auto here = contents(machine);
  std::set<std::string> ids;
  for (const auto& [id, fields] : here) ids.insert(id);
  for (const auto& [id, fields] : cloud) ids.insert(id);
  const auto& overtaken = machine.state.access.watch.overtaken();
  for (const auto& id : ids) {
    const auto* local = find(here, id);
    const auto* remote = find(cloud, id);
    if (local != nullptr && remote != nullptr && *local == *remote) continue;
    if (isException(id, local == nullptr ? remote : local, {&machine})) continue;
    const auto package = packageOf(local == nullptr ? *remote : *local);
    const bool isGhost =
        remote == nullptr && (overtaken.contains(id) || (package && overtaken.contains(*package)));
    if (isGhost) {
      ++counts_["Overtaken"];
      continue;
    }
    if (local == nullptr && isOvertakenEdit(machine, id, package)) {
      ++counts_["OvertakenEdit"];
      continue;
    }
    fail(fmt::format("{} of {}: {}\n  in the cloud: {}", id, machine.state.name(),
                     description(local), description(remote)));
  }
}

/// Whether the machine has sent an edit of it, or of its package, and had removed it itself.
bool Simulation::isOvertakenEdit(const Machine& machine, const std::string& id,
                                 const std::optional<std::string>& package) {
  const auto& edits = world_.history.overtakenEdits[machine.state.name()];
  return edits.contains(id) || (package && edits.contains(*package));
}

void Simulation::checkModel(const Contents& cloud) {
  std::set<std::string> ids;
  for (const auto& id : world_.model.ids()) ids.insert(id);
  for (const auto& [id, fields] : cloud) ids.insert(id);
  for (const auto& id : ids) {
    const auto* found = find(cloud, id);
    if (isConfigurable(id) || (found == nullptr && isGoneWithItsPackage(id, cloud))) continue;
    const auto objection =
        world_.model.objectionTo(id, found == nullptr ? std::nullopt : std::optional(*found));
    if (!objection || isException(id, found, allMachines())) continue;
    if (world_.history.forgottenDeletions.contains(id)) {
      ++counts_["ForgottenDeletion"];
      continue;
    }
    fail(fmt::format("{}: {}", *objection, description(found)));
  }
}

bool Simulation::isGoneWithItsPackage(const std::string& id, const Contents& cloud) const {
  const auto package = world_.model.packageOf(id);
  return package && !isConfigurable(*package) && !cloud.contains(*package) &&
         world_.model.wasDeleted(*package);
}

void Simulation::checkPreferences() {
  const auto inCloud = world_.cloud->connect(World::user)->exchangeKeyValues({}, std::nullopt, {});
  for (const auto* key : {BlockerPreferenceManager::disabledPackagesKey,
                          BlockerPreferenceManager::disabledRulesKey}) {
    const auto found = inCloud->changes.find(key);
    const auto expected = found == inCloud->changes.end() ? std::nullopt : found->second;
    for (const auto& machine : machines_) {
      const auto value = machine->companion->platform().ubiquitousStore.object(key);
      if (value == expected) continue;
      fail(fmt::format("{} of {}: {}\n  in the cloud: {}", key, machine->state.name(),
                       value ? description(*value) : "nothing",
                       expected ? description(*expected) : "nothing"));
    }
  }
}

void Simulation::checkSame(const std::string& after) {
  const auto cloud = cloudContents();
  for (const auto& machine : machines_) {
    if (machine->companion->process().syncManager().isPushing()) {
      fail("Requests wait on " + machine->state.name());
    }
    checkQueues(*machine);
  }
  for (const auto& machine : machines_) checkContents(*machine, cloud);
  checkModel(cloud);
  checkPreferences();
  if (failure_) *failure_ = after + ": " + *failure_;
}

/// Everything is fetched and applied once more, and then each process begins anew: what is in
/// memory is on disk.
void Simulation::checkAgain() {
  // What is excused is fetched in the place of what a machine has had by itself.
  const auto before = counts_.empty() ? std::optional(digestOfPackages()) : std::nullopt;
  for (const auto& machine : machines_) {
    (void)machine->companion->process().defaults().removeObject(SyncManager::serverTokenKey);
  }
  if (!settle()) return;
  checkSame("After everything was fetched once more");
  if (before && digestOfPackages() != *before) fail("What is fetched once more changes something");
  if (failure_) return;
  for (const auto& machine : machines_) {
    endProcesses(*machine);
    startProcesses(*machine);
  }
  if (!settle()) return;
  checkSame("After all processes began anew");
  // Without a zone no fetch succeeds, and what had come before waits for one that does.
  if (!isZoneThere()) return;
  for (const auto& machine : machines_) {
    if (!machine->state.hasEntries(FetchedPages::key)) continue;
    fail(machine->state.name() + " still keeps pages that it has applied");
  }
}

/// Without faults, one machine after the other: what it does is what all have.
void Simulation::checkLastRound() {
  if (world_.history.hadZoneDeleted()) return;
  for (const auto& machine : machines_) {
    const auto& name = machine->state.name();
    auto& process = *machine->companion;
    const auto before = contents(*machine);
    user_.addRule(process, name);
    user_.editRule(process, name);
    user_.deleteRule(process, name);
    user_.addPackage(process, name);
    user_.renamePackage(process, name);
    const auto intended = contents(*machine);
    rest();
    checkSame("After what " + name + " has done last had come to the others by itself");
    if (failure_ || !settle()) return;
    checkSame("After the last round of " + name);
    const auto cloud = cloudContents();
    for (const auto& [id, fields] : intended) {
      const auto* old = find(before, id);
      if (old != nullptr && *old == fields) continue;
      const auto* found = find(cloud, id);
      if (found != nullptr && *found == fields) continue;
      if (isException(id, &fields, allMachines())) continue;
      if (world_.model.isMixed(id)) {
        ++counts_["EditsGivenUpWithoutAFault"];
      } else {
        fail(fmt::format("The last edit of {} on {} is gone: {}\n  in the cloud: {}", id, name,
                         description(&fields), description(found)));
      }
    }
    for (const auto& [id, fields] : before) {
      if (!intended.contains(id) && cloud.contains(id) &&
          !isException(id, &fields, allMachines())) {
        fail(fmt::format("{} was deleted on {} and is back", id, name));
      }
    }
    if (failure_) return;
  }
}

Simulation::Result Simulation::run() {
  const auto steps = world_.random.between(100, 600);
  for (std::size_t i = 0; i < steps; ++i) step();
  endFaults();
  if (settle()) checkSame("After the faults");
  if (!failure_) checkAgain();
  if (!failure_) checkLastRound();
  for (const auto& machine : machines_) {
    if (machine->state.machine->time.nextDue()) fail("Something waits on " + machine->state.name());
    endProcesses(*machine);
  }
  return {failure_, world_.trace.text(), counts_};
}

}  // namespace orvane::test
