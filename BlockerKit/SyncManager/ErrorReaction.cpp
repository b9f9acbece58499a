#include "BlockerKit/SyncManager/ErrorReaction.h"

#include <variant>

namespace orvane {

PushReaction reactionToPushError(CKErrorCode code) {
  switch (code) {
    case CKErrorCode::networkFailure:
    case CKErrorCode::serviceUnavailable:
    case CKErrorCode::requestRateLimited:
    case CKErrorCode::zoneBusy:
      return PushReaction::retryLater;
    case CKErrorCode::notAuthenticated:
      return PushReaction::cancelAll;
    case CKErrorCode::invalidArguments:
      return PushReaction::forgetRecord;
    case CKErrorCode::serverRecordChanged:
      return PushReaction::mergeConflict;
    case CKErrorCode::zoneNotFound:
      return PushReaction::saveZoneAgain;
    case CKErrorCode::limitExceeded:
      return PushReaction::splitFurther;
    default:
      return PushReaction::nothing;
  }
}

SaveReaction reactionToSaveError(CKErrorCode code) {
  switch (code) {
    case CKErrorCode::networkFailure:
    case CKErrorCode::serviceUnavailable:
    case CKErrorCode::requestRateLimited:
    case CKErrorCode::zoneBusy:
      return SaveReaction::retryLater;
    case CKErrorCode::notAuthenticated:
      return SaveReaction::accountIsUnknown;
    case CKErrorCode::serverRejectedRequest:
      return SaveReaction::isThereAlready;
    case CKErrorCode::zoneNotFound:
      return SaveReaction::zoneIsMissing;
    default:
      return SaveReaction::other;
  }
}

DecidingError decidingError(const CKError& error) {
  if (error.partialErrorsByItemID.empty()) return {std::nullopt, error};
  const auto& [itemID, itemError] = error.partialErrorsByItemID.front();
  const auto* recordID = std::get_if<CKRecordID>(&itemID);
  return {recordID == nullptr ? std::nullopt : std::optional(*recordID), itemError};
}

}  // namespace orvane
