#include "Linux/PostgreSQL/PostgreSQLOptions.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <utility>

#include <fmt/format.h>
#include <libpq-fe.h>

#include "Linux/PostgreSQL/PostgreSQLConninfo.h"
#include "Linux/PostgreSQL/PostgreSQLFailure.h"

namespace orvane {
namespace {

struct Finish {
  void operator()(PGconn* connection) const { PQfinish(connection); }
};
using Connection = std::unique_ptr<PGconn, Finish>;

/// No address of a server: libpq looks at all options, and fails before it connects to anything.
constexpr const char* nowhere = "nowhere";

Connection connectNowhere(const std::string& connectionString, std::size_t servers) {
  std::string addresses = nowhere;
  for (std::size_t more = 1; more < servers; ++more) addresses += std::string(",") + nowhere;
  const std::array<const char*, 3> keywords{"dbname", "hostaddr", nullptr};
  const std::array<const char*, 3> values{connectionString.c_str(), addresses.c_str(), nullptr};
  return Connection(PQconnectStartParams(keywords.data(), values.data(), 1));
}

std::size_t countIn(const std::string& list) {
  return static_cast<std::size_t>(std::count(list.begin(), list.end(), ',')) + 1;
}

/// A list of servers goes with as many addresses.
std::size_t serversIn(const ConninfoOptions& options) {
  const auto hosts = valueOf(options, "host");
  return countIn(hosts.empty() ? valueOf(options, "port") : hosts);
}

/// Libpq would repeat the value, which in a string with a mistake may be part of the password.
CKError refusedOption(const ConninfoOptions& options, std::string_view message) {
  std::string_view named;
  for (const auto* option = options.get(); option->keyword != nullptr; ++option) {
    const std::string_view keyword = option->keyword;
    if (keyword.size() > named.size() && message.find(keyword) != std::string_view::npos) {
      named = keyword;
    }
  }
  return cloudError(
      {CKErrorCode::badContainer},
      named.empty()
          ? "The address of the cloud, its service or the environment has an option that libpq "
            "does not understand."
          : fmt::format("The address of the cloud, its service or the environment sets “{}” to "
                        "what libpq does not understand.",
                        named));
}

bool isSet(const PQconninfoOption& option, const ConninfoOptions& address) {
  if (option.val == nullptr || *option.val == '\0') return false;
  if (!valueOf(address, option.keyword).empty()) return true;
  if (option.envvar != nullptr && std::getenv(option.envvar) != nullptr) return true;
  return option.compiled == nullptr || std::string_view(option.val) != option.compiled;
}

}  // namespace

CKResult<PostgreSQLOptions> PostgreSQLOptions::read(const std::string& connectionString) {
  const auto address = parsedAddress(connectionString);
  if (!address) {
    return tl::unexpected(
        cloudError({CKErrorCode::badContainer}, address.error().localizedDescription));
  }
  auto attempt = connectNowhere(connectionString, 1);
  const ConninfoOptions options(PQconninfo(attempt.get()));
  if (!options) return tl::unexpected(cloudError({CKErrorCode::internalError}, "out of memory"));
  // Without its service a connection has no options at all.
  if (valueOf(options, "sslmode").empty()) {
    return tl::unexpected(
        cloudError({CKErrorCode::badContainer},
                   fmt::format("The service of the cloud's address cannot be used: {}",
                               PQerrorMessage(attempt.get()))));
  }
  const auto servers = serversIn(options);
  if (servers > 1) attempt = connectNowhere(connectionString, servers);
  const std::string_view message = PQerrorMessage(attempt.get());
  if (message.find(nowhere) == std::string_view::npos) {
    return tl::unexpected(refusedOption(options, message));
  }
  Values values;
  for (const auto* option = options.get(); option->keyword != nullptr; ++option) {
    if (isSet(*option, *address)) values[option->keyword] = option->val;
  }
  return PostgreSQLOptions(std::move(values));
}

std::string PostgreSQLOptions::value(std::string_view keyword) const {
  const auto found = values_.find(keyword);
  return found == values_.end() ? "" : found->second;
}

std::string PostgreSQLOptions::missingRootCertificate() const {
  if (!value("sslmode").starts_with("verify-")) return "";
  auto file = value("sslrootcert");
  if (file == "system") return "";
  if (file.empty()) {
    const char* home = std::getenv("HOME");
    file = std::string(home == nullptr ? "~" : home) + "/.postgresql/root.crt";
  }
  std::error_code error;
  return std::filesystem::exists(file, error) ? "" : file;
}

}  // namespace orvane
