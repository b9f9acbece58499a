#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/CloudKit/CKError.h"

namespace orvane {

/// What a connection string, the service that it names and the environment set the options of libpq
/// to, as libpq itself puts them together.
class PostgreSQLOptions {
 public:
  /// Connects to nothing. `badContainer` when libpq cannot make a connection of it, whatever the
  /// server does; the description has nothing of the string but the name of the service.
  static CKResult<PostgreSQLOptions> read(const std::string& connectionString);

  /// Empty when the option is not set. A service that sets what libpq takes by itself cannot be
  /// told from one that does not set it.
  std::string value(std::string_view keyword) const;

  /// The file of root certificates that `sslmode` needs and that is not there; empty when none is
  /// missing.
  std::string missingRootCertificate() const;

 private:
  using Values = std::map<std::string, std::string, std::less<>>;

  explicit PostgreSQLOptions(Values values) : values_(std::move(values)) {}

  Values values_;
};

}  // namespace orvane
