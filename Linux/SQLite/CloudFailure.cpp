#include "Linux/SQLite/CloudFailure.h"

#include <cerrno>
#include <random>
#include <utility>

#include "Linux/SQLite/SQLiteConnection.h"

namespace orvane {
namespace {

CKErrorCode codeOfFileError(int code) {
  switch (code) {
    case ENOENT:
    case ENOTDIR:
      return CKErrorCode::badContainer;
    case EACCES:
    case EPERM:
      return CKErrorCode::permissionFailure;
    default:
      return CKErrorCode::serviceUnavailable;
  }
}

CKErrorCode codeOfDatabaseError(int code) {
  constexpr int primaryCode = 0xFF;
  switch (code & primaryCode) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
      return CKErrorCode::zoneBusy;
    case SQLITE_FULL:
    case SQLITE_IOERR:
    case SQLITE_NOMEM:
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
      return CKErrorCode::serviceUnavailable;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_FORMAT:
    // A table that is not there, or a text that is no JSON.
    case SQLITE_ERROR:
      return CKErrorCode::badContainer;
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return CKErrorCode::permissionFailure;
    case SQLITE_TOOBIG:
    case SQLITE_CONSTRAINT:
    case SQLITE_MISMATCH:
      return CKErrorCode::invalidArguments;
    default:
      return CKErrorCode::internalError;
  }
}

CKErrorCode codeOf(const NSError& error) {
  if (error.domain == sqliteErrorDomain) return codeOfDatabaseError(error.code);
  if (error.domain == NSPOSIXErrorDomain) return codeOfFileError(error.code);
  return CKErrorCode::internalError;
}

std::optional<double> retryAfter(CKErrorCode code, double chance) {
  const auto between = [&](double least, double most) { return least + chance * (most - least); };
  if (code == CKErrorCode::zoneBusy) return between(0.05, 1);
  // Somebody has to make room, or to give a right back.
  if (code == CKErrorCode::serviceUnavailable) return between(15, 60);
  return std::nullopt;
}

double newChance() {
  thread_local std::minstd_rand random{std::random_device()()};
  return std::uniform_real_distribution()(random);
}

}  // namespace

CKError cloudError(const NSError& error, double chance) {
  CKError result;
  result.code = codeOf(error);
  result.localizedDescription = error.localizedDescription;
  result.retryAfter = retryAfter(result.code, chance);
  return result;
}

CKError cloudError(const NSError& error) { return cloudError(error, newChance()); }

tl::unexpected<CKError> cloudFailure(const NSError& error) {
  return tl::unexpected(cloudError(error));
}

tl::unexpected<CKError> cloudFailure(CKErrorCode code, std::string description) {
  CKError error;
  error.code = code;
  error.localizedDescription = std::move(description);
  return tl::unexpected(std::move(error));
}

}  // namespace orvane
