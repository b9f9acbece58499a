#include "Apps/Companion/Table.h"

#include <algorithm>

#include <fmt/format.h>

#include "Apps/Companion/Printable.h"

namespace orvane {
namespace {

/// Characters, not bytes.
std::size_t widthOf(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
  }));
}

}  // namespace

void printTable(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], widthOf(row[i]));
  }
  for (const auto& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += printable(row[i]);
      if (i + 1 < row.size()) line.append(widths[i] - widthOf(row[i]) + 2, ' ');
    }
    fmt::print("{}\n", line);
  }
}

}  // namespace orvane
