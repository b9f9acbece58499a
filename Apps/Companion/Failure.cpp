#include "Apps/Companion/Failure.h"

#include <string>

#include <fmt/format.h>

#include "Apps/Companion/Printable.h"

namespace orvane {

void complain(std::string_view sentence) {
  // An error may have several lines, and of other control characters nothing good is to be
  // expected.
  for (;;) {
    const auto end = sentence.find('\n');
    fmt::print(stderr, "orvane: {}\n", printable(std::string(sentence.substr(0, end))));
    if (end == std::string_view::npos) return;
    sentence.remove_prefix(end + 1);
  }
}

int failure(std::string_view sentence) {
  complain(sentence);
  return 1;
}

}  // namespace orvane
