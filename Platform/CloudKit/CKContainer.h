#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "Platform/CloudKit/CKDatabase.h"

namespace orvane {

/// A program's place in the cloud: the user's private database and the public one. Whatever its
/// identifier, it is in the cloud that the connection leads to. Any thread.
class CKContainer {
 public:
  CKContainer(std::string_view /*identifier*/, const CKDatabase::Connection& connection)
      : database_(connection) {}

  const CKDatabase& privateCloudDatabase() const { return database_; }
  const CKDatabase& publicCloudDatabase() const { return database_; }

  /// Asks whether the user has an account. `completion` is called once, on the callback queue; with
  /// an error the status is `couldNotDetermine`.
  void accountStatus(
      std::function<void(CKAccountStatus, const std::optional<CKError>&)> completion) const;

 private:
  CKDatabase database_;
};

}  // namespace orvane
