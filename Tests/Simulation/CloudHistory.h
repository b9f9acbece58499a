#pragma once

#include <map>
#include <set>
#include <string>

#include "Platform/CloudKit/CloudBackend.h"

namespace orvane::test {

/// What has happened to the records of the cloud that leaves machines with differences for good.
/// Each set names packages and rules.
class CloudHistory {
 public:
  void modified(const CloudBatch& batch);
  void zoneDeleted();

  /// Rules that the cloud has had without their package since they were last saved: who fetches
  /// one without the package drops it, and is not told of it again.
  const std::set<std::string>& orphaned() const { return orphaned_; }
  /// Whatever was saved in a zone that was deleted later: machines keep it, with change tags of
  /// the old zone.
  const std::set<std::string>& ofDeletedZone() const { return ofDeletedZone_; }
  /// Its subscription has gone with it, and no machine makes another one.
  bool hadZoneDeleted() const { return hadZoneDeleted_; }

  /// The machine was told to forget its change of that, since the cloud would never take it; or it
  /// has made one that it could not keep for the cloud.
  void neverSends(const std::string& machine, const std::string& name) {
    neverSent_[machine].insert(name);
  }
  template <typename Names>
  void neverSends(const std::string& machine, const Names& names) {
    neverSent_[machine].insert(names.begin(), names.end());
  }
  /// See `FetchedDeletions`; by machine.
  std::set<std::string> forgottenDeletions;
  std::map<std::string, std::set<std::string>> unappliedDeletions;
  std::map<std::string, std::set<std::string>> overtakenEdits;
  const std::set<std::string>& neverSentBy(const std::string& machine) {
    return neverSent_[machine];
  }

 private:
  void saved(const CKRecord& record);
  void deleted(const std::string& name);

  std::set<std::string> packages_;
  /// Each rule, and the package that it names.
  std::map<std::string, std::string> rules_;
  std::set<std::string> everSaved_;
  std::set<std::string> orphaned_;
  std::set<std::string> ofDeletedZone_;
  std::map<std::string, std::set<std::string>> neverSent_;
  bool hadZoneDeleted_ = false;
};

}  // namespace orvane::test
