#pragma once

#include <string>
#include <utility>
#include <vector>

#include "BlockerKit/Model/Package.h"
#include "BlockerKit/SyncManager/FetchPass.h"

namespace orvane {

/// What other machines have done to the packages, ready to be done here.
struct RemoteChanges {
  std::vector<std::string> deleted;
  /// Each with the identifier of its package.
  std::vector<std::pair<Rule, std::string>> rules;
  /// Without rules.
  std::vector<Package> packages;

  bool isEmpty() const { return deleted.empty() && rules.empty() && packages.empty(); }
};

/// A record that cannot be decoded stands for nothing.
RemoteChanges remoteChanges(const FetchPass& pass);

}  // namespace orvane
