#pragma once

#include <string>

#include "BlockerKit/Model/Rule.h"
#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

/// The fields of a record as the queue of local changes keeps them. A value that is absent in the
/// rule is an absent key; a list that is there and empty is an empty array.
using FieldDictionary = PropertyListValue::Dictionary;

/// The whole state of a package: its rules are records of their own.
FieldDictionary packageFieldDictionary(const std::string& name);

/// The whole state of a rule; "package" is the identifier as a text.
FieldDictionary ruleFieldDictionary(const Rule& rule, const std::string& packageIdentifier);

}  // namespace orvane
