#include "Tests/Simulation/SimulatedProcess.h"

#include <utility>

namespace orvane::test {
namespace {

UserDirectories userDirectories() { return {"/data", {TestPlatform::documents}}; }

Process::Options options(Platform& platform, SyncManager::Cloud cloud) {
  const auto reload = [&platform](BlockerPreferenceManager&, bool,
                                  const SafariReloadingHandler& handler) {
    if (!handler) return;
    platform.mainQueue.post([handler] { handler(SafariReloadingResult::success()); });
  };
  return {.reloadObserver = nullptr, .reload = reload, .cloud = cloud};
}

}  // namespace

bool MachineState::hasEntries(std::string_view key) {
  const auto found = value(key);
  if (!found) return false;
  if (const auto* dictionary = found->as<PropertyListValue::Dictionary>()) {
    return !dictionary->empty();
  }
  const auto* array = found->as<PropertyListValue::Array>();
  return array != nullptr && !array->empty();
}

SimulatedProcess::SimulatedProcess(World& world, MachineState& state, SyncManager::Cloud cloud)
    : world_(world),
      state_(state),
      base_(state.machine, userDirectories()),
      risk_(state.disk, [this] { base_.kill(); }),
      files_(state.machine->fileSystem, risk_),
      fileManager_(files_, userDirectories()),
      bundle_(fileManager_, TestPlatform::bundle, PropertyListValue::Dictionary()),
      output_(state.access.watch),
      suiteDatabase_(state.machine->suite, *base_.mainQueue),
      fetchedDeletions_(world.history, state.name()),
      riskySuite_(suiteDatabase_, risk_, &fetchedDeletions_),
      suite_(riskySuite_, base_.systemLog),
      openSuite_([this](std::string_view) { return &suite_; }),
      ubiquitousDatabase_(state.machine->ubiquitous, *base_.mainQueue),
      riskyUbiquitous_(ubiquitousDatabase_, risk_),
      ubiquitousStore_(riskyUbiquitous_, base_.systemLog, base_.notificationCenter),
      table_(state.machine->ubiquitous, *base_.mainQueue),
      riskyTable_(table_, risk_),
      cloudQueue_(*base_.cloudQueue, [this] { return cloudDelay(); }),
      cloud_(world, state.access, risk_, *base_.mainQueue),
      platform_{fileManager_,
                bundle_,
                base_.notificationCenter,
                base_.urlLoader,
                base_.makeUUID,
                output_,
                base_.systemLog,
                *base_.mainQueue,
                base_.makeSerialQueue,
                openSuite_,
                base_.standardUserDefaults,
                ubiquitousStore_,
                base_.contentBlockerManager,
                base_.workspace,
                cloud_,
                cloudQueue_} {
  process_.emplace(platform_, options(platform_, cloud));
}

/// Mostly a round trip, sometimes a minute.
Executor::Duration SimulatedProcess::cloudDelay() {
  if (!world_.faults.isOn || !world_.faults.isSlow) return Executor::Duration::zero();
  const std::size_t most = world_.random.chance(5) ? 60'000 : 100;
  return std::chrono::milliseconds(world_.random.below(most));
}

SimulatedCompanion::SimulatedCompanion(World& world, MachineState& state)
    : SimulatedProcess(world, state, SyncManager::Cloud::container),
      exchange_(exchangeTable(), platform().cloud, platform().cloudQueue, platform().mainQueue,
                platform().systemLog),
      events_(platform(), process().syncManager(), [this] { exchange_.exchange(); }) {
  start();
}

std::vector<Package> SimulatedCompanion::packages() {
  auto packages = dataManager().configurablePackages();
  const auto& custom = dataManager().customPackages();
  packages.insert(packages.end(), custom.begin(), custom.end());
  return packages;
}

void SimulatedCompanion::start() {
  platform().ubiquitousStore.startNotifying();
  exchange_.start();
  observation_ = process().defaults().addObserver(
      rawValue(Communication::Message::reloadRulesFromDisk), [this] { packageFilesChanged(); });
  const auto owned = packages();
  const auto isMarked = [this] {
    return state_.value(LocalChangesQueue::existingDataMarkedAsAddedKey).has_value();
  };
  const bool wasMarked = isMarked();
  process().syncManager().update(owned);
  if (wasMarked || !isMarked()) return;
  world_.trace.note(state_.name(), "puts its packages into the queue");
  for (const auto& package : owned) {
    world_.model.saved(state_.name(), package.id, packageFieldDictionary(package.name),
                       UserModel::Answer::acknowledged);
    for (const auto& rule : package.rules) {
      world_.model.saved(state_.name(), rule.id, ruleFieldDictionary(rule, package.id),
                         UserModel::Answer::acknowledged);
    }
  }
}

void SimulatedCompanion::packageFilesChanged() {
  dataManager().refresh([](DataManager::RefreshResult) {});
  process().syncManager().pushAllLocalUpdates(1);
}

void SimulatedCompanion::syncEverything() {
  platform().notificationCenter.post({.name = CKAccountChanged});
  exchange_.exchange();
  dataManager().refresh([](DataManager::RefreshResult) {});
  process().syncManager().pushAllLocalUpdates(1);
  process().syncManager().fetchRemoteChanges(nullptr);
}

}  // namespace orvane::test
