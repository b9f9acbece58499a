#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "Platform/CloudKit/CKDatabase.h"

namespace orvane {

/// A program's place in the cloud: the user's private database and the public one. Any thread.
class CKContainer {
 public:
  CKContainer(std::string identifier, const CKDatabase::Connection& connection)
      : identifier_(std::move(identifier)), database_(connection) {}

  const std::string& containerIdentifier() const { return identifier_; }
  const CKDatabase& privateCloudDatabase() const { return database_; }
  const CKDatabase& publicCloudDatabase() const { return database_; }

  /// Asks whether the user has an account. `completion` is called once, on the callback queue; with
  /// an error the status is `couldNotDetermine`.
  void accountStatus(
      std::function<void(CKAccountStatus, const std::optional<CKError>&)> completion) const;

 private:
  std::string identifier_;
  CKDatabase database_;
};

}  // namespace orvane
