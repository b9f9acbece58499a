#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "BlockerKit/Catalogue/EnabledBlockers.h"

namespace orvane::benchmarks {

/// A catalogue of ten packages as a user may have it, with some of its rules switched off.
struct Scenario {
  std::string name;
  std::vector<Package> preinstalled;
  /// The first one is the whitelist, the last one the sites to be loaded by HTTPS only.
  std::vector<Package> configurable;
  std::vector<Package> custom;
  DisabledRuleIDs disabledRuleIDs;
};

/// `ruleCount` rules: 60 of 100 block a host, 15 a path, 22 hide elements, and 3 are exceptions.
/// The same ones at every call.
Scenario generatedScenario(std::size_t ruleCount);

/// The blockers of the list at `path`, a JSON array, as a catalogue. Stops the program when there
/// is no such list.
Scenario scenarioFromList(const std::string& path);

}  // namespace orvane::benchmarks
