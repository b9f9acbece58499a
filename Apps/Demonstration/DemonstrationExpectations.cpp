#include "Apps/Demonstration/DemonstrationExpectations.h"

#include <algorithm>
#include <utility>

#include "Apps/Demonstration/DemonstrationList.h"
#include "Apps/Demonstration/DemonstrationSite.h"

namespace orvane {
namespace {

struct WithoutAnyList {
  Outcome operator()(const RequestFor&) const { return Outcome::Requested; }
  Outcome operator()(const CookieFor&) const { return Outcome::WithCookie; }
  Outcome operator()(const Element&) const { return Outcome::Shown; }
};

ActionType actionOf(RuleKind kind) {
  const auto& rules = demonstrationRules();
  return std::find_if(rules.begin(), rules.end(), [&](auto& rule) { return rule.kind == kind; })
      ->blocker.action.type();
}

Expectation applies(RuleKind kind, std::string thing, const char* page, Subject subject) {
  const Outcome without = std::visit(WithoutAnyList(), subject);
  const Outcome with = outcomeUnder(actionOf(kind), without);
  return {std::string(nameOf(kind)), std::move(thing), page, std::move(subject), without, with};
}

/// What a rule comes close to, and must not touch.
Expectation spares(RuleKind kind, std::string thing, const char* page, Subject subject) {
  const Outcome outcome = std::visit(WithoutAnyList(), subject);
  return {std::string(nameOf(kind)), std::move(thing), page, std::move(subject), outcome, outcome};
}

Expectation untouched(std::string thing, const char* page, Subject subject) {
  const Outcome outcome = std::visit(WithoutAnyList(), subject);
  return {"(no rule)", std::move(thing), page, std::move(subject), outcome, outcome};
}

}  // namespace

Outcome outcomeUnder(ActionType action, Outcome without) {
  switch (action) {
    case ActionType::Block:
      return Outcome::NotRequested;
    case ActionType::BlockCookies:
      return Outcome::WithoutCookie;
    case ActionType::Hide:
      return Outcome::Hidden;
    case ActionType::makeHttps:
      return Outcome::RequestedOverHTTPS;
    case ActionType::IgnorePreviousRules:
      return without;
  }
  return without;
}

std::vector<Expectation> demonstrationExpectations() {
  using enum RuleKind;
  using namespace site;
  const std::string news = "www.harbourgazette.test";
  const std::string press = "static.harbourpress.test";
  const std::string weekly = "www.lighthouseweekly.test";
  const RequestFor banner{"img.brightads.test", "/leaderboard.svg"};
  const RequestFor square{"media.pixelpark.test", "/square.svg"};
  const RequestFor tracker{"www.trackwell.test", "/follow.js"};
  const RequestFor timetable{"tickets.ferryline.test", "/timetable.svg"};
  const Element offer{"special-offer"};
  return {
      applies(BlockHost, "advert banner of brightads.test", newspaper, banner),
      applies(BlockPath, "sponsored.js of the newspaper itself", newspaper,
              RequestFor{news, "/scripts/sponsored.js"}),
      spares(BlockPath, "reader.js beside it", newspaper, RequestFor{news, "/scripts/reader.js"}),
      applies(BlockType, "advert image of pixelpark.test", newspaper, square),
      spares(BlockType, "style sheet of pixelpark.test", newspaper,
             RequestFor{"media.pixelpark.test", "/player.css"}),
      applies(BlockThirdParty, "tracker script on the newspaper", newspaper, tracker),
      spares(BlockThirdParty, "tracker's own home page", trackerHomePage,
             RequestFor{"www.trackwell.test", "/"}),
      spares(BlockThirdParty, "tracker script on that page", trackerHomePage, tracker),
      applies(Hide, "box \"LAST CHANCE!\"", newspaper, offer),
      spares(Hide, "the story", newspaper, Element{"story"}),
      applies(BlockCookies, "cookie to the share widget", newspaper, CookieFor{widgetHost, "/"}),
      spares(BlockCookies, "share widget itself", newspaper, RequestFor{widgetHost, "/"}),
      applies(MakeHTTPS, "timetable image over http", newspaper, timetable),
      applies(MakeHTTPS, "page of the ticket shop over http", ticketShop,
              RequestFor{"tickets.ferryline.test", "/"}),
      applies(Whitelist, "advert banner", whitelistedNewspaper, banner),
      applies(Whitelist, "its own sponsored.js", whitelistedNewspaper,
              RequestFor{weekly, "/scripts/sponsored.js"}),
      applies(Whitelist, "advert image", whitelistedNewspaper, square),
      applies(Whitelist, "tracker script", whitelistedNewspaper, tracker),
      applies(Whitelist, "box \"LAST CHANCE!\"", whitelistedNewspaper, offer),
      applies(Whitelist, "cookie to the share widget", whitelistedNewspaper,
              CookieFor{widgetHost, "/"}),
      applies(Whitelist, "timetable image over http", whitelistedNewspaper, timetable),
      untouched("the newspaper's page", newspaper, RequestFor{news, "/"}),
      untouched("its style sheet from another host", newspaper,
                RequestFor{press, "/newspaper.css"}),
      untouched("its photograph", newspaper, RequestFor{news, "/pictures/harbour.svg"}),
  };
}

}  // namespace orvane
