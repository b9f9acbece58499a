#include "Apps/Companion/JSONAnswer.h"

#include <fmt/format.h>

namespace orvane {

void writeText(JSONWriter& writer, const char* key, std::string_view text) {
  writer.Key(key);
  writeText(writer, text);
}

void writeNumber(JSONWriter& writer, const char* key, std::size_t number) {
  writer.Key(key);
  writer.Uint64(number);
}

void writeBoolean(JSONWriter& writer, const char* key, bool value) {
  writer.Key(key);
  writer.Bool(value);
}

void writeText(JSONWriter& writer, std::string_view text) {
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void printJSON(const std::function<void(JSONWriter&)>& write) {
  rapidjson::StringBuffer text;
  JSONWriter writer(text);
  write(writer);
  fmt::print("{}\n", text.GetString());
}

}  // namespace orvane
