#pragma once

#include <string>
#include <string_view>

#include "Platform/CloudKit/CKError.h"

namespace orvane {

/// What a failure of the server means to whoever has called the cloud.
struct PostgreSQLFailure {
  CKErrorCode code;
  /// Between which seconds the same call may be tried again, when it may.
  double shortestPause = 0;
  double longestPause = 0;

  friend bool operator==(const PostgreSQLFailure&, const PostgreSQLFailure&) = default;
};

/// By the five characters of the SQLSTATE; an unknown one is an internal error.
PostgreSQLFailure failureOfState(std::string_view sqlState);

/// The SQLSTATE in a message that libpq has made in its verbose form, which is the only place where
/// it tells why the server refused a connection: "FATAL:  28P01: password authentication failed".
/// The last one when several servers were tried; empty when there is none.
std::string_view stateInMessage(std::string_view message);

/// An error with a pause drawn from within the failure's bounds, so that clients that failed
/// together do not return together.
CKError cloudError(const PostgreSQLFailure& failure, std::string_view description);

/// No connection could be made, or none in time, for that many times in a row, at least once: the
/// pauses grow from a second to a minute.
CKError unreachable(int failuresInARow, std::string_view description);
/// The connection broke while the server had the call; whether it was done is unknown.
CKError connectionLost(std::string_view description);
CKError cancelled();

}  // namespace orvane
