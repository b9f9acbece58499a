#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <libpq-fe.h>

#include "Linux/PostgreSQL/PostgreSQLOptions.h"
#include "Linux/PostgreSQL/PostgreSQLStatement.h"
#include "Platform/CloudKit/CKError.h"
#include "Platform/CloudKit/CloudBackend.h"

namespace orvane {

struct PostgreSQLTimeouts {
  using Duration = std::chrono::milliseconds;

  /// From the first packet to a connection that can be used. Looking up the name of the host comes
  /// before that, and takes as long as the system takes.
  Duration connecting = std::chrono::seconds(10);
  /// From the first statement to the last answer of a transaction.
  Duration transaction = std::chrono::seconds(30);
  /// How long the server waits for somebody else's transaction.
  Duration lock = std::chrono::seconds(10);
};

/// A connection to a server, encrypted unless the connection string, its service or the environment
/// says otherwise (`sslmode`) or the server is on this machine, behind a socket file. A service
/// cannot say `prefer`, see `PostgreSQLOptions`. Passwords come from where libpq takes them. One
/// thread at a time.
///
/// Every wait ends when the call is cancelled or its time is over. The connection is closed then,
/// since a server that hangs would not listen to anything else, and so it is when it breaks.
class PostgreSQLConnection {
 public:
  /// A connection string or URI of libpq; `badContainer` when it is none, or names a service or a
  /// root certificate that is not there. `earlierFailures` counts the attempts before this one
  /// that came to nothing, for the pause until the next.
  static CKResult<PostgreSQLConnection> open(const std::string& connectionString,
                                             const PostgreSQLTimeouts& timeouts,
                                             int earlierFailures, const CloudCall& call);

  using Results = std::vector<PostgreSQLResult>;
  using Statements = std::vector<PostgreSQLStatement>;

  /// Sends the statements in one go, as one transaction, and gives their results, or the error of
  /// the first that failed; nothing was done then, but for `networkFailure` and
  /// `operationCancelled`. Afterwards, in the same go, come the statements that need not succeed:
  /// each is a transaction of its own, and they are sent whatever became of the first.
  CKResult<Results> transact(const Statements& statements, const CloudCall& call,
                             const Statements& afterwards = {});

  /// Whether the server was still there when it was last heard of. Does not wait.
  bool isOpen();

  /// Whether the server has notified of something. Waits until it has, until `wake` can be read, or
  /// until the time is over; or the connection breaks.
  void awaitNotification(int wake, std::chrono::milliseconds time);

  /// The name as it is written in a statement.
  std::string quoted(std::string_view name) const;
  /// The password as the server keeps it, so that it is never sent as it is, nor logged.
  CKResult<std::string> encrypted(const std::string& user, const std::string& password);

 private:
  class Wait;
  struct Finish {
    void operator()(PGconn* connection) const { PQfinish(connection); }
  };

  PostgreSQLConnection(PGconn* handle, const PostgreSQLTimeouts& timeouts)
      : handle_(handle), timeouts_(timeouts) {}

  CKResult<void> finishConnecting(const PostgreSQLOptions& options, int earlierFailures,
                                  const CloudCall& call);
  CKError connectingFailed(int earlierFailures) const;
  bool send(const Statements& statements);
  CKResult<PostgreSQLResult> nextResult(const Wait& wait);
  CKResult<Results> resultsUntilSync(const Wait& wait);
  CKError failed(const PostgreSQLResult& result);
  CKError broken();
  void readWhatIsThere();

  std::unique_ptr<PGconn, Finish> handle_;
  PostgreSQLTimeouts timeouts_;
};

}  // namespace orvane
