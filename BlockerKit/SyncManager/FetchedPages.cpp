#include "BlockerKit/SyncManager/FetchedPages.h"

#include <charconv>
#include <utility>

#include <fmt/format.h>

#include "Platform/CloudKit/RecordFieldsJSON.h"

namespace orvane {
namespace {

using Array = PropertyListValue::Array;
using Dictionary = PropertyListValue::Dictionary;

constexpr const char* changedKey = "changed";
constexpr const char* deletedKey = "deleted";
constexpr const char* typeKey = "type";
constexpr const char* nameKey = "name";
constexpr const char* fieldsKey = "fields";

const std::string* textUnder(const Dictionary& dictionary, const std::string& key) {
  const auto found = dictionary.find(key);
  return found == dictionary.end() ? nullptr : found->second.as<std::string>();
}

const Array& arrayUnder(const Dictionary& dictionary, const std::string& key) {
  static const Array empty;
  const auto found = dictionary.find(key);
  const auto* array = found == dictionary.end() ? nullptr : found->second.as<Array>();
  return array == nullptr ? empty : *array;
}

std::optional<CKRecord> recordOf(const PropertyListValue& value, const CKRecordZoneID& zoneID) {
  const auto* record = value.as<Dictionary>();
  if (record == nullptr) return std::nullopt;
  const auto* type = textUnder(*record, typeKey);
  const auto* name = textUnder(*record, nameKey);
  const auto* fields = textUnder(*record, fieldsKey);
  if (type == nullptr || name == nullptr || fields == nullptr) return std::nullopt;
  auto values = recordFieldsFromJSON(*fields);
  if (!values) return std::nullopt;
  return CKRecord(*type, {*name, zoneID}, "", *std::move(values));
}

FetchPass passOf(const Dictionary& page, const CKRecordZoneID& zoneID) {
  FetchPass pass;
  for (const auto& value : arrayUnder(page, changedKey)) {
    if (auto record = recordOf(value, zoneID)) pass.changed.push_back(*std::move(record));
  }
  for (const auto& value : arrayUnder(page, deletedKey)) {
    if (const auto* name = value.as<std::string>()) pass.deleted.push_back(*name);
  }
  return pass;
}

Dictionary dictionaryOf(const FetchPass& pass) {
  Array changed;
  for (const auto& record : pass.changed) {
    // What the cloud has given can be written; it has come through the same text.
    changed.emplace_back(
        Dictionary{{typeKey, record.recordType()},
                   {nameKey, record.recordID().recordName},
                   {fieldsKey, recordFieldsToJSON(record.fields()).value_or("{}")}});
  }
  return {{changedKey, std::move(changed)},
          {deletedKey, Array(pass.deleted.begin(), pass.deleted.end())}};
}

}  // namespace

std::vector<FetchedPages::Page> FetchedPages::stored(const CKRecordZoneID& zoneID) {
  const auto value = defaults_.object(key);
  const auto* dictionary = value ? value->as<Dictionary>() : nullptr;
  if (dictionary == nullptr) return {};
  std::vector<Page> pages;
  for (const auto& [name, page] : *dictionary) {
    std::from_chars(name.data(), name.data() + name.size(), count_);
    const auto* content = page.as<Dictionary>();
    pages.push_back({name, content == nullptr ? FetchPass() : passOf(*content, zoneID)});
  }
  return pages;
}

std::string FetchedPages::nextName() { return fmt::format("{:020}", ++count_); }

void FetchedPages::store(KeyValueDatabase::Transaction& transaction, const std::string& name,
                         const FetchPass& pass) {
  transaction.setEntry(key, name, dictionaryOf(pass));
}

bool FetchedPages::remove(const std::vector<std::string>& names) {
  if (names.empty()) return true;
  const auto removed = defaults_.transact([&](KeyValueDatabase::Transaction& transaction) {
    for (const auto& name : names) transaction.setEntry(key, name, std::nullopt);
  });
  return removed.has_value();
}

}  // namespace orvane
