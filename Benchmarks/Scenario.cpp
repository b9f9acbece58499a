#include "Benchmarks/Scenario.h"

#include <array>
#include <filesystem>
#include <utility>

#include <fmt/format.h>

#include "BlockerKit/JSON/RecordReader.h"
#include "Linux/Posix/PosixFileSystem.h"
#include "Platform/Foundation/FatalError.h"
#include "Tests/Support/RecordingOutput.h"

namespace orvane::benchmarks {
namespace {

constexpr std::size_t preinstalledCount = 4;
constexpr std::size_t forcedSites = 20;
constexpr std::size_t oneDisabledOf = 50;

/// Counts in UUIDs.
std::string identifier(std::size_t number) {
  return fmt::format("{:08X}-5C1E-4B7A-9D20-{:012X}", number * 2654435761U % 0xFFFFFFFFU, number);
}

std::string siteName(std::size_t number) {
  static constexpr std::array words{"media", "static", "news",  "shop",  "track",
                                    "click", "banner", "pixel", "metric"};
  static constexpr std::array endings{"com", "net", "org", "de", "co.uk", "ru", "io"};
  return fmt::format("{}{}-{}.{}", words[number % words.size()], number,
                     words[number / words.size() % words.size()], endings[number % endings.size()]);
}

Blocker hostBlocker(std::size_t number) {
  std::string host;
  for (const char character : siteName(number)) {
    if (character == '.') host += '\\';
    host += character;
  }
  Trigger trigger{.urlFilter = fmt::format("^[^:]+:(//)?([^/]+\\.)?{}[:/]", host)};
  if (number % 2 == 0) trigger.loadType = std::vector{LoadType::ThirdParty};
  return {std::move(trigger), *Action::make(ActionType::Block)};
}

Blocker pathBlocker(std::size_t number) {
  Trigger trigger{.urlFilter = fmt::format("/ads{}/[^/]+\\.js", number),
                  .caseSensitive = number % 4 == 0,
                  .resourceTypes = std::vector{ResourceType::Script, ResourceType::Image}};
  if (number % 3 == 0) {
    trigger.domainFilter = DomainFilter{DomainFilterType::UnlessDomain, {siteName(number)}};
  }
  return {std::move(trigger), *Action::make(ActionType::Block)};
}

Blocker hidingBlocker(std::size_t number) {
  return {{.urlFilter = ".*",
           .domainFilter = DomainFilter{DomainFilterType::IfDomain,
                                        {fmt::format("*{}", siteName(number)),
                                         fmt::format("*{}", siteName(number + 1))}}},
          *Action::make(ActionType::Hide,
                        fmt::format("#ad-{0}, .banner-{0} > div[class^=\"ad\"]", number))};
}

Blocker exceptionBlocker(std::size_t number) {
  return {{.urlFilter = ".*",
           .domainFilter = DomainFilter{DomainFilterType::IfDomain,
                                        {fmt::format("*{}", siteName(number)),
                                         fmt::format("*{}", siteName(number + 1))}}},
          *Action::make(ActionType::IgnorePreviousRules)};
}

Blocker blockerNumber(std::size_t number) {
  const auto place = number % 100;
  if (place < 60) return hostBlocker(number);
  if (place < 75) return pathBlocker(number);
  if (place < 97) return hidingBlocker(number);
  return exceptionBlocker(number);
}

Rule httpsOnlyRule() {
  DomainFilter sites{DomainFilterType::IfDomain, {}};
  for (std::size_t site = 0; site < forcedSites; ++site) {
    sites.values.push_back(fmt::format("*{}", siteName(site)));
  }
  return {"https-only",
          "",
          {{.urlFilter = ".*", .domainFilter = std::move(sites)},
           *Action::make(ActionType::makeHttps)}};
}

Scenario emptyScenario(std::string name) {
  Scenario scenario{.name = std::move(name),
                    .preinstalled = {{"block-ads", "Ads", {}},
                                     {"block-trackers", "Trackers", {}},
                                     {"block-annoyances", "Annoyances", {}},
                                     {"block-comments", "Comments", {}}},
                    .configurable = {{"whitelist", "Whitelist", {}},
                                     {"block-url", "Block URLs", {}},
                                     {"block-cookies", "Block Cookies", {}},
                                     {"hide-elements", "Hide Page Elements", {}},
                                     {"make-https", "Make HTTPS-only", {}}},
                    .custom = {{identifier(1), "My rules", {}}},
                    .disabledRuleIDs = {}};
  scenario.configurable.back().rules.push_back(httpsOnlyRule());
  return scenario;
}

/// Exceptions go to the whitelist, the others in equal parts to the packages with rules of lists.
void add(Scenario& scenario, std::size_t number, Blocker blocker) {
  auto& package = blocker.action.type() == ActionType::IgnorePreviousRules
                      ? scenario.configurable.front()
                  : number % 5 < preinstalledCount ? scenario.preinstalled[number % 5]
                                                   : scenario.custom.front();
  auto id = identifier(number);
  if (number % oneDisabledOf == 0) scenario.disabledRuleIDs[package.id].push_back(id);
  package.rules.push_back({std::move(id), "", std::move(blocker)});
}

std::vector<Rule> rulesOfList(const std::string& path) {
  PosixFileSystem fileSystem;
  auto text = fileSystem.read(path);
  if (!text) fatalError(text.error().localizedDescription, "Benchmarks");
  const auto list = JSONDocument::parse(std::move(*text));
  const auto blockers = list ? list->root().array() : std::nullopt;
  if (!blockers) fatalError(path + " is no JSON array", "Benchmarks");
  std::string rules;
  for (const auto blocker : *blockers) {
    rules += fmt::format("{}{{\"content\":{}}}", rules.empty() ? '[' : ',',
                         simdjson::to_string(blocker));
  }
  const auto document = JSONDocument::parse(rules + "]");
  if (!document) fatalError(document.error().localizedDescription, "Benchmarks");
  test::RecordingOutput output;
  const UUIDGenerator noIdentifier = [] { return std::string(); };
  auto result = RecordReader(output, noIdentifier).rulesArrayValue(document->root());
  if (!output.lines.empty()) fatalError(path + " holds what is no blocker", "Benchmarks");
  return result;
}

}  // namespace

Scenario generatedScenario(std::size_t ruleCount) {
  auto scenario = emptyScenario(fmt::format("{}", ruleCount));
  // One rule is there already.
  for (std::size_t number = 1; number < ruleCount; ++number) {
    add(scenario, number, blockerNumber(number));
  }
  return scenario;
}

Scenario scenarioFromList(const std::string& path) {
  auto scenario = emptyScenario(std::filesystem::path(path).filename().string());
  std::size_t number = 0;
  for (auto& rule : rulesOfList(path)) add(scenario, ++number, std::move(rule.blocker));
  return scenario;
}

}  // namespace orvane::benchmarks
