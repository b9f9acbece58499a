#pragma once

#include <string>
#include <vector>

#include "BlockerKit/SyncManager/FieldDictionary.h"
#include "BlockerKit/SyncManager/RecordKind.h"
#include "Platform/CloudKit/CKRecord.h"
#include "Platform/Foundation/LineOutput.h"
#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

/// A record for each of the field dictionaries in `added`, by their names, in their order. It has
/// the system fields that `metadata` has for it, unless they are damaged or those of a record of
/// another name, type or zone: it then is a new one.
///
/// In a rule's record every field that a rule may lack counts as changed, so that the save clears
/// what an earlier version of the rule had in the cloud.
///
/// What no record can hold is left out, and the system log says so.
std::vector<CKRecord> recordsToSave(RecordKind kind, const PropertyListValue::Dictionary& added,
                                    const PropertyListValue::Dictionary& metadata,
                                    const CKRecordZoneID& zoneID, LineOutput& systemLog);

/// Whether the record has the values that these fields give it, and no others.
bool isMadeOf(const CKRecord& record, const FieldDictionary& fields);

/// The IDs of the records with these names, in their order. Nothing that the cloud has is named by
/// what cannot be a name.
std::vector<CKRecordID> recordIDs(const std::vector<std::string>& names,
                                  const CKRecordZoneID& zoneID);

}  // namespace orvane
