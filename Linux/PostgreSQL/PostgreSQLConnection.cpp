#include "Linux/PostgreSQL/PostgreSQLConnection.h"

#include <algorithm>
#include <array>
#include <utility>

#include <fmt/format.h>
#include <poll.h>

#include "Linux/PostgreSQL/PostgreSQLFailure.h"
#include "Linux/PostgreSQL/PostgreSQLOptions.h"

namespace orvane {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// How often whoever waits is asked whether it still does.
constexpr milliseconds slice(50);

/// The settings of the session that the statements rely on.
///
/// The server's statistics know nothing of tables that have just been filled, and the plans that it
/// makes without them read whole tables; so it is kept to the indexes. The last ones let it notice
/// that this machine is gone, and with it the lock that it holds.
std::string sessionOptions(const PostgreSQLTimeouts& timeouts) {
  return fmt::format(
      "-c search_path=pg_catalog -c default_transaction_isolation=read\\ committed "
      "-c enable_seqscan=off -c enable_bitmapscan=off -c enable_sort=off "
      "-c enable_hashjoin=off -c enable_mergejoin=off -c jit=off "
      "-c lock_timeout={}ms -c client_connection_check_interval=2s "
      "-c tcp_keepalives_idle=30 -c tcp_keepalives_interval=10 -c tcp_keepalives_count=3",
      timeouts.lock.count());
}

/// What nobody has set otherwise.
constexpr auto defaults = std::to_array<std::pair<const char*, const char*>>({
    {"sslmode", "require"},
    {"keepalives_idle", "30"},
    {"keepalives_interval", "10"},
    {"keepalives_count", "3"},
    {"tcp_user_timeout", "30000"},
});

PGconn* start(const std::string& connectionString, const PostgreSQLOptions& options,
              const PostgreSQLTimeouts& timeouts) {
  const auto session = options.value("options") + ' ' + sessionOptions(timeouts);
  // What stands behind the connection string goes over it.
  std::vector<const char*> keywords{"dbname", "fallback_application_name", "client_encoding",
                                    "options"};
  std::vector<const char*> values{connectionString.c_str(), "orvane", "UTF8", session.c_str()};
  for (const auto& [keyword, value] : defaults) {
    if (!options.value(keyword).empty()) continue;
    keywords.push_back(keyword);
    values.push_back(value);
  }
  keywords.push_back(nullptr);
  values.push_back(nullptr);
  return PQconnectStartParams(keywords.data(), values.data(), 1);
}

CKError late(std::string_view description) { return connectionLost(description); }

void ignoreNotice(void*, const PGresult*) {}

}  // namespace

/// The rest of the time that a call may take.
class PostgreSQLConnection::Wait {
 public:
  Wait(milliseconds time, const CloudCall& call) : end_(Clock::now() + time), call_(call) {}

  /// Returns when the socket is ready for one of the events, or has failed.
  CKResult<void> until(int socket, short events) const {
    while (true) {
      if (call_.isCancelled()) return tl::unexpected(cancelled());
      const auto rest = std::chrono::ceil<milliseconds>(end_ - Clock::now());
      if (rest <= milliseconds::zero()) {
        return tl::unexpected(late("The server has not answered in time."));
      }
      pollfd polled{socket, events, 0};
      if (::poll(&polled, 1, static_cast<int>(std::min(rest, slice).count())) > 0) return {};
    }
  }

 private:
  Clock::time_point end_;
  const CloudCall& call_;
};

CKResult<PostgreSQLConnection> PostgreSQLConnection::open(const std::string& connectionString,
                                                          const PostgreSQLTimeouts& timeouts,
                                                          int earlierFailures,
                                                          const CloudCall& call) {
  const auto options = PostgreSQLOptions::read(connectionString);
  if (!options) return tl::unexpected(options.error());
  PostgreSQLConnection connection(start(connectionString, *options, timeouts), timeouts);
  if (auto result = connection.finishConnecting(*options, earlierFailures, call); !result) {
    return tl::unexpected(std::move(result).error());
  }
  return connection;
}

