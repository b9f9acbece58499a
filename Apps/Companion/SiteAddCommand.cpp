#include <algorithm>

#include <fmt/format.h>

#include "Apps/Companion/Failure.h"
#include "Apps/Companion/InputCheck.h"
#include "Apps/Companion/Lookup.h"
#include "Apps/Companion/SiteListCommand.h"

namespace orvane {
namespace {

struct Site {
  GivenDomain given;
  /// The rule that lists it, new or found.
  Rule rule;
  bool isNew;
};

class Adding {
 public:
  Adding(ChangeCommand& command, const SiteList& list)
      : command_(command),
        list_(list),
        check_(command.platform(), command.process().perSiteRules()) {}

  /// Finds out what is to be done; false, having said why, when something stands against it.
  bool plan(const std::vector<std::string>& inputs) {
    const auto* package = command_.process().dataManager().configurablePackage(list_.type);
    if (package == nullptr) {
      complain(fmt::format("The package '{}' is missing.", rawValue(list_.type)));
      return false;
    }
    auto& preferences = command_.process().dataManager().preferenceManager();
    isPackageOff_ = preferences.userPreferenceIsDisabledForPackage(*package);
    enabled_ = {package->id, package->name, preferences.filterRulesForPackage(*package, true)};
    disabled_ = {package->id, package->name, preferences.filterRulesForPackage(*package, false)};
    const auto domains = check_.domains(inputs);
    if (!domains) {
      for (const auto& error : domains.error()) complain(error);
      return false;
    }
    bool isPossible = true;
    for (const auto& domain : *domains) isPossible &= plan(domain);
    return isPossible;
  }

  /// Stores the new rules; false when one could not be stored.
  bool store() {
    for (auto& site : sites_) {
      if (!site.isNew) continue;
      if (!command_.process().dataManager().addRule(site.rule, rawValue(list_.type))) {
        complain(fmt::format("{} is not {}.", site.given.domain, list_.state));
        return false;
      }
      ++stored_;
    }
    return true;
  }

  std::size_t stored() const { return stored_; }

  ChangeAnswer answer() const {
    ChangeAnswer answer;
    if (stored_ > 0) answer.change = ChangeAnswer::Change::packageFiles;
    std::size_t added = 0;
    for (const auto& site : sites_) {
      if (site.isNew && ++added > stored_) break;
      if (auto note = site.given.note(); !note.empty()) answer.lines.push_back(std::move(note));
      answer.lines.push_back(fmt::format("{} is {} {}, by the rule {}.", site.given.domain,
                                         list_.state, site.isNew ? "now" : "already",
                                         describe(site.rule)));
    }
    if (isPackageOff_) answer.lines.push_back(packageIsOff("That has no effect yet: the"));
    answer.members = [this](JSONWriter& writer) { write(writer); };
    return answer;
  }

 private:
  std::string packageIsOff(std::string_view start) const {
    return fmt::format("{} package {} is switched off; 'orvane enable {}' switches it on.", start,
                       enabled_.id, enabled_.id);
  }

  bool plan(const GivenDomain& given) {
    if (const auto covering = coveringEntry(enabled_, given.domain)) {
      if (isPackageOff_ && !isPlanned(*covering->rule)) {
        complain(
            fmt::format("{} is listed by the rule {}.", given.domain, describe(*covering->rule)));
        complain(packageIsOff("The"));
        return false;
      }
      sites_.push_back({given, *covering->rule, false});
      return true;
    }
    if (const auto covering = coveringEntry(disabled_, given.domain)) {
      complain(
          fmt::format("{} is listed by the rule {}, which is switched off; 'orvane enable {} {}' "
                      "switches it on.",
                      given.domain, describe(*covering->rule), enabled_.id, covering->rule->id));
      return false;
    }
    return planRule(given);
  }

  bool planRule(const GivenDomain& given) {
    auto& rules = command_.process().perSiteRules();
    auto rule = (rules.*list_.makeRule)({given.domain}, std::nullopt, std::nullopt);
    if (!rule) {
      complain(fmt::format("No rule can be made for {}.", given.domain));
      return false;
    }
    if (const auto objection = InputCheck::objection(*rule)) {
      complain(*objection);
      return false;
    }
    // A site that is given twice is covered the second time.
    enabled_.rules.push_back(*rule);
    planned_.push_back(rule->id);
    sites_.push_back({given, std::move(*rule), true});
    return true;
  }

  bool isPlanned(const Rule& rule) const {
    return std::find(planned_.begin(), planned_.end(), rule.id) != planned_.end();
  }

  void write(JSONWriter& writer) const {
    writer.Key("domains");
    writer.StartArray();
    std::size_t added = 0;
    for (const auto& site : sites_) {
      if (site.isNew && ++added > stored_) break;
      writer.StartObject();
      writeText(writer, "given", site.given.given);
      writeText(writer, "domain", site.given.domain);
      writeText(writer, "rule", site.rule.id);
      writeBoolean(writer, "added", site.isNew);
      writer.EndObject();
    }
    writer.EndArray();
  }

  ChangeCommand& command_;
  const SiteList& list_;
  InputCheck check_;
  bool isPackageOff_ = false;
  Package enabled_;
  Package disabled_;
  std::vector<Site> sites_;
  std::vector<std::string> planned_;
  std::size_t stored_ = 0;
};

}  // namespace

int runSiteAddCommand(LinuxPlatform& machine, const ChangeOptions& options, const SiteList& list,
                      const std::vector<std::string>& sites) {
  ChangeCommand command(machine, options);
  if (!command.canStore()) return 1;
  Adding adding(command, list);
  if (!adding.plan(sites)) return 1;
  const bool isStored = adding.store();
  if (!isStored && adding.stored() == 0) return 1;
  // What is stored takes effect, whatever became of the rest.
  const int status = command.conclude(adding.answer());
  return isStored ? status : 1;
}

}  // namespace orvane
