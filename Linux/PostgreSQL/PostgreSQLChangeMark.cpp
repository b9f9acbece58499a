#include "Linux/PostgreSQL/PostgreSQLChangeMark.h"

#include <charconv>

namespace orvane {

std::string PostgreSQLChangeMark::text() const { return std::to_string(seq) + '.' + epoch; }

std::optional<PostgreSQLChangeMark> PostgreSQLChangeMark::parse(std::string_view text) {
  const auto dot = text.find('.');
  if (dot == std::string_view::npos) return std::nullopt;
  PostgreSQLChangeMark mark{0, std::string(text.substr(dot + 1))};
  const auto* const end = text.data() + dot;
  const auto [stop, error] = std::from_chars(text.data(), end, mark.seq);
  if (error != std::errc() || stop != end) return std::nullopt;
  return mark;
}

}  // namespace orvane
