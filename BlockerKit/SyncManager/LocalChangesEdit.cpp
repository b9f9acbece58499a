#include "BlockerKit/SyncManager/LocalChangesEdit.h"

#include <algorithm>
#include <map>
#include <unordered_set>
#include <utility>

#include <fmt/format.h>

#include "BlockerKit/Support/Quoted.h"
#include "BlockerKit/SyncManager/RecordField.h"
#include "BlockerKit/SyncManager/RecordsToSave.h"
#include "Platform/CloudKit/RecordText.h"

namespace orvane {
namespace {

using Identifiers = LocalChangesEdit::Identifiers;
using Transaction = LocalChangesEdit::Transaction;

bool holdsOnlyRecordText(const PropertyListValue& value) {
  if (const auto* text = value.as<std::string>()) return canBeRecordText(*text);
  const auto texts = stringsOf(value);
  return !texts || std::ranges::all_of(*texts, canBeRecordText);
}

Identifiers stringsUnder(std::string_view key, Transaction& transaction) {
  const auto value = transaction.value(key);
  auto strings = value ? stringsOf(*value) : std::nullopt;
  return std::move(strings).value_or(Identifiers());
}

/// Where what was sent as the record was queued.
std::string_view keyOf(const CKRecord& record) {
  const bool isPackage = record.recordType() == rawValue(RecordKind::package);
  return LocalChangesEdit::addedKey(isPackage ? RecordKind::package : RecordKind::rule);
}

/// `list` without the first occurrence of each identifier.
Identifiers without(const Identifiers& identifiers, Identifiers list) {
  std::map<std::string_view, std::size_t> wanted;
  for (const auto& identifier : identifiers) ++wanted[identifier];
  std::erase_if(list, [&](const std::string& listed) {
    const auto found = wanted.find(listed);
    if (found == wanted.end() || found->second == 0) return false;
    --found->second;
    return true;
  });
  return list;
}

}  // namespace

std::string_view LocalChangesEdit::addedKey(RecordKind kind) {
  return kind == RecordKind::package ? "AddedPackages" : "AddedRules";
}

std::string_view LocalChangesEdit::deletedKey(RecordKind kind) {
  return kind == RecordKind::package ? "DeletedPackages" : "DeletedRules";
}

void LocalChangesEdit::addPackage(const std::string& identifier, const std::string& name) {
  const auto fields = packageFieldDictionary(name);
  if (!canTravel(identifier, fields)) return;
  transaction_.setEntry(addedKey(RecordKind::package), identifier, fields);
}

void LocalChangesEdit::addRules(std::span<const Rule> rules, const std::string& packageIdentifier) {
  for (const auto& rule : rules) {
    auto fields = ruleFieldDictionary(rule, packageIdentifier);
    if (!canTravel(rule.id, fields)) continue;
    transaction_.setEntry(addedKey(RecordKind::rule), rule.id, std::move(fields));
  }
}

bool LocalChangesEdit::isAdded(const std::string& recordName) {
  const auto isUnder = [&](RecordKind kind) {
    const auto entry = transaction_.entry(addedKey(kind), recordName);
    return entry && entry->as<FieldDictionary>() != nullptr;
  };
  return isUnder(RecordKind::rule) || isUnder(RecordKind::package);
}

void LocalChangesEdit::removeAdded(const Identifiers& identifiers, RecordKind kind) {
  for (const auto& identifier : identifiers) {
    transaction_.setEntry(addedKey(kind), identifier, std::nullopt);
  }
}

void LocalChangesEdit::markDeleted(const Identifiers& identifiers, RecordKind kind) {
  auto list = stringsUnder(deletedKey(kind), transaction_);
  std::unordered_set<std::string_view> unlisted(identifiers.begin(), identifiers.end());
  for (const auto& listed : list) unlisted.erase(listed);
  for (const auto& identifier : identifiers) {
    // What no record is named was never saved to the cloud.
    const bool isNew = unlisted.erase(identifier) != 0;
    if (isNew && canBeRecordName(identifier)) list.push_back(identifier);
  }
  transaction_.setValue(deletedKey(kind), toPropertyList(list));
}

void LocalChangesEdit::unmarkDeleted(const Identifiers& identifiers, RecordKind kind) {
  if (!transaction_.value(deletedKey(kind))) return;
  auto list = without(identifiers, stringsUnder(deletedKey(kind), transaction_));
  transaction_.setValue(deletedKey(kind), toPropertyList(list));
}

void LocalChangesEdit::forget(const Identifiers& recordNames) {
  removeAdded(recordNames, RecordKind::rule);
  removeAdded(recordNames, RecordKind::package);
  unmarkDeleted(recordNames, RecordKind::rule);
  unmarkDeleted(recordNames, RecordKind::package);
}

bool LocalChangesEdit::removeSent(const CKRecord& record) {
  const auto& name = record.recordID().recordName;
  if (!isStillAsSent(record)) return !isAdded(name);
  transaction_.setEntry(keyOf(record), name, std::nullopt);
  return true;
}

void LocalChangesEdit::forgetSent(const CKRecord& record) {
  if (isStillAsSent(record)) forget({record.recordID().recordName});
}

void LocalChangesEdit::replaceSent(const CKRecord& record, const FieldDictionary& fields) {
  if (!isStillAsSent(record)) return;
  transaction_.setEntry(keyOf(record), record.recordID().recordName, fields);
}

bool LocalChangesEdit::isStillAsSent(const CKRecord& record) {
  const auto entry = transaction_.entry(keyOf(record), record.recordID().recordName);
  const auto* fields = entry ? entry->as<FieldDictionary>() : nullptr;
  return fields != nullptr && isMadeOf(record, *fields);
}

void LocalChangesEdit::replaceAdded(const std::vector<Package>& packages) {
  for (const auto kind : {RecordKind::package, RecordKind::rule}) {
    transaction_.setValue(addedKey(kind), PropertyListValue::Dictionary());
  }
  for (const auto& package : packages) {
    addPackage(package.id, package.name);
    addRules(package.rules, package.id);
  }
}

/// A rule without the name of its package would be nobody's.
bool LocalChangesEdit::canTravel(const std::string& identifier,
                                 const FieldDictionary& fields) const {
  const auto package = fields.find(RecordField::package);
  const bool hasPackageName =
      package == fields.end() || canBeRecordName(*package->second.as<std::string>());
  const bool can =
      canBeRecordName(identifier) && hasPackageName &&
      std::ranges::all_of(fields, [](auto& field) { return holdsOnlyRecordText(field.second); });
  if (!can) {
    systemLog_.print(fmt::format("No record can hold {}; it is not synced", quoted(identifier)));
  }
  return can;
}

}  // namespace orvane
