#include "Linux/SQLite/EncodedEntries.h"

#include <algorithm>

#include "Linux/SQLite/PropertyListEncoding.h"

namespace orvane {
namespace {

constexpr std::size_t blockSize = 65'536;

std::string_view textOf(EncodedEntries::Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

void EncodedEntries::add(std::string_view name, Bytes value) {
  entries_.push_back({textOf(copyOf(std::as_bytes(std::span(name)))), copyOf(value)});
}

EncodedEntries::Bytes EncodedEntries::copyOf(Bytes bytes) {
  const auto fits = [&](const auto& block) {
    return block.capacity() - block.size() >= bytes.size();
  };
  if (blocks_.empty() || !fits(blocks_.back())) {
    blocks_.emplace_back().reserve(std::max(blockSize, bytes.size()));
  }
  auto& block = blocks_.back();
  const auto start = block.size();
  block.insert(block.end(), bytes.begin(), bytes.end());
  return Bytes(block).subspan(start);
}

bool EncodedEntries::isDictionary(std::size_t index) const {
  return isEncodedDictionary(entries_[index].value);
}

std::optional<PropertyListValue> EncodedEntries::value(std::size_t index) const {
  return decode(entries_[index].value);
}

}  // namespace orvane
