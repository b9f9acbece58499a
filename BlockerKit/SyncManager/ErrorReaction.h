#pragma once

#include <optional>

#include "Platform/CloudKit/CKError.h"

namespace orvane {

/// What is to be done about a push that failed.
enum class PushReaction {
  retryLater,
  cancelAll,
  forgetRecord,   ///< and push the others
  mergeConflict,  ///< and push the result
  saveZoneAgain,  ///< and push
  splitFurther,
  nothing,  ///< the changes wait for the next push
};

PushReaction reactionToPushError(CKErrorCode code);

/// What is to be done when the zone or the subscription could not be saved.
enum class SaveReaction { retryLater, accountIsUnknown, isThereAlready, zoneIsMissing, other };

SaveReaction reactionToSaveError(CKErrorCode code);

/// The error of the first single item, where there is one, and the item's record.
struct DecidingError {
  std::optional<CKRecordID> recordID;
  CKError error;
};

DecidingError decidingError(const CKError& error);

}  // namespace orvane
