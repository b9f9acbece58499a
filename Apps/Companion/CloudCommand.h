#pragma once

#include <string>

namespace orvane {

struct CloudUser {
  std::string name;
  /// Whether the first line of the standard input is the password to be set.
  bool hasPassword = false;
};

/// `orvane cloud install`: prepares a PostgreSQL database to be a cloud. A database that is
/// prepared already stays as it is.
int runCloudInstallCommand(const std::string& address);

/// `orvane cloud add-user`: gives a user an account in a database that has been prepared.
int runCloudAddUserCommand(const CloudUser& user, const std::string& address);

}  // namespace orvane