CKResult<void> PostgreSQLConnection::finishConnecting(const PostgreSQLOptions& options,
                                                      int earlierFailures, const CloudCall& call) {
  auto* handle = handle_.get();
  if (handle == nullptr || PQstatus(handle) == CONNECTION_BAD) {
    return tl::unexpected(connectingFailed(earlierFailures));
  }
  PQsetErrorVerbosity(handle, PQERRORS_VERBOSE);
  PQsetNoticeReceiver(handle, ignoreNotice, nullptr);
  const Wait wait(timeouts_.connecting, call);
  auto state = PGRES_POLLING_WRITING;
  while (state != PGRES_POLLING_OK) {
    const short events = state == PGRES_POLLING_READING ? POLLIN : POLLOUT;
    if (auto ready = wait.until(PQsocket(handle), events); !ready) {
      if (ready.error().code == CKErrorCode::operationCancelled) return ready;
      return tl::unexpected(unreachable(earlierFailures + 1, ready.error().localizedDescription));
    }
    const bool isEncrypting = PQstatus(handle) == CONNECTION_SSL_STARTUP;
    state = PQconnectPoll(handle);
    if (state != PGRES_POLLING_FAILED) continue;
    const auto missing = isEncrypting ? options.missingRootCertificate() : "";
    if (missing.empty()) return tl::unexpected(connectingFailed(earlierFailures));
    return tl::unexpected(cloudError(
        {CKErrorCode::badContainer},
        fmt::format("The root certificate to know the server by, '{}', is missing.", missing)));
  }
  PQsetErrorVerbosity(handle, PQERRORS_DEFAULT);
  if (PQsetnonblocking(handle, 1) != 0 || PQenterPipelineMode(handle) != 1) {
    return tl::unexpected(connectingFailed(earlierFailures));
  }
  return {};
}

CKError PostgreSQLConnection::connectingFailed(int earlierFailures) const {
  auto* handle = handle_.get();
  const std::string_view message = PQerrorMessage(handle);
  if (PQconnectionNeedsPassword(handle) == 1) {
    return cloudError({CKErrorCode::notAuthenticated}, message);
  }
  const auto state = stateInMessage(message);
  if (state.empty()) return unreachable(earlierFailures + 1, message);
  return cloudError(failureOfState(state), message);
}

CKResult<PostgreSQLConnection::Results> PostgreSQLConnection::transact(
    const Statements& statements, const CloudCall& call, const Statements& afterwards) {
  if (call.isCancelled()) return tl::unexpected(cancelled());
  if (!isOpen()) return tl::unexpected(broken());
  bool isSent = send(statements);
  for (const auto& statement : afterwards) isSent = isSent && send({statement});
  if (!isSent) return tl::unexpected(broken());
  const Wait wait(timeouts_.transaction, call);
  auto results = resultsUntilSync(wait);
  for (std::size_t left = afterwards.size(); left > 0 && handle_; --left) {
    // What was done is done, whatever becomes of these.
    static_cast<void>(resultsUntilSync(wait));
  }
  return results;
}

bool PostgreSQLConnection::send(const Statements& statements) {
  for (const auto& statement : statements) {
    std::vector<Oid> types;
    std::vector<const char*> values;
    std::vector<int> lengths;
    for (const auto& value : statement.values) {
      types.push_back(value.type());
      values.push_back(value.data());
      lengths.push_back(value.size());
    }
    const std::vector<int> areBinary(statement.values.size(), 1);
    constexpr int asText = 0;
    if (PQsendQueryParams(handle_.get(), statement.text.c_str(), static_cast<int>(types.size()),
                          types.data(), values.data(), lengths.data(), areBinary.data(),
                          asText) != 1) {
      return false;
    }
  }
  return PQpipelineSync(handle_.get()) == 1;
}

