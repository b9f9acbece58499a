#include "Apps/Companion/CloudCommand.h"

#include <functional>
#include <iostream>
#include <optional>

#include <fmt/format.h>

#include "Apps/Companion/Failure.h"
#include "Linux/Posix/CloudAccount.h"
#include "Linux/PostgreSQL/PostgreSQLAddress.h"
#include "Linux/PostgreSQL/PostgreSQLSchema.h"

namespace orvane {
namespace {

using Work = std::function<CKResult<void>(PostgreSQLConnection&)>;

int runOnServer(const std::string& text, const std::string& success, const Work& work) {
  const auto address = CloudAccount::addressOf(text);
  const auto described = describedAddress(address);
  if (!described) return failure(described.error().localizedDescription);
  auto connection =
      PostgreSQLConnection::open(address, PostgreSQLTimeouts{}, /*earlierFailures=*/0, CloudCall{});
  if (!connection) return failure(connection.error().localizedDescription);
  if (const auto done = work(*connection); !done) {
    return failure(done.error().localizedDescription);
  }
  fmt::print("{}: {}.\n", success, *described);
  return 0;
}

std::optional<std::string> passwordFromInput() {
  std::string line;
  if (!std::getline(std::cin, line) || line.empty()) return std::nullopt;
  return line;
}

}  // namespace

int runCloudInstallCommand(const std::string& address) {
  return runOnServer(address, "Prepared", [](PostgreSQLConnection& connection) {
    return installCloud(connection, CloudCall{});
  });
}

int runCloudAddUserCommand(const CloudUser& user, const std::string& address) {
  std::optional<std::string> password;
  if (user.hasPassword) {
    password = passwordFromInput();
    if (!password) return failure("There is no password in the standard input.");
  }
  return runOnServer(address, fmt::format("'{}' has an account", user.name),
                     [&](PostgreSQLConnection& connection) {
                       return addCloudUser(connection, user.name, password, CloudCall{});
                     });
}

}  // namespace orvane
