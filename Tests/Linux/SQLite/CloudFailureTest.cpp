#include <cerrno>

#include <gtest/gtest.h>

#include "Linux/SQLite/CloudFailure.h"
#include "Linux/SQLite/SQLiteConnection.h"

namespace orvane::test {
namespace {

using Code = CKErrorCode;

struct Line {
  const char* domain;
  int code;
  Code expected;
};

const std::vector<Line> table{
    {sqliteErrorDomain, SQLITE_BUSY, Code::zoneBusy},
    {sqliteErrorDomain, SQLITE_BUSY_RECOVERY, Code::zoneBusy},
    {sqliteErrorDomain, SQLITE_BUSY_SNAPSHOT, Code::zoneBusy},
    {sqliteErrorDomain, SQLITE_LOCKED, Code::zoneBusy},
    {sqliteErrorDomain, SQLITE_PROTOCOL, Code::zoneBusy},
    {sqliteErrorDomain, SQLITE_FULL, Code::serviceUnavailable},
    {sqliteErrorDomain, SQLITE_IOERR, Code::serviceUnavailable},
    {sqliteErrorDomain, SQLITE_IOERR_WRITE, Code::serviceUnavailable},
    {sqliteErrorDomain, SQLITE_NOMEM, Code::serviceUnavailable},
    {sqliteErrorDomain, SQLITE_READONLY, Code::serviceUnavailable},
    {sqliteErrorDomain, SQLITE_READONLY_DBMOVED, Code::serviceUnavailable},
    {sqliteErrorDomain, SQLITE_CANTOPEN, Code::serviceUnavailable},
    {sqliteErrorDomain, SQLITE_CORRUPT, Code::badContainer},
    {sqliteErrorDomain, SQLITE_CORRUPT_INDEX, Code::badContainer},
    {sqliteErrorDomain, SQLITE_NOTADB, Code::badContainer},
    {sqliteErrorDomain, SQLITE_FORMAT, Code::badContainer},
    {sqliteErrorDomain, SQLITE_ERROR, Code::badContainer},
    {sqliteErrorDomain, SQLITE_PERM, Code::permissionFailure},
    {sqliteErrorDomain, SQLITE_AUTH, Code::permissionFailure},
    {sqliteErrorDomain, SQLITE_TOOBIG, Code::invalidArguments},
    {sqliteErrorDomain, SQLITE_CONSTRAINT_UNIQUE, Code::invalidArguments},
    {sqliteErrorDomain, SQLITE_MISMATCH, Code::invalidArguments},
    {sqliteErrorDomain, SQLITE_MISUSE, Code::internalError},
    {NSPOSIXErrorDomain, ENOENT, Code::badContainer},
    {NSPOSIXErrorDomain, ENOTDIR, Code::badContainer},
    {NSPOSIXErrorDomain, EACCES, Code::permissionFailure},
    {NSPOSIXErrorDomain, EPERM, Code::permissionFailure},
    {NSPOSIXErrorDomain, ENOSPC, Code::serviceUnavailable},
    {NSPOSIXErrorDomain, EROFS, Code::serviceUnavailable},
    {NSPOSIXErrorDomain, EMFILE, Code::serviceUnavailable},
    {"another", 1, Code::internalError},
};

TEST(CloudFailure, everyErrorHasACodeAndKeepsItsDescription) {
  for (const auto& [domain, code, expected] : table) {
    const auto error = cloudError({domain, code, "why"}, 0.5);
    EXPECT_EQ(error.code, expected) << domain << " " << code;
    EXPECT_EQ(error.localizedDescription, "why");
  }
}

TEST(CloudFailure, anErrorSaysWhenExactlyIfItIsRetryable) {
  for (const auto& [domain, code, expected] : table) {
    EXPECT_EQ(cloudError({domain, code, ""}).retryAfter.has_value(), isRetryable(expected))
        << domain << " " << code;
  }
}

TEST(CloudFailure, theTimesAreSpread) {
  const auto retryAfter = [](int code, double chance) {
    return *cloudError({sqliteErrorDomain, code, ""}, chance).retryAfter;
  };
  EXPECT_DOUBLE_EQ(retryAfter(SQLITE_BUSY, 0), 0.05);
  EXPECT_DOUBLE_EQ(retryAfter(SQLITE_BUSY, 1), 1);
  EXPECT_DOUBLE_EQ(retryAfter(SQLITE_FULL, 0), 15);
  EXPECT_DOUBLE_EQ(retryAfter(SQLITE_FULL, 1), 60);
}

TEST(CloudFailure, everyErrorHasAChanceOfItsOwn) {
  const NSError busy{sqliteErrorDomain, SQLITE_BUSY, ""};
  std::vector<double> times(10);
  for (auto& time : times) time = *cloudError(busy).retryAfter;
  EXPECT_NE(times, std::vector<double>(10, times[0]));
}

}  // namespace
}  // namespace orvane::test