CKResult<PostgreSQLConnection::Results> PostgreSQLConnection::resultsUntilSync(const Wait& wait) {
  Results results;
  std::optional<CKError> error;
  while (true) {
    auto result = nextResult(wait);
    if (!result) {
      handle_.reset();
      return tl::unexpected(error ? *std::move(error) : std::move(result).error());
    }
    switch (result->status()) {
      case PGRES_PIPELINE_SYNC:
        if (error) return tl::unexpected(*std::move(error));
        return results;
      case PGRES_PIPELINE_ABORTED:
        break;
      case PGRES_COMMAND_OK:
      case PGRES_TUPLES_OK:
        results.push_back(*std::move(result));
        break;
      default:
        if (!error) error = failed(*result);
        if (PQstatus(handle_.get()) == CONNECTION_BAD) {
          handle_.reset();
          return tl::unexpected(*std::move(error));
        }
    }
  }
}

CKResult<PostgreSQLResult> PostgreSQLConnection::nextResult(const Wait& wait) {
  auto* handle = handle_.get();
  // Nothing stands between the results of two statements.
  for (bool wasBetween = false;; wasBetween = true) {
    while (PQisBusy(handle) == 1) {
      const int unsent = PQflush(handle);
      const auto events = static_cast<short>(unsent == 1 ? POLLIN | POLLOUT : POLLIN);
      if (auto ready = wait.until(PQsocket(handle), events); !ready) {
        return tl::unexpected(std::move(ready).error());
      }
      if (PQconsumeInput(handle) != 1) break;  // the next result says why
    }
    PostgreSQLResult result(PQgetResult(handle));
    if (result) return result;
    if (wasBetween) return tl::unexpected(broken());
  }
}

CKError PostgreSQLConnection::failed(const PostgreSQLResult& result) {
  if (result.sqlState().empty()) return connectionLost(result.message());
  return cloudError(failureOfState(result.sqlState()), result.message());
}

CKError PostgreSQLConnection::broken() {
  auto error = connectionLost(handle_ ? PQerrorMessage(handle_.get()) : "There is no connection.");
  handle_.reset();
  return error;
}

bool PostgreSQLConnection::isOpen() {
  if (handle_) readWhatIsThere();
  return handle_ && PQstatus(handle_.get()) == CONNECTION_OK;
}

void PostgreSQLConnection::readWhatIsThere() {
  pollfd polled{PQsocket(handle_.get()), POLLIN, 0};
  while (::poll(&polled, 1, 0) > 0) {
    if (PQconsumeInput(handle_.get()) != 1) return;
    static_cast<void>(PQisBusy(handle_.get()));  // takes the input in
  }
}

void PostgreSQLConnection::awaitNotification(int wake, milliseconds time) {
  bool isNotified = false;
  const auto takeNotifications = [&] {
    while (auto* notification = PQnotifies(handle_.get())) {
      PQfreemem(notification);
      isNotified = true;
    }
  };
  const auto end = Clock::now() + time;
  while (isOpen()) {
    takeNotifications();
    const auto rest = std::chrono::ceil<milliseconds>(end - Clock::now());
    if (isNotified || rest <= milliseconds::zero()) return;
    std::array<pollfd, 2> polled{{{PQsocket(handle_.get()), POLLIN, 0}, {wake, POLLIN, 0}}};
    ::poll(polled.data(), polled.size(), static_cast<int>(rest.count()));
    if (polled[1].revents != 0) return;
  }
}

std::string PostgreSQLConnection::quoted(std::string_view name) const {
  char* escaped = PQescapeIdentifier(handle_.get(), name.data(), name.size());
  if (escaped == nullptr) return "";
  std::string result = escaped;
  PQfreemem(escaped);
  return result;
}

CKResult<std::string> PostgreSQLConnection::encrypted(const std::string& user,
                                                      const std::string& password) {
  // Without an algorithm libpq would ask the server for its own, and wait for the answer.
  char* made =
      PQencryptPasswordConn(handle_.get(), password.c_str(), user.c_str(), "scram-sha-256");
  if (made == nullptr) return tl::unexpected(broken());
  std::string result = made;
  PQfreemem(made);
  return result;
}

}  // namespace orvane
