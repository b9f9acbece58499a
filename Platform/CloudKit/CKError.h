#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <tl/expected.hpp>

#include "Platform/CloudKit/CKRecord.h"
#include "Platform/CloudKit/CKRecordID.h"
#include "Platform/Foundation/NSError.h"

namespace orvane {

/// The domain of the errors of the cloud.
// NOLINTNEXTLINE(readability-identifier-naming): the platform's own name
inline constexpr const char* CKErrorDomain = "CKErrorDomain";

enum class CKErrorCode {
  internalError = 1,
  partialFailure = 2,
  networkFailure = 4,
  badContainer = 5,
  serviceUnavailable = 6,
  requestRateLimited = 7,
  notAuthenticated = 9,
  permissionFailure = 10,
  unknownItem = 11,
  invalidArguments = 12,
  serverRecordChanged = 14,
  serverRejectedRequest = 15,
  operationCancelled = 20,
  batchRequestFailed = 22,
  zoneBusy = 23,
  quotaExceeded = 25,
  zoneNotFound = 26,
  limitExceeded = 27,
};

/// Whether the same request may succeed a little later. Such an error says when.
bool isRetryable(CKErrorCode code);

struct CKPartialError;

/// Why an operation of the cloud failed. What hangs on the code is in the fields named after the
/// keys of the user info.
struct CKError {
  CKErrorCode code = CKErrorCode::internalError;
  /// A sentence for a person.
  std::string localizedDescription;
  /// `CKErrorRetryAfterKey`, in seconds.
  std::optional<double> retryAfter;
  /// `CKPartialErrorsByItemIDKey`: the item that really failed comes first; empty unless the
  /// operation failed for single items of it.
  std::vector<CKPartialError> partialErrorsByItemID;

  // For `serverRecordChanged`: as the server has the record, as the client has tried to save it,
  // and as the client had it before it set anything. Null otherwise;
  // a copy of the error shares them.
  std::shared_ptr<const CKRecord> serverRecord;
  std::shared_ptr<const CKRecord> clientRecord;
  std::shared_ptr<const CKRecord> ancestorRecord;

  /// The same for whoever knows nothing of the cloud.
  NSError nsError() const { return {CKErrorDomain, static_cast<int>(code), localizedDescription}; }
};

/// A zone and a subscription are named by a text.
using CKItemID = std::variant<CKRecordID, std::string>;

struct CKPartialError {
  CKItemID itemID;
  CKError error;
};

template <typename Value>
using CKResult = tl::expected<Value, CKError>;

}  // namespace orvane
