#include "Platform/CloudKit/RecordText.h"

#include <simdjson.h>

namespace orvane {
namespace {

constexpr std::size_t longestName = 255;

}  // namespace

bool canBeRecordText(std::string_view text) {
  return text.find('\0') == std::string_view::npos &&
         simdjson::validate_utf8(text.data(), text.size());
}

bool canBeRecordName(std::string_view text) {
  return !text.empty() && text.size() <= longestName && canBeRecordText(text);
}

}  // namespace orvane
