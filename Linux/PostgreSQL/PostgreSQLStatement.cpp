#include "Linux/PostgreSQL/PostgreSQLStatement.h"

#include <charconv>
#include <cstdint>
#include <type_traits>

namespace orvane {
namespace {

// The server's own numbers for its types, the same in every version.
constexpr Oid bigintType = 20;
constexpr Oid textType = 25;
constexpr Oid textArrayType = 1009;
constexpr Oid jsonbType = 3802;
constexpr Oid jsonbArrayType = 3807;

/// The version of the binary form, in front of the text.
constexpr char jsonbVersion = 1;

/// Most significant byte first.
template <typename Integer>
void append(std::string& bytes, Integer value) {
  const auto bits = static_cast<std::make_unsigned_t<Integer>>(value);
  for (std::size_t left = sizeof(Integer); left > 0; --left) {
    bytes.push_back(static_cast<char>(bits >> (8 * (left - 1)) & 0xFF));
  }
}

/// What stands before the elements of an array of one dimension.
std::string arrayHeader(Oid elementType, std::size_t count) {
  std::string bytes;
  append(bytes, std::int32_t{count > 0 ? 1 : 0});  // dimensions
  append(bytes, std::int32_t{1});                  // there may be nulls
  append(bytes, static_cast<std::int32_t>(elementType));
  if (count > 0) {
    append(bytes, static_cast<std::int32_t>(count));
    append(bytes, std::int32_t{1});  // the first index
  }
  return bytes;
}

void appendElement(std::string& bytes, std::string_view element) {
  append(bytes, static_cast<std::int32_t>(element.size()));
  bytes.append(element);
}

}  // namespace

PostgreSQLValue PostgreSQLValue::text(std::string_view text) {
  return {textType, std::string(text)};
}

PostgreSQLValue PostgreSQLValue::integer(std::int64_t value) {
  std::string bytes;
  append(bytes, value);
  return {bigintType, std::move(bytes)};
}

PostgreSQLValue PostgreSQLValue::json(std::string_view text) {
  std::string bytes(1, jsonbVersion);
  bytes.append(text);
  return {jsonbType, std::move(bytes)};
}

PostgreSQLValue PostgreSQLValue::textArray(const std::vector<std::string>& texts) {
  auto bytes = arrayHeader(textType, texts.size());
  for (const auto& text : texts) appendElement(bytes, text);
  return {textArrayType, std::move(bytes)};
}

PostgreSQLValue PostgreSQLValue::textArray(const OptionalTexts& texts) {
  constexpr std::int32_t lengthOfNull = -1;
  auto bytes = arrayHeader(textType, texts.size());
  for (const auto& text : texts) {
    if (text) {
      appendElement(bytes, *text);
    } else {
      append(bytes, lengthOfNull);
    }
  }
  return {textArrayType, std::move(bytes)};
}

PostgreSQLValue PostgreSQLValue::jsonArray(const std::vector<std::string>& texts) {
  auto bytes = arrayHeader(jsonbType, texts.size());
  for (const auto& text : texts) {
    append(bytes, static_cast<std::int32_t>(text.size() + 1));
    bytes.push_back(jsonbVersion);
    bytes.append(text);
  }
  return {jsonbArrayType, std::move(bytes)};
}

std::string_view PostgreSQLResult::sqlState() const {
  const char* state = PQresultErrorField(result_.get(), PG_DIAG_SQLSTATE);
  return state == nullptr ? std::string_view() : state;
}

std::string_view PostgreSQLResult::text(int row, int column) const {
  return {PQgetvalue(result_.get(), row, column),
          static_cast<std::size_t>(PQgetlength(result_.get(), row, column))};
}

std::int64_t PostgreSQLResult::integer(int row, int column) const {
  const auto digits = text(row, column);
  std::int64_t value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}

}  // namespace orvane
