#include "Linux/PostgreSQL/PostgreSQLAddress.h"

#include <utility>

#include "Linux/PostgreSQL/PostgreSQLConninfo.h"

namespace orvane {
Expected<std::string> describedAddress(const std::string& address) {
  const auto parsed = parsedAddress(address);
  if (!parsed) return tl::unexpected(parsed.error());
  const auto& options = *parsed;
  const auto service = valueOf(options, "service");
  auto host = valueOf(options, "host");
  if (host.empty()) host = valueOf(options, "hostaddr");
  std::string described = "the PostgreSQL server";
  if (!service.empty()) described += " of the service " + service;
  if (!host.empty()) described += (service.empty() ? " " : ", ") + host;
  for (const auto& [keyword, name] :
       {std::pair{"port", "port"}, {"dbname", "database"}, {"user", "user"}}) {
    if (const auto value = valueOf(options, keyword); !value.empty()) {
      described += std::string(", ") + name + " " + value;
    }
  }
  return described;
}

}  // namespace orvane
