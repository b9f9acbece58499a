#pragma once

#include <optional>
#include <string>

#include "BlockerKit/Model/Package.h"
#include "BlockerKit/Model/Rule.h"
#include "Platform/CloudKit/CKRecord.h"

namespace orvane {

/// The rule that a record of the type "rule" stands for; nothing when a field that it needs is
/// absent, or any field that it has is of another type.
///
/// A newer version may have words that this one does not know. A list goes without them; but a rule
/// that would apply to more than was meant, because nothing is left of a list or its domain filter
/// cannot be told, is none.
std::optional<Rule> ruleFromRecord(const CKRecord& record);

/// The identifier of the package that a rule's record names.
std::optional<std::string> packageIdentifierFromRecord(const CKRecord& record);

/// The package that a record of the type "package" stands for, without rules, which are records of
/// their own; nothing when it has no name.
std::optional<Package> packageFromRecord(const CKRecord& record);

}  // namespace orvane
