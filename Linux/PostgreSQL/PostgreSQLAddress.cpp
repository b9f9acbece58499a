#include "Linux/PostgreSQL/PostgreSQLAddress.h"

#include <memory>
#include <string_view>
#include <utility>

#include <libpq-fe.h>

namespace orvane {
namespace {

struct FreeOptions {
  void operator()(PQconninfoOption* options) const { PQconninfoFree(options); }
};
using Options = std::unique_ptr<PQconninfoOption, FreeOptions>;

std::string valueOf(const Options& options, std::string_view keyword) {
  for (const auto* option = options.get(); option->keyword != nullptr; ++option) {
    if (option->keyword == keyword && option->val != nullptr) return option->val;
  }
  return "";
}

}  // namespace

Expected<std::string> describedAddress(const std::string& address) {
  char* message = nullptr;
  const Options options(PQconninfoParse(address.c_str(), &message));
  PQfreemem(message);
  if (!options) {
    return tl::unexpected(
        NSError{"PostgreSQL", 1, "The address of the cloud is no connection string of libpq."});
  }
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
