#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Platform/CloudKit/CloudBackend.h"

namespace orvane::benchmarks {

/// What a request saves at most.
inline constexpr std::size_t cloudBatchSize = 400;
/// What a request fetches at most.
inline constexpr std::size_t cloudPageSize = 2000;

inline const CKRecordZoneID ruleZone{"Zone"};

std::string ruleRecordName(std::size_t index);
/// Those of that many rules, in their order.
std::vector<CKRecord> ruleRecords(std::size_t count);
/// The fields of each as a cloud keeps them.
std::vector<std::string> fieldsOf(const std::vector<CKRecord>& records);

/// All of them, in batches. Afterwards they are as the cloud has them.
void saveInBatches(CloudBackend& cloud, std::vector<CKRecord>& records);
/// All there is, in pages. Returns how many records that were.
std::size_t fetchInPages(CloudBackend& cloud);

}  // namespace orvane::benchmarks
