#include "BlockerKit/SyncManager/RecordDecoding.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "BlockerKit/SyncManager/RecordField.h"

namespace orvane {
namespace {

/// Reads the fields of one record, and remembers when one was not what was asked for.
class FieldReader {
 public:
  explicit FieldReader(const CKRecord& record) : record_(record) {}

  bool failed() const { return failed_; }
  void fail() { failed_ = true; }

  /// Nothing when the field is absent.
  template <typename Type>
  std::optional<Type> optional(const char* key) {
    const auto field = record_.fields().find(key);
    if (field == record_.fields().end()) return std::nullopt;
    const auto* value = std::get_if<Type>(&field->second);
    if (value != nullptr) return *value;
    failed_ = true;
    return std::nullopt;
  }

  std::string text(const char* key) {
    auto text = optional<std::string>(key);
    if (!text) failed_ = true;
    return std::move(text).value_or("");
  }

  /// A cloud may keep a boolean as the number 0 or 1.
  bool boolean(const char* key) {
    if (const auto* value = record_.as<bool>(key)) return *value;
    const auto* number = record_.as<std::int64_t>(key);
    if (number == nullptr || (*number != 0 && *number != 1)) failed_ = true;
    return number != nullptr && *number == 1;
  }

  /// The cases whose words this version knows.
  template <typename Enum>
  std::optional<std::vector<Enum>> cases(const char* key) {
    const auto words = optional<std::vector<std::string>>(key);
    if (!words) return std::nullopt;
    std::vector<Enum> known;
    for (const auto& word : *words) {
      if (const auto found = fromRawValue<Enum>(word)) known.push_back(*found);
    }
    if (known.empty() && !words->empty()) failed_ = true;
    return known;
  }

 private:
  const CKRecord& record_;
  bool failed_ = false;
};

std::optional<DomainFilter> domainFilter(FieldReader& reader) {
  const auto word = reader.optional<std::string>(RecordField::domainFilterType);
  auto values = reader.optional<std::vector<std::string>>(RecordField::domainFilterValues);
  if (!word && !values) return std::nullopt;
  const auto type = word ? fromRawValue<DomainFilterType>(*word) : std::nullopt;
  if (type && values) return DomainFilter{*type, *std::move(values)};
  reader.fail();
  return std::nullopt;
}

Trigger trigger(FieldReader& reader) {
  return {.urlFilter = reader.text(RecordField::urlFilter),
          .caseSensitive = reader.boolean(RecordField::caseSensitive),
          .resourceTypes = reader.cases<ResourceType>(RecordField::resourceTypes),
          .loadType = reader.cases<LoadType>(RecordField::loadType),
          .domainFilter = domainFilter(reader)};
}

}  // namespace

std::optional<Rule> ruleFromRecord(const CKRecord& record) {
  FieldReader reader(record);
  auto name = reader.text(RecordField::name);
  const auto type = fromRawValue<ActionType>(reader.text(RecordField::actionType));
  auto selector = reader.optional<std::string>(RecordField::selector);
  auto ruleTrigger = trigger(reader);
  if (reader.failed() || !type) return std::nullopt;
  return Rule{record.recordID().recordName,
              std::move(name),
              {std::move(ruleTrigger), Action::asRead(*type, std::move(selector))}};
}

std::optional<std::string> packageIdentifierFromRecord(const CKRecord& record) {
  const auto* reference = record.as<CKReference>(RecordField::package);
  if (reference == nullptr) return std::nullopt;
  return reference->recordID.recordName;
}

std::optional<Package> packageFromRecord(const CKRecord& record) {
  const auto* name = record.as<std::string>(RecordField::name);
  if (name == nullptr) return std::nullopt;
  return Package{record.recordID().recordName, *name, {}};
}

}  // namespace orvane
