#include "BlockerKit/SyncManager/FieldDictionary.h"

#include <optional>
#include <vector>

#include "BlockerKit/SyncManager/RecordField.h"

namespace orvane {
namespace {

template <typename Enum>
PropertyListValue rawValues(const std::vector<Enum>& values) {
  PropertyListValue::Array raw;
  raw.reserve(values.size());
  for (const auto value : values) raw.emplace_back(std::string(rawValue(value)));
  return raw;
}

void addTrigger(FieldDictionary& fields, const Trigger& trigger) {
  fields.emplace(RecordField::urlFilter, trigger.urlFilter);
  fields.emplace(RecordField::caseSensitive, trigger.caseSensitive);
  if (trigger.resourceTypes) {
    fields.emplace(RecordField::resourceTypes, rawValues(*trigger.resourceTypes));
  }
  if (trigger.loadType) fields.emplace(RecordField::loadType, rawValues(*trigger.loadType));
  if (const auto& filter = trigger.domainFilter) {
    fields.emplace(RecordField::domainFilterType, std::string(rawValue(filter->type)));
    fields.emplace(RecordField::domainFilterValues, toPropertyList(filter->values));
  }
}

void addAction(FieldDictionary& fields, const Action& action) {
  fields.emplace(RecordField::actionType, std::string(rawValue(action.type())));
  if (action.selector()) fields.emplace(RecordField::selector, *action.selector());
}

}  // namespace

FieldDictionary packageFieldDictionary(const std::string& name) {
  return {{RecordField::name, name}};
}

FieldDictionary ruleFieldDictionary(const Rule& rule, const std::string& packageIdentifier) {
  FieldDictionary fields{{RecordField::name, rule.name}, {RecordField::package, packageIdentifier}};
  addTrigger(fields, rule.blocker.trigger);
  addAction(fields, rule.blocker.action);
  return fields;
}

}  // namespace orvane
