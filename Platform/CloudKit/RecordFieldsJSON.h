#pragma once

#include <string>
#include <string_view>

#include "Platform/CloudKit/CKRecord.h"
#include "Platform/Foundation/NSError.h"
#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

// The values of the cloud as texts of JSON, in which a cloud may keep them. What such a text would
// alter is an error: a text with a zero byte or that is not UTF-8, data, nesting beyond 32 levels.
// Equal values are equal texts. A text that these functions would not write is an error too, in the
// domain "JSON".

/// One object with a member for each field: true or false, an integer of 64 bits, a string, an
/// array of strings, and for a reference {"recordName":…,"zoneName":…}.
Expected<std::string> recordFieldsToJSON(const CKRecord::Fields& fields);
Expected<CKRecord::Fields> recordFieldsFromJSON(std::string_view text);

/// The same of the changed keys alone, with null for those that have no value any more. These
/// members put over those of the record as it was, without the nulls, are the record as it is.
Expected<std::string> changedFieldsToJSON(const CKRecord& record);

Expected<std::string> propertyListToJSON(const PropertyListValue& value);
Expected<PropertyListValue> propertyListFromJSON(std::string_view text);

}  // namespace orvane
