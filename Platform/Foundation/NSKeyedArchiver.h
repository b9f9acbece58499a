#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

/// Writes the named texts of one object as bytes that only `NSKeyedUnarchiver` reads: with a mark
/// of their own, a version, the name of the object's class and a checksum. Equal objects are equal
/// bytes.
class NSKeyedArchiver {
 public:
  explicit NSKeyedArchiver(std::string_view className) : className_(className) {}

  void encode(std::string_view value, std::string_view key);
  PropertyListValue::Data finishEncoding() const;

 private:
  std::string className_;
  std::map<std::string, std::string, std::less<>> values_;
};

/// Reads what `NSKeyedArchiver` has written.
class NSKeyedUnarchiver {
 public:
  /// Nothing when the bytes are damaged, of a newer version, or not of an object of that class.
  static std::optional<NSKeyedUnarchiver> forReading(std::span<const std::byte> data,
                                                     std::string_view className);

  /// Nothing when the object has no such text.
  std::optional<std::string> decode(std::string_view key) const;

 private:
  std::map<std::string, std::string, std::less<>> values_;
};

}  // namespace orvane
