#include "BlockerKit/JSON/RecordWriter.h"

#include <string_view>

#include <rapidjson/writer.h>
#include <simdjson.h>

namespace orvane {
namespace {

/// Lets the encoder write straight into the string that is returned.
class StringStream {
 public:
  using Ch = char;
  explicit StringStream(std::string& text) : text_(text) {}
  void Put(char character) { text_.push_back(character); }  // NOLINT(readability-identifier-naming)
  void Flush() {}                                           // NOLINT(readability-identifier-naming)

 private:
  std::string& text_;
};

using Writer = rapidjson::Writer<StringStream>;

bool write(Writer& writer, std::string_view text) {
  // The encoder's own check of a character that is cut off reads on behind the end of the text.
  return simdjson::validate_utf8(text) &&
         writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

bool write(Writer& writer, const std::string& text) {
  return write(writer, std::string_view(text));
}

bool writeKey(Writer& writer, std::string_view key) {
  return writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
}

bool write(Writer& writer, ResourceType type) { return write(writer, rawValue(type)); }
bool write(Writer& writer, LoadType type) { return write(writer, rawValue(type)); }
bool write(Writer& writer, const Trigger& trigger);
bool write(Writer& writer, const Action& action);
bool write(Writer& writer, const Blocker& blocker);
bool write(Writer& writer, const Rule& rule);
bool write(Writer& writer, const Package& package);

template <typename Element>
bool write(Writer& writer, std::span<const Element> elements) {
  writer.StartArray();
  for (const auto& element : elements) {
    if (!write(writer, element)) return false;
  }
  return writer.EndArray();
}

template <typename Value>
bool writeMember(Writer& writer, std::string_view key, const Value& value) {
  return writeKey(writer, key) && write(writer, value);
}

template <typename Element>
bool writeMember(Writer& writer, std::string_view key, const std::vector<Element>& elements) {
  return writeMember(writer, key, std::span<const Element>(elements));
}

template <typename Value>
bool writeMember(Writer& writer, std::string_view key, const std::optional<Value>& value) {
  return !value || writeMember(writer, key, *value);
}

bool write(Writer& writer, const Trigger& trigger) {
  writer.StartObject();
  bool written = writeMember(writer, "url-filter", trigger.urlFilter);
  if (trigger.caseSensitive) {
    written = written && writeKey(writer, "url-filter-is-case-sensitive") && writer.Bool(true);
  }
  written = written && writeMember(writer, "resource-type", trigger.resourceTypes) &&
            writeMember(writer, "load-type", trigger.loadType);
  if (const auto& filter = trigger.domainFilter) {
    written = written && writeMember(writer, rawValue(filter->type), filter->values);
  }
  return written && writer.EndObject();
}

bool write(Writer& writer, const Action& action) {
  return writer.StartObject() && writeMember(writer, "type", rawValue(action.type())) &&
         writeMember(writer, "selector", action.selector()) && writer.EndObject();
}

bool write(Writer& writer, const Blocker& blocker) {
  return writer.StartObject() && writeMember(writer, "trigger", blocker.trigger) &&
         writeMember(writer, "action", blocker.action) && writer.EndObject();
}

bool write(Writer& writer, const Rule& rule) {
  return writer.StartObject() && writeMember(writer, "id", rule.id) &&
         writeMember(writer, "name", rule.name) && writeMember(writer, "content", rule.blocker) &&
         writer.EndObject();
}

bool write(Writer& writer, const Package& package) {
  return writer.StartObject() && writeMember(writer, "id", package.id) &&
         writeMember(writer, "name", package.name) && writeMember(writer, "rules", package.rules) &&
         writer.EndObject();
}

template <typename Value>
Expected<std::string> encode(const Value& value) {
  std::string text;
  StringStream stream(text);
  Writer writer(stream);
  if (!write(writer, value)) {
    return tl::unexpected(NSError{"JSON", 1, "A text is not valid UTF-8."});
  }
  return text;
}

}  // namespace

Expected<std::string> toJSON(const Trigger& trigger) { return encode(trigger); }
Expected<std::string> toJSON(const Action& action) { return encode(action); }
Expected<std::string> toJSON(const Blocker& blocker) { return encode(blocker); }
Expected<std::string> toJSON(const Rule& rule) { return encode(rule); }
Expected<std::string> toJSON(const Package& package) { return encode(package); }
Expected<std::string> toJSON(std::span<const Blocker> blockers) { return encode(blockers); }
Expected<std::string> toJSON(std::span<const Rule> rules) { return encode(rules); }
Expected<std::string> toJSON(std::span<const Package> packages) { return encode(packages); }
Expected<std::string> toJSON(std::string_view text) { return encode(text); }

}  // namespace orvane
