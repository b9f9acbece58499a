#pragma once

#include <cstddef>
#include <optional>

#include "Platform/CloudKit/CKError.h"
#include "Platform/CloudKit/CloudBackend.h"

namespace orvane {

/// What no cloud stores of the record: text that is not UTF-8 or has a zero byte, a name or a type
/// that is empty or too long.
std::optional<CKError> problemWith(const CKRecord& record);
std::optional<CKError> problemWith(const CKRecordID& recordID);

/// `limitExceeded` when a request may not have so many records and IDs.
std::optional<CKError> problemWithItemCount(std::size_t count);

/// What is wrong with items of the batch, whatever the cloud has: a `partialFailure` with an entry
/// for each item that cannot be stored, is of another zone or is there twice.
std::optional<CKError> problemWith(const CloudBatch& batch);

}  // namespace orvane
