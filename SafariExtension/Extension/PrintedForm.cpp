#include "SafariExtension/Extension/PrintedForm.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "BlockerKit/Support/Quoted.h"

namespace orvane {
namespace {

std::string printed(const PropertyListValue& value);

struct Printer {
  std::string operator()(bool value) const { return value ? "true" : "false"; }
  std::string operator()(std::int64_t value) const { return std::to_string(value); }
  std::string operator()(const std::string& value) const { return orvane::quoted(value); }
  std::string operator()(const PropertyListValue::Data& value) const {
    return fmt::format("{} bytes", value.size());
  }
  std::string operator()(const PropertyListValue::Array& value) const {
    std::vector<std::string> items;
    for (const auto& item : value) items.push_back(printed(item));
    return fmt::format("[{}]", fmt::join(items, ", "));
  }
  std::string operator()(const PropertyListValue::Dictionary& value) const {
    std::vector<std::string> entries;
    for (const auto& [key, item] : value) {
      entries.push_back(fmt::format("{}: {}", orvane::quoted(key), printed(item)));
    }
    return fmt::format("[{}]", entries.empty() ? ":" : fmt::format("{}", fmt::join(entries, ", ")));
  }
};

std::string printed(const PropertyListValue& value) { return std::visit(Printer{}, value.variant); }

}  // namespace

std::string printed(const SFSafariExtensionHandler::UserInfo& userInfo) {
  return userInfo ? Printer{}(*userInfo) : "nil";
}

std::string printed(const std::vector<std::string>& list) {
  std::vector<std::string> items;
  items.reserve(list.size());
  for (const auto& item : list) items.push_back(orvane::quoted(item));
  return fmt::format("[{}]", fmt::join(items, ", "));
}

}  // namespace orvane
