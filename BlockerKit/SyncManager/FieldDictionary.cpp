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
  fields.emplace(recordField::urlFilter, trigger.urlFilter);
  fields.emplace(recordField::caseSensitive, trigger.caseSensitive);
  if (trigger.resourceTypes) {
    fields.emplace(recordField::resourceTypes, rawValues(*trigger.resourceTypes));
  }
  if (trigger.loadType) fields.emplace(recordField::loadType, rawValues(*trigger.loadType));
  if (const auto& filter = trigger.domainFilter) {
    fields.emplace(recordField::domainFilterType, std::string(rawValue(filter->type)));
    fields.emplace(recordField::domainFilterValues, toPropertyList(filter->values));
  }
}

void addAction(FieldDictionary& fields, const Action& action) {
  fields.emplace(recordField::actionType, std::string(rawValue(action.type())));
  if (action.selector()) fields.emplace(recordField::selector, *action.selector());
}

}  // namespace

FieldDictionary packageFieldDictionary(const std::string& name) {
  return {{recordField::name, name}};
}

FieldDictionary ruleFieldDictionary(const Rule& rule, const std::string& packageIdentifier) {
  FieldDictionary fields{{recordField::name, rule.name}, {recordField::package, packageIdentifier}};
  addTrigger(fields, rule.blocker.trigger);
  addAction(fields, rule.blocker.action);
  return fields;
}

}  // namespace orvane
