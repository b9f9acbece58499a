#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "BlockerKit/SyncManager/FieldDictionary.h"

namespace orvane::test {

/// What the user has done on all machines, to tell whether a final state may have come of it.
///
/// A merge takes one side's whole version: in the end a rule or package is as some machine has last
/// saved it, or it is deleted if anybody has deleted it. Only where a machine has saved a record
/// that it did not know to be there, each single field may be of another version.
class UserModel {
 public:
  /// The fields of a package or rule.
  using Version = FieldDictionary;

  enum class Answer {
    acknowledged,  ///< it is done, and is kept for the cloud
    doubtful,      ///< it may have been done
  };

  void saved(const std::string& machine, const std::string& id, const Version& version,
             Answer answer);
  void deleted(const std::string& machine, const std::string& id, Answer answer);
  /// A machine has tried to save it as a new record, and the cloud had it.
  void metAsNew(const std::string& id) { items_[id].isMixed = true; }

  std::vector<std::string> ids() const;
  bool wasDeleted(const std::string& id) const;
  /// Those that were deleted, and could be made again.
  std::vector<std::string> deletedIDs() const;
  bool isMixed(const std::string& id) const;
  /// Of a rule that was there at some time.
  std::optional<std::string> packageOf(const std::string& id) const;

  /// What is wrong with it; nothing stands for what the cloud does not have.
  std::optional<std::string> objectionTo(const std::string& id,
                                         const std::optional<Version>& found) const;

 private:
  struct Item {
    /// Of each machine; nothing after a deletion.
    std::map<std::string, std::optional<Version>> last;
    std::vector<Version> doubtful;
    std::vector<Version> all;
    bool wasDeleted = false;
    bool isMixed = false;
  };

  static bool isMixtureOf(const std::vector<Version>& versions, const Version& found);

  std::map<std::string, Item> items_;
};

}  // namespace orvane::test
