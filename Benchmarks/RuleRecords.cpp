#include "Benchmarks/RuleRecords.h"

#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "Benchmarks/Check.h"
#include "Platform/CloudKit/RecordFieldsJSON.h"

namespace orvane::benchmarks {
namespace {

CKRecord ruleRecord(std::size_t index) {
  CKRecord record("rule", {ruleRecordName(index), ruleZone});
  record.setValue("name", CKRecordValue(fmt::format("Hide the banner {}", index)));
  record.setValue("urlFilter",
                  CKRecordValue(fmt::format(R"(^https?://([^/]+\.)?s{}\.com/)", index)));
  record.setValue("caseSensitive", CKRecordValue(false));
  record.setValue("actionType", CKRecordValue("css-display-none"));
  record.setValue("selector", CKRecordValue(fmt::format(".banner-{} > div.advertisement", index)));
  record.setValue("package", CKRecordValue(CKReference{{"package", ruleZone}}));
  return record;
}

}  // namespace

std::string ruleRecordName(std::size_t index) { return fmt::format("rule-{:06}", index); }

std::vector<CKRecord> ruleRecords(std::size_t count) {
  std::vector<CKRecord> records;
  records.reserve(count);
  for (std::size_t index = 0; index < count; ++index) records.push_back(ruleRecord(index));
  return records;
}

std::vector<std::string> fieldsOf(const std::vector<CKRecord>& records) {
  std::vector<std::string> fields;
  fields.reserve(records.size());
  for (const auto& record : records) fields.push_back(*recordFieldsToJSON(record.fields()));
  return fields;
}

void saveInBatches(CloudBackend& cloud, std::vector<CKRecord>& records) {
  for (std::size_t first = 0; first < records.size(); first += cloudBatchSize) {
    const auto begin = records.begin() + static_cast<std::ptrdiff_t>(first);
    const auto end =
        begin + static_cast<std::ptrdiff_t>(std::min(cloudBatchSize, records.size() - first));
    const auto result = cloud.modifyRecords({ruleZone, {begin, end}, {}}, {});
    check(result.has_value(), "Cannot save");
    auto tag = result->changeTags.begin();
    for (auto record = begin; record != end; ++record) *record = record->savedWithChangeTag(*tag++);
  }
}

std::size_t fetchInPages(CloudBackend& cloud) {
  std::size_t count = 0;
  std::optional<CKServerChangeToken> token;
  for (bool moreComing = true; moreComing;) {
    const auto changes = cloud.fetchChanges(ruleZone, token, cloudPageSize, {});
    check(changes.has_value(), "Cannot fetch");
    count += changes->changed.size();
    token = changes->token;
    moreComing = changes->moreComing;
  }
  return count;
}

}  // namespace orvane::benchmarks
