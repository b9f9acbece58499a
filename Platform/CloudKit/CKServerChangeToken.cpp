#include "Platform/CloudKit/CKServerChangeToken.h"

#include "Platform/Foundation/NSKeyedArchiver.h"

namespace orvane {
namespace {

constexpr const char* className = "CKServerChangeToken";
constexpr const char* valueKey = "Value";

}  // namespace

PropertyListValue::Data CKServerChangeToken::archived() const {
  NSKeyedArchiver archiver(className);
  archiver.encode(value, valueKey);
  return archiver.finishEncoding();
}

std::optional<CKServerChangeToken> CKServerChangeToken::unarchived(
    std::span<const std::byte> data) {
  const auto unarchiver = NSKeyedUnarchiver::forReading(data, className);
  auto value = unarchiver ? unarchiver->decode(valueKey) : std::nullopt;
  if (!value) return std::nullopt;
  return CKServerChangeToken{*std::move(value)};
}

}  // namespace orvane
