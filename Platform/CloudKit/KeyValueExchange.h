#pragma once

#include <memory>

#include "Platform/CloudKit/CloudBackend.h"
#include "Platform/Foundation/Executor.h"
#include "Platform/Foundation/KeyValueDatabase.h"
#include "Platform/Foundation/LineOutput.h"

namespace orvane {

/// Keeps the table behind the cloud key-value store of this machine and the cloud's the same: of
/// several who change a key the last one whose change reaches the cloud wins. Where both have a key
/// when they meet for the first time, the cloud's counts, and what the cloud lacks is sent; another
/// cloud, or one that was restored, is met for the first time too. A change of this machine that is
/// made while an exchange goes on is kept, and sent by the next one. Main queue.
class KeyValueExchange {
 public:
  /// The entries of this key of the table say what both had last, and how far the exchange has got.
  static constexpr const char* stateKey = "KeyValueExchange";

  /// The table, through two connections.
  struct Table {
    /// The process's, which does not take what is written here for a change by others.
    KeyValueDatabase& own;
    /// The exchange's, so that the process is told of what comes from the cloud.
    KeyValueDatabase& foreign;
  };

  /// All outlive the exchange and what it has posted.
  KeyValueExchange(const Table& table, CloudBackend& cloud, Executor& cloudQueue,
                   Executor& mainQueue, LineOutput& systemLog);
  KeyValueExchange(const KeyValueExchange&) = delete;
  KeyValueExchange& operator=(const KeyValueExchange&) = delete;
  /// A call of the cloud that goes on is cancelled.
  ~KeyValueExchange();

  /// Exchanges now, after each change of the table, and again when the cloud could not be reached.
  void start();
  /// Fetches what has changed in the cloud, and sends what has changed here.
  void exchange();

 private:
  enum class Reach { table, cloud };

  void begin(Reach reach);
  void ended(const CKResult<void>& result);

  const Table table_;
  CloudBackend& cloud_;
  Executor& cloudQueue_;
  Executor& mainQueue_;
  LineOutput& systemLog_;
  bool isRunning_ = false;
  bool isWaiting_ = false;
  std::optional<Reach> next_;
  std::shared_ptr<void> lifetime_ = std::make_shared<char>();
};

}  // namespace orvane
