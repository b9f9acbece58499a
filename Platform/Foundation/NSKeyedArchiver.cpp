#include "Platform/Foundation/NSKeyedArchiver.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "Platform/Foundation/ContentHash.h"

namespace orvane {
namespace {

// The mark, a version, then texts, each behind its length in four bytes, the least significant
// first: the class, keys and their values, and the hash of all before.
constexpr std::string_view mark = "Orvane archive\x1a";
constexpr char version = 1;

void append(std::string& bytes, std::string_view text) {
  for (unsigned shift = 0; shift < 32; shift += 8) {
    bytes.push_back(static_cast<char>((text.size() >> shift) & 0xFFU));
  }
  bytes.append(text);
}

/// Takes texts from the front of bytes.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}

  bool skip(std::string_view expected) {
    if (!bytes_.starts_with(expected)) return false;
    bytes_.remove_prefix(expected.size());
    return true;
  }
  std::optional<std::string> text() {
    constexpr std::size_t lengthSize = 4;
    if (bytes_.size() < lengthSize) return std::nullopt;
    std::size_t length = 0;
    for (std::size_t index = 0; index < lengthSize; ++index) {
      length |= std::size_t{static_cast<unsigned char>(bytes_[index])} << (8 * index);
    }
    bytes_.remove_prefix(lengthSize);
    if (bytes_.size() < length) return std::nullopt;
    const std::string text(bytes_.substr(0, length));
    bytes_.remove_prefix(length);
    return text;
  }
  bool isAtEnd() const { return bytes_.empty(); }

 private:
  std::string_view bytes_;
};

}  // namespace

void NSKeyedArchiver::encode(std::string_view value, std::string_view key) {
  values_.insert_or_assign(std::string(key), std::string(value));
}

PropertyListValue::Data NSKeyedArchiver::finishEncoding() const {
  std::string bytes(mark);
  bytes.push_back(version);
  append(bytes, className_);
  for (const auto& [key, value] : values_) {
    append(bytes, key);
    append(bytes, value);
  }
  append(bytes, contentHash(bytes));
  PropertyListValue::Data data(bytes.size());
  std::transform(bytes.begin(), bytes.end(), data.begin(),
                 [](char byte) { return static_cast<std::byte>(byte); });
  return data;
}

std::optional<NSKeyedUnarchiver> NSKeyedUnarchiver::forReading(std::span<const std::byte> data,
                                                               std::string_view className) {
  std::string bytes(data.size(), '\0');
  std::transform(data.begin(), data.end(), bytes.begin(),
                 [](std::byte byte) { return static_cast<char>(byte); });
  std::string hash;
  append(hash, contentHash(""));
  if (bytes.size() < hash.size()) return std::nullopt;
  const auto content = std::string_view(bytes).substr(0, bytes.size() - hash.size());
  hash.clear();
  append(hash, contentHash(content));
  if (!bytes.ends_with(hash)) return std::nullopt;

  Reader reader(content);
  if (!reader.skip(mark) || !reader.skip({&version, 1})) return std::nullopt;
  if (reader.text() != className) return std::nullopt;
  NSKeyedUnarchiver unarchiver;
  while (!reader.isAtEnd()) {
    auto key = reader.text();
    auto value = reader.text();
    if (!key || !value) return std::nullopt;
    unarchiver.values_.insert_or_assign(*std::move(key), *std::move(value));
  }
  return unarchiver;
}

std::optional<std::string> NSKeyedUnarchiver::decode(std::string_view key) const {
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  return found->second;
}

}  // namespace orvane
