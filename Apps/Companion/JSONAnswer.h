#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace orvane {

using JSONWriter = rapidjson::Writer<rapidjson::StringBuffer>;

// A member of the object that is being written. The key is followed by the value.
void writeText(JSONWriter& writer, const char* key, std::string_view text);
void writeNumber(JSONWriter& writer, const char* key, std::size_t number);
void writeBoolean(JSONWriter& writer, const char* key, bool value);

/// An element of the array that is being written.
void writeText(JSONWriter& writer, std::string_view text);

/// Prints what `write` writes as a line on standard output.
void printJSON(const std::function<void(JSONWriter&)>& write);

}  // namespace orvane
