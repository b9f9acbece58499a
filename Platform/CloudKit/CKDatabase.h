#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "Platform/CloudKit/CloudBackend.h"
#include "Platform/Foundation/Executor.h"
#include "Platform/Foundation/LineOutput.h"

namespace orvane {

class CKDatabaseOperation;

/// A database of a container: where operations are carried out, one at a time. A value; copies are
/// the same database. Any thread.
class CKDatabase {
 public:
  /// All outlive every operation. The cloud is called on `cloudQueue`; whoever asked for something
  /// is called on `callbackQueue`, never inside the call that asked for it.
  struct Connection {
    CloudBackend& backend;
    Executor& cloudQueue;
    Executor& callbackQueue;
    LineOutput& systemLog;
  };

  explicit CKDatabase(const Connection& connection) : connection_(connection) {}

  const Connection& connection() const { return connection_; }

  /// Carries the operation out in no queue of the caller's.
  void addOperation(const std::shared_ptr<CKDatabaseOperation>& operation) const;

  /// Saves a new record of the public database. `completion` is called once, with the record or
  /// the error.
  void saveRecord(
      CKRecord record,
      std::function<void(const std::optional<CKRecord>& saved, const std::optional<CKError>& error)>
          completion) const;

 private:
  Connection connection_;
};

}  // namespace orvane
