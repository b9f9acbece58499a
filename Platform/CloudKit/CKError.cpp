#include "Platform/CloudKit/CKError.h"

namespace orvane {

bool isRetryable(CKErrorCode code) {
  switch (code) {
    case CKErrorCode::networkFailure:
    case CKErrorCode::serviceUnavailable:
    case CKErrorCode::requestRateLimited:
    case CKErrorCode::zoneBusy:
      return true;
    default:
      return false;
  }
}

}  // namespace orvane
