#include <algorithm>

#include <fmt/format.h>

#include "Apps/Companion/DomainInput.h"
#include "Apps/Companion/Failure.h"
#include "Apps/Companion/InputCheck.h"
#include "Apps/Companion/Lookup.h"
#include "Apps/Companion/SiteListCommand.h"

namespace orvane {
namespace {

bool lists(const Rule& rule, const std::string& domain) {
  if (!listsSites(rule)) return false;
  const auto& entries = rule.blocker.trigger.domainFilter->values;
  return std::find(entries.begin(), entries.end(), domain) != entries.end();
}

class Removing {
 public:
  Removing(ChangeCommand& command, const SiteList& list) : command_(command), list_(list) {}

  /// False, having said why, when one of the sites cannot be removed.
  bool plan(const std::vector<std::string>& inputs) {
    bool isPossible = true;
    for (const auto& input : inputs) isPossible &= plan(input);
    return isPossible;
  }

  bool store() {
    for (const auto& site : sites_) {
      if (!remove(site)) return false;
    }
    return true;
  }

  bool hasStored() const { return !removed_.empty(); }

  ChangeAnswer answer() const {
    ChangeAnswer answer{.lines = lines_, .members = [this](JSONWriter& writer) { write(writer); }};
    if (hasStored()) answer.change = ChangeAnswer::Change::packageFiles;
    return answer;
  }

 private:
  struct Removed {
    GivenDomain site;
    std::string rule;
    bool isRuleRemoved;
  };

  std::vector<Rule> rules() const {
    const auto* package = command_.process().dataManager().configurablePackage(list_.type);
    return package == nullptr ? std::vector<Rule>() : package->rules;
  }

  /// A file may hold what no command would have put into it, so the site is also looked for as it
  /// was written.
  bool plan(const std::string& input) {
    const auto known = rules();
    const auto isListed = [&](const std::string& domain) {
      return std::any_of(known.begin(), known.end(),
                         [&](const Rule& rule) { return lists(rule, domain); });
    };
    const auto domain = isListed(input) ? input : domainFromInput(input);
    if (!domain) {
      complain(domain.error());
      return false;
    }
    const GivenDomain site{input, *domain};
    if (isListed(*domain)) {
      const auto isSame = [&](const GivenDomain& other) { return other.domain == *domain; };
      if (std::none_of(sites_.begin(), sites_.end(), isSame)) sites_.push_back(site);
      return true;
    }
    complain(reasonAgainst(*domain, {std::string(rawValue(list_.type)), "", known}));
    return false;
  }

  std::string reasonAgainst(const std::string& domain, const Package& package) const {
    const auto covering = coveringEntry(package, domain);
    if (!covering) return fmt::format("{} is not {}.", domain, list_.state);
    return fmt::format(
        "{} is {} only by the entry '{}' of the rule {}; 'orvane {} remove '{}'' removes that.",
        domain, list_.state, covering->entry, describe(*covering->rule), list_.command,
        covering->entry);
  }

  bool remove(const GivenDomain& site) {
    if (auto note = site.note(); !note.empty()) lines_.push_back(std::move(note));
    for (const auto& rule : rules()) {
      if (!lists(rule, site.domain)) continue;
      const auto rest = without(rule, site.domain);
      if (!command_.process().dataManager().replaceRule(rule, rest, list_.type)) {
        complain(fmt::format("{} is still {}, by the rule {}.", site.domain, list_.state,
                             describe(rule)));
        return false;
      }
      removed_.push_back({site, rule.id, !rest});
      lines_.push_back(fmt::format("{} is no longer {}; the rule {} is {}.", site.domain,
                                   list_.state, describe(rule),
                                   rest ? "kept for its other domains" : "removed"));
    }
    return true;
  }

  /// Nothing when the rule lists no other site.
  std::optional<Rule> without(const Rule& rule, const std::string& domain) const {
    auto rest = rule;
    auto& entries = rest.blocker.trigger.domainFilter->values;
    const auto before = entries;
    std::erase(entries, domain);
    if (entries.empty()) return std::nullopt;
    // A name that the user gave stays.
    if (rule.name == generatedName(before)) rest.name = generatedName(entries);
    return rest;
  }

  std::string generatedName(const std::vector<std::string>& domains) const {
    auto& rules = command_.process().perSiteRules();
    const auto rule = (rules.*list_.makeRule)(domains, "", std::nullopt);
    return rule ? rule->name : "";
  }

  void write(JSONWriter& writer) const {
    writer.Key("removed");
    writer.StartArray();
    for (const auto& removed : removed_) {
      writer.StartObject();
      writeText(writer, "given", removed.site.given);
      writeText(writer, "domain", removed.site.domain);
      writeText(writer, "rule", removed.rule);
      writeBoolean(writer, "ruleRemoved", removed.isRuleRemoved);
      writer.EndObject();
    }
    writer.EndArray();
  }

  ChangeCommand& command_;
  const SiteList& list_;
  std::vector<GivenDomain> sites_;
  std::vector<Removed> removed_;
  std::vector<std::string> lines_;
};

}  // namespace

int runSiteRemoveCommand(LinuxPlatform& machine, const ChangeOptions& options, const SiteList& list,
                         const std::vector<std::string>& sites) {
  ChangeCommand command(machine, options);
  if (!command.canStore()) return 1;
  Removing removing(command, list);
  if (!removing.plan(sites)) return 1;
  const bool isStored = removing.store();
  if (!isStored && !removing.hasStored()) return 1;
  const int status = command.conclude(removing.answer());
  return isStored ? status : 1;
}

}  // namespace orvane
