#include "Linux/PostgreSQL/PostgreSQLChangeMark.h"

#include <charconv>

namespace orvane {

std::string PostgreSQLChangeMark::text() const { return epoch + '.' + std::to_string(seq); }

std::optional<PostgreSQLChangeMark> PostgreSQLChangeMark::parse(std::string_view text) {
  const auto dot = text.find('.');
  if (dot == std::string_view::npos) return std::nullopt;
  PostgreSQLChangeMark mark{std::string(text.substr(0, dot)), 0};
  const auto* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data() + dot + 1, end, mark.seq);
  if (error != std::errc() || stop != end) return std::nullopt;
  return mark;
}

}  // namespace orvane
