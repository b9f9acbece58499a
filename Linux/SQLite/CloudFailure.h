#pragma once

#include "Platform/CloudKit/CKError.h"

namespace orvane {

/// What an error of SQLite or of the file system is to whoever uses a cloud in a file. `chance`,
/// from 0 to 1, spreads the times after which processes that met at the file come back.
CKError cloudError(const NSError& error, double chance);
/// With another chance each time.
CKError cloudError(const NSError& error);

tl::unexpected<CKError> cloudFailure(const NSError& error);
tl::unexpected<CKError> cloudFailure(CKErrorCode code, std::string description);

}  // namespace orvane
