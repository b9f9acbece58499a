#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "BlockerKit/SyncManager/FieldDictionary.h"
#include "BlockerKit/SyncManager/RecordKind.h"
#include "Platform/CloudKit/CKRecord.h"
#include "Platform/Foundation/KeyValueEntries.h"
#include "Platform/Foundation/LineOutput.h"

namespace orvane {

/// What was queued at one moment: a record for each field dictionary that was added, first the
/// packages, then the rules, each in the order of their names. The records are made when they are
/// asked for, since of many only a few are sent at once. Never changes; any thread.
class RecordsToSave {
 public:
  using Entries = std::shared_ptr<const KeyValueEntries>;

  /// Of nothing.
  RecordsToSave() = default;
  /// `systemLog`, which outlives this, is told at once of what is queued and is no record, which is
  /// left out.
  RecordsToSave(Entries packages, Entries rules, Entries metadata, CKRecordZoneID zoneID,
                LineOutput& systemLog);

  std::size_t size() const { return places_.size(); }
  bool empty() const { return places_.empty(); }

  /// Of a record before the last one.
  CKRecordID recordID(std::size_t index) const;

  /// Those from `begin` up to `end`, and without what turns out to be damaged. A record has the
  /// system fields that the metadata has for it, unless they are damaged or those of a record of
  /// another name, type or zone: it then is a new one.
  ///
  /// In a rule's record every field that a rule may lack counts as changed, so that the save clears
  /// what an earlier version of the rule had in the cloud.
  ///
  /// A field that no record can hold is left out, and the system log says so.
  std::vector<CKRecord> records(std::size_t begin, std::size_t end) const;
  std::vector<CKRecord> all() const { return records(0, size()); }

 private:
  struct Place {
    RecordKind kind;
    std::size_t index;
  };

  const KeyValueEntries& added(RecordKind kind) const;
  void addPlaces(RecordKind kind, LineOutput& systemLog);

  Entries packages_;
  Entries rules_;
  Entries metadata_;
  CKRecordZoneID zoneID_;
  LineOutput* systemLog_ = nullptr;
  std::vector<Place> places_;
};

/// Whether the record has the values that these fields give it, and no others.
bool isMadeOf(const CKRecord& record, const FieldDictionary& fields);

/// The IDs of the records with these names, in their order. Nothing that the cloud has is named by
/// what cannot be a name.
std::vector<CKRecordID> recordIDs(const std::vector<std::string>& names,
                                  const CKRecordZoneID& zoneID);

}  // namespace orvane
