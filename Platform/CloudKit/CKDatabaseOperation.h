#pragma once

#include <functional>
#include <optional>

#include "Platform/CloudKit/CKDatabase.h"
#include "Platform/Foundation/NSOperation.h"

namespace orvane {

/// A request to a database. Its callbacks come on the database's callback queue, before the
/// operation is finished, and are set before it is added to a queue or to a database. One that is
/// cancelled calls back as well, with the error `operationCancelled`; one whose queue ends before
/// its turn does not.
class CKDatabaseOperation : public NSOperation {
 public:
  /// Before the operation is added to a queue.
  void setDatabase(const CKDatabase& database) { database_.emplace(database); }

 protected:
  void start(const std::function<void()>& finished) override;

  /// Asks the cloud, on the cloud queue, unless `refusal` is there, which then is the answer. What
  /// it returns is called on the callback queue.
  virtual std::function<void()> perform(const CKDatabase::Connection& connection,
                                        const std::optional<CKError>& refusal) = 0;

  /// For calls of the cloud by this operation.
  CloudCall call() const;

 private:
  friend class CKDatabase;

  std::optional<CKDatabase> database_;
};

}  // namespace orvane
