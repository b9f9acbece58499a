#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "Linux/PostgreSQL/PostgreSQLFailure.h"

namespace orvane::test {
namespace {

TEST(PostgreSQLFailure, everyStateHasItsCode) {
  const std::map<std::string, CKErrorCode> codes{
      {"08006", CKErrorCode::networkFailure},     {"57P01", CKErrorCode::networkFailure},
      {"57P02", CKErrorCode::networkFailure},     {"25P03", CKErrorCode::networkFailure},
      {"57P05", CKErrorCode::networkFailure},     {"57P03", CKErrorCode::serviceUnavailable},
      {"57014", CKErrorCode::serviceUnavailable}, {"25006", CKErrorCode::serviceUnavailable},
      {"53100", CKErrorCode::serviceUnavailable}, {"53200", CKErrorCode::serviceUnavailable},
      {"58030", CKErrorCode::serviceUnavailable}, {"53300", CKErrorCode::requestRateLimited},
      {"28P01", CKErrorCode::notAuthenticated},   {"28000", CKErrorCode::notAuthenticated},
      {"42501", CKErrorCode::permissionFailure},  {"3D000", CKErrorCode::badContainer},
      {"3F000", CKErrorCode::badContainer},       {"57P04", CKErrorCode::badContainer},
      {"42P01", CKErrorCode::badContainer},       {"42703", CKErrorCode::badContainer},
      {"42704", CKErrorCode::badContainer},       {"42883", CKErrorCode::badContainer},
      {"55P03", CKErrorCode::zoneBusy},           {"40P01", CKErrorCode::zoneBusy},
      {"40001", CKErrorCode::zoneBusy},           {"21000", CKErrorCode::invalidArguments},
      {"22P05", CKErrorCode::invalidArguments},   {"22021", CKErrorCode::invalidArguments},
      {"23514", CKErrorCode::quotaExceeded},      {"54000", CKErrorCode::invalidArguments},
      {"23503", CKErrorCode::zoneNotFound},       {"42601", CKErrorCode::internalError},
      {"XX000", CKErrorCode::internalError},      {"", CKErrorCode::internalError}};
  for (const auto& [state, code] : codes) EXPECT_EQ(failureOfState(state).code, code) << state;
}

TEST(PostgreSQLFailure, aRetryableErrorSaysWhenWithinTheBoundsAndNotAlwaysTheSame) {
  for (const auto* state : {"57P01", "57P03", "25006", "53100", "53300", "55P03"}) {
    const auto failure = failureOfState(state);
    std::set<double> pauses;
    for (int draw = 0; draw < 20; ++draw) {
      const auto error = cloudError(failure, "why");
      ASSERT_TRUE(error.retryAfter) << state;
      EXPECT_GE(*error.retryAfter, failure.shortestPause);
      EXPECT_LE(*error.retryAfter, failure.longestPause);
      EXPECT_GE(*error.retryAfter, 0.05);
      EXPECT_LE(*error.retryAfter, 300);
      pauses.insert(*error.retryAfter);
    }
    EXPECT_GT(pauses.size(), 1U) << state;
  }
}

TEST(PostgreSQLFailure, aLastingErrorSaysNoTime) {
  for (const auto* state : {"28P01", "42501", "3D000", "22P05", "23503", "XX000"}) {
    EXPECT_FALSE(cloudError(failureOfState(state), "why").retryAfter) << state;
  }
}

TEST(PostgreSQLFailure, thePauseUntilTheNextConnectionGrowsToAMinute) {
  for (const auto& [failures, longest] :
       std::map<int, double>{{1, 2}, {2, 4}, {3, 8}, {5, 32}, {6, 60}, {1000, 60}}) {
    const auto error = unreachable(failures, "refused");
    EXPECT_EQ(error.code, CKErrorCode::networkFailure);
    EXPECT_GE(error.retryAfter, longest / 2) << failures;
    EXPECT_LE(error.retryAfter, longest) << failures;
  }
}

TEST(PostgreSQLFailure, theStateIsFoundInAMessageOfAnyLanguage) {
  EXPECT_EQ(
      stateInMessage("connection to server on socket \"/x\" failed: FATAL:  28P01: password "
                     "authentication failed for user \"x\"\nLOCATION:  auth_failed, auth.c:1"),
      "28P01");
  EXPECT_EQ(stateInMessage("ВАЖНО:  3D000: база данных не существует"), "3D000");
}

TEST(PostgreSQLFailure, theLastOfSeveralServersCounts) {
  EXPECT_EQ(stateInMessage("FATAL:  57P03: starting up\nFATAL:  28000: no entry\n"), "28000");
}

TEST(PostgreSQLFailure, aMessageOfTheClientHasNoState) {
  EXPECT_EQ(stateInMessage(""), "");
  EXPECT_EQ(stateInMessage("connection to server failed: Connection refused"), "");
  EXPECT_EQ(stateInMessage(":  abcde: lower"), "");
  EXPECT_EQ(stateInMessage(":  ABCDE"), "");
}

TEST(PostgreSQLFailure, theDescriptionHasNoLineEndAtItsEnd) {
  EXPECT_EQ(connectionLost("gone\n").localizedDescription, "gone");
}

}  // namespace
}  // namespace orvane::test
