#include "Apps/Companion/SwitchCommand.h"

#include <algorithm>

#include <fmt/format.h>

#include "Apps/Companion/Failure.h"
#include "Apps/Companion/Lookup.h"

namespace orvane {
namespace {

/// A package may be listed as switched off more than once, and each save takes one of them away.
bool enable(BlockerPreferenceManager& preferences, const Package& package) {
  const auto listed = preferences.disabledPackageIDs();
  const auto times = std::count(listed.begin(), listed.end(), package.id);
  for (auto time = times; time > 0; --time) {
    if (!preferences.saveEnabledUserPrefenceForPackage(package)) return false;
  }
  return !preferences.userPreferenceIsDisabledForPackage(package);
}

std::string sentence(const std::string& subject, bool enables, std::string_view end) {
  return fmt::format("{} is switched {}{}.", subject, enables ? "on" : "off", end);
}

/// Switches what differs from what is wanted.
class Switching {
 public:
  Switching(BlockerPreferenceManager& preferences, const Package& package, const Rule* rule)
      : preferences_(preferences), package_(package), rule_(rule) {}

  bool isEnabled() {
    return rule_ != nullptr ? !preferences_.userPreferenceIsDisabledForRule(*rule_, package_)
                            : !preferences_.userPreferenceIsDisabledForPackage(package_);
  }

  bool store(bool enables) {
    if (rule_ == nullptr) {
      return enables ? enable(preferences_, package_)
                     : preferences_.saveDisabledUserPrefenceForPackage(package_);
    }
    return enables ? preferences_.enableRuleSynchronouslyWithoutReload(*rule_, package_)
                   : preferences_.disableRuleSynchronouslyWithoutReload(*rule_, package_);
  }

  std::string subject() const {
    if (rule_ == nullptr) return "The package " + describe(package_);
    return fmt::format("The rule {} of the package {}", describe(*rule_), describe(package_));
  }

  /// A rule that is switched on has no effect in a package that is off.
  bool isInDisabledPackage() {
    return rule_ != nullptr && preferences_.userPreferenceIsDisabledForPackage(package_);
  }

  void write(JSONWriter& writer, bool enables) const {
    writeText(writer, "package", package_.id);
    if (rule_ != nullptr) writeText(writer, "rule", rule_->id);
    writeBoolean(writer, "enabled", enables);
  }

 private:
  BlockerPreferenceManager& preferences_;
  const Package& package_;
  const Rule* rule_;
};

int perform(ChangeCommand& command, Switching switching, bool enables) {
  ChangeAnswer answer{.members = [&](JSONWriter& writer) { switching.write(writer, enables); }};
  if (switching.isEnabled() != enables && switching.store(enables)) {
    answer.change = ChangeAnswer::Change::settings;
    answer.lines = {sentence(switching.subject(), enables, "")};
  } else if (switching.isEnabled() == enables) {
    // Perhaps only since another program has done it just now, so that nothing was left to store.
    answer.lines = {sentence(switching.subject(), enables, " already")};
  } else {
    return failure(sentence(switching.subject(), !enables, " as before"));
  }
  if (enables && switching.isInDisabledPackage()) {
    answer.lines.emplace_back("It has no effect, because the package is switched off.");
  }
  return command.conclude(answer);
}

}  // namespace

int runSwitchCommand(LinuxPlatform& machine, const ChangeOptions& options, const Switched& switched,
                     bool enables) {
  ChangeCommand command(machine, options);
  if (!command.canStore()) return 1;
  const auto packages = command.process().store().readAllPackages();
  const auto package = findPackage(packages, switched.package);
  if (!package) return failure(package.error());
  const Rule* rule = nullptr;
  if (!switched.rule.empty()) {
    const auto found = findRule(**package, switched.rule);
    if (!found) return failure(found.error());
    rule = *found;
  }
  auto& preferences = command.process().dataManager().preferenceManager();
  return perform(command, Switching(preferences, **package, rule), enables);
}

}  // namespace orvane
