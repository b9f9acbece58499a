#include "Apps/Demonstration/DemonstrationList.h"

#include <utility>

#include "BlockerKit/JSON/RecordWriter.h"

namespace orvane {
namespace {

Action action(ActionType type) { return *Action::make(type); }

Trigger urls(std::string filter) {
  Trigger trigger;
  trigger.urlFilter = std::move(filter);
  return trigger;
}

Trigger images(Trigger trigger) {
  trigger.resourceTypes = {ResourceType::Image};
  return trigger;
}

Trigger thirdParty(Trigger trigger) {
  trigger.loadType = {LoadType::ThirdParty};
  return trigger;
}

Trigger onSite(Trigger trigger, std::string domain) {
  trigger.domainFilter = DomainFilter{DomainFilterType::IfDomain, {std::move(domain)}};
  return trigger;
}

}  // namespace

std::string_view nameOf(RuleKind kind) {
  switch (kind) {
    case RuleKind::BlockHost:
      return "Block by host";
    case RuleKind::BlockPath:
      return "Block by path";
    case RuleKind::BlockType:
      return "Block by type";
    case RuleKind::BlockThirdParty:
      return "Third party only";
    case RuleKind::Hide:
      return "Hide";
    case RuleKind::BlockCookies:
      return "Block cookies";
    case RuleKind::MakeHTTPS:
      return "HTTPS";
    case RuleKind::Whitelist:
      return "Whitelisted site";
  }
  return {};
}

const std::vector<DemonstrationRule>& demonstrationRules() {
  static const std::vector<DemonstrationRule> rules{
      {RuleKind::BlockHost,
       {urls(R"(^https?://([^/]+\.)?brightads\.test/)"), action(ActionType::Block)}},
      {RuleKind::BlockPath,
       {urls(R"(^https?://[^/]+/scripts/sponsored\.js)"), action(ActionType::Block)}},
      {RuleKind::BlockType,
       {images(urls(R"(^https?://([^/]+\.)?pixelpark\.test/)")), action(ActionType::Block)}},
      {RuleKind::BlockThirdParty,
       {thirdParty(urls(R"(^https?://([^/]+\.)?trackwell\.test/)")), action(ActionType::Block)}},
      {RuleKind::Hide, {urls(".*"), *Action::make(ActionType::Hide, ".promo-box")}},
      {RuleKind::BlockCookies,
       {urls(R"(^https?://([^/]+\.)?chatterbox\.test/)"), action(ActionType::BlockCookies)}},
      {RuleKind::MakeHTTPS,
       {urls(R"(^http://([^/]+\.)?ferryline\.test/)"), action(ActionType::makeHttps)}},
      {RuleKind::Whitelist,
       {onSite(urls(".*"), "*lighthouseweekly.test"), action(ActionType::IgnorePreviousRules)}},
  };
  return rules;
}

Expected<std::string> demonstrationListJSON() {
  std::vector<Blocker> blockers;
  for (const auto& rule : demonstrationRules()) blockers.push_back(rule.blocker);
  return toJSON(blockers);
}

}  // namespace orvane
