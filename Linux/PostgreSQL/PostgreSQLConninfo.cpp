#include "Linux/PostgreSQL/PostgreSQLConninfo.h"

namespace orvane {
namespace {

/// Whether a URI has more than the one "@" that ends the user's name and password.
bool hasStrayAt(std::string_view address) {
  constexpr std::string_view mark = "://";
  if (!address.starts_with("postgres://") && !address.starts_with("postgresql://")) return false;
  auto rest = address.substr(address.find(mark) + mark.size());
  const auto at = rest.find('@');
  if (at < rest.find('/')) rest.remove_prefix(at + 1);
  rest = rest.substr(0, rest.find('?'));
  return rest.find('@') != std::string_view::npos;
}

}  // namespace

std::string valueOf(const ConninfoOptions& options, std::string_view keyword) {
  for (const auto* option = options.get(); option->keyword != nullptr; ++option) {
    if (option->keyword == keyword && option->val != nullptr) return option->val;
  }
  return "";
}

Expected<ConninfoOptions> parsedAddress(const std::string& address) {
  char* message = nullptr;
  ConninfoOptions options(PQconninfoParse(address.c_str(), &message));
  PQfreemem(message);
  if (!options || hasStrayAt(address)) {
    return tl::unexpected(
        NSError{"PostgreSQL", 1, "The address of the cloud is no connection string of libpq."});
  }
  return options;
}

}  // namespace orvane
