#include "Linux/PostgreSQL/PostgreSQLFailure.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <random>

namespace orvane {
namespace {

constexpr double longestPauseOfReconnecting = 60;

struct Row {
  /// A state, or the two characters of a class of them.
  std::string_view state;
  PostgreSQLFailure failure;
};

constexpr PostgreSQLFailure lost{CKErrorCode::networkFailure, 0.2, 1};
constexpr PostgreSQLFailure busy{CKErrorCode::zoneBusy, 0.05, 1};
constexpr PostgreSQLFailure refused{CKErrorCode::notAuthenticated};
constexpr PostgreSQLFailure unprepared{CKErrorCode::badContainer};
constexpr PostgreSQLFailure invalid{CKErrorCode::invalidArguments};

/// The first that fits counts.
constexpr auto table = std::to_array<Row>({
    {"08", lost},
    {"25P03", lost},  // idle for too long in a transaction: the server closes the connection
    {"57P01", lost},
    {"57P02", lost},
    {"57P05", lost},
    {"57P03", {CKErrorCode::serviceUnavailable, 0.2, 2}},   // it starts or stops
    {"57014", {CKErrorCode::serviceUnavailable, 1, 5}},     // somebody has cancelled the statement
    {"25006", {CKErrorCode::serviceUnavailable, 5, 60}},    // it may only be read
    {"53100", {CKErrorCode::serviceUnavailable, 60, 300}},  // its disk is full
    {"53300", {CKErrorCode::requestRateLimited, 2, 10}},    // too many connections
    {"53", {CKErrorCode::serviceUnavailable, 5, 60}},
    {"58", {CKErrorCode::serviceUnavailable, 60, 300}},
    {"28", refused},
    {"42501", {CKErrorCode::permissionFailure}},
    {"3D000", unprepared},
    {"3F000", unprepared},
    {"57P04", unprepared},
    {"42P01", unprepared},
    {"42703", unprepared},
    {"42704", unprepared},
    {"42883", unprepared},
    {"55P03", busy},
    {"40", busy},
    {"21000", invalid},
    {"22", invalid},
    {"23514", {CKErrorCode::quotaExceeded}},  // the only checks are those of the quota
    {"54", invalid},
    {"23503", {CKErrorCode::zoneNotFound}},
});

double secondsBetween(double shortest, double longest) {
  thread_local std::minstd_rand source(std::random_device{}());
  return std::uniform_real_distribution(shortest, longest)(source);
}

bool isStateCharacter(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return std::isdigit(byte) != 0 || std::isupper(byte) != 0;
}

}  // namespace

PostgreSQLFailure failureOfState(std::string_view sqlState) {
  const auto* const row = std::find_if(table.begin(), table.end(), [&](const Row& candidate) {
    return sqlState.starts_with(candidate.state);
  });
  return row == table.end() ? PostgreSQLFailure{CKErrorCode::internalError} : row->failure;
}

std::string_view stateInMessage(std::string_view message) {
  // What stands before it is in the server's language.
  constexpr std::string_view before = ":  ";
  constexpr std::size_t length = 5;
  for (auto at = message.rfind(before); at != std::string_view::npos;
       at = at == 0 ? std::string_view::npos : message.rfind(before, at - 1)) {
    const auto rest = message.substr(at + before.size());
    if (rest.size() <= length || rest[length] != ':') continue;
    const auto state = rest.substr(0, length);
    if (std::all_of(state.begin(), state.end(), isStateCharacter)) return state;
  }
  return {};
}

CKError cloudError(const PostgreSQLFailure& failure, std::string_view description) {
  CKError error;
  error.code = failure.code;
  error.localizedDescription = description;
  while (error.localizedDescription.ends_with('\n')) error.localizedDescription.pop_back();
  if (isRetryable(failure.code)) {
    error.retryAfter = secondsBetween(failure.shortestPause, failure.longestPause);
  }
  return error;
}

CKError unreachable(int failuresInARow, std::string_view description) {
  double pause = 2;
  for (int failed = 1; failed < failuresInARow && pause < longestPauseOfReconnecting; ++failed) {
    pause *= 2;
  }
  pause = std::min(pause, longestPauseOfReconnecting);
  return cloudError({CKErrorCode::networkFailure, pause / 2, pause}, description);
}

CKError connectionLost(std::string_view description) { return cloudError(lost, description); }

CKError cancelled() {
  return cloudError({CKErrorCode::operationCancelled}, "The operation was cancelled.");
}

}  // namespace orvane
