#include "Platform/Foundation/FatalError.h"

#include <cstdio>
#include <cstdlib>

#include <fmt/format.h>

namespace orvane {

void fatalError(std::string_view message, std::string_view source, int line) {
  const std::string text =
      fmt::format("Fatal error: {}: file {}, line {}\n", message, source, line);
  static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
  std::abort();
}

}  // namespace orvane
