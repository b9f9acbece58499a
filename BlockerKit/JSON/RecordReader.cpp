#include "BlockerKit/JSON/RecordReader.h"

#include <string>
#include <utility>

namespace orvane {
namespace {

std::vector<std::string> strings(simdjson::dom::array values) {
  std::vector<std::string> result;
  for (const auto value : values) {
    if (const auto text = JSONValue(value).string()) result.emplace_back(*text);
  }
  return result;
}

/// The known words of an array; absent when there is no array.
template <typename Enum>
std::optional<std::vector<Enum>> words(const JSONValue& json) {
  const auto values = json.array();
  if (!values) return std::nullopt;
  std::vector<Enum> result;
  for (const auto value : *values) {
    const auto word = fromRawValue<Enum>(JSONValue(value).string().value_or(""));
    if (word) result.push_back(*word);
  }
  return result;
}

std::optional<DomainFilter> domainFilter(const JSONValue& trigger) {
  for (const auto type : {DomainFilterType::IfDomain, DomainFilterType::UnlessDomain}) {
    if (const auto domains = trigger[rawValue(type)].array()) {
      return DomainFilter{type, strings(*domains)};
    }
  }
  return std::nullopt;
}

}  // namespace

RecordReader::RecordReader(LineOutput& output, const UUIDGenerator& makeUUID)
    : output_(output), makeUUID_(makeUUID) {}

std::optional<Trigger> RecordReader::trigger(const JSONValue& json) const {
  const auto urlFilter = json["url-filter"].string();
  if (!urlFilter) {
    output_.print("url-filter is empty");
    return std::nullopt;
  }
  return Trigger{.urlFilter = std::string(*urlFilter),
                 .caseSensitive = json["url-filter-is-case-sensitive"].boolValue(),
                 .resourceTypes = words<ResourceType>(json["resource-type"]),
                 .loadType = words<LoadType>(json["load-type"]),
                 .domainFilter = domainFilter(json)};
}

std::optional<Action> RecordReader::action(const JSONValue& json) const {
  const auto type = fromRawValue<ActionType>(json["type"].string().value_or(""));
  if (!type) {
    output_.print("action type is empty");
    return std::nullopt;
  }
  const auto selector = json["selector"].string();
  return Action::asRead(*type, selector ? std::optional<std::string>(*selector) : std::nullopt);
}

std::optional<Blocker> RecordReader::blocker(const JSONValue& json) const {
  auto trigger = this->trigger(json["trigger"]);
  if (!trigger) {
    output_.print("trigger init failed");
    return std::nullopt;
  }
  auto action = this->action(json["action"]);
  if (!action) {
    output_.print("action init failed");
    return std::nullopt;
  }
  return Blocker{std::move(*trigger), std::move(*action)};
}

std::string RecordReader::identifier(const JSONValue& json) const {
  const auto id = json["id"].string();
  return id ? std::string(*id) : makeUUID_();
}

std::vector<Rule> RecordReader::rulesArrayValue(const JSONValue& json) const {
  std::vector<Rule> rules;
  const auto elements = json.array();
  if (!elements) return rules;
  rules.reserve(elements->size());
  for (const auto value : *elements) {
    const JSONValue element(value);
    auto blocker = this->blocker(element["content"]);
    if (!blocker) {
      output_.print("blocker init failed");
      continue;
    }
    rules.push_back(Rule{identifier(element), element["name"].stringValue(), std::move(*blocker)});
  }
  return rules;
}

Package RecordReader::packageFromAnyValue(const JSONValue& json) const {
  auto id = identifier(json);
  return {std::move(id), json["name"].stringValue(), rulesArrayValue(json["rules"])};
}

std::vector<Package> RecordReader::packagesArrayValue(const JSONValue& json) const {
  std::vector<Package> packages;
  const auto elements = json.array();
  if (!elements) return packages;
  packages.reserve(elements->size());
  for (const auto element : *elements) packages.push_back(packageFromAnyValue(JSONValue(element)));
  return packages;
}

std::optional<Package> RecordReader::package(const JSONValue& json) const {
  if (!json.object()) return std::nullopt;
  return packageFromAnyValue(json);
}

}  // namespace orvane
