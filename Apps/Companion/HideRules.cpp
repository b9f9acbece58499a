#include "Apps/Companion/HideRules.h"

#include <set>

#include <fmt/format.h>

#include "Apps/Companion/Failure.h"

namespace orvane {

std::string trimmedSelector(const std::string& text) {
  constexpr const char* blanks = " \t\r\n\f";
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string selectorOf(const Rule& rule) { return rule.blocker.action.selector().value_or(""); }

bool isSameFilter(const std::optional<DomainFilter>& one,
                  const std::optional<DomainFilter>& other) {
  if (!one || !other) return !one && !other;
  return one->type == other->type && std::set(one->values.begin(), one->values.end()) ==
                                         std::set(other->values.begin(), other->values.end());
}

std::string placesOf(const std::optional<DomainFilter>& filter) {
  if (!filter) return "on every site";
  return fmt::format("on {}{}", filter->type == DomainFilterType::IfDomain ? "" : "every site but ",
                     fmt::join(filter->values, ", "));
}

bool makeFilter(InputCheck& check, const Hidden& hidden, std::optional<DomainFilter>& filter) {
  const auto& sites = hidden.on.empty() ? hidden.except : hidden.on;
  if (sites.empty()) return true;
  const auto domains = check.domains(sites);
  if (!domains) {
    for (const auto& error : domains.error()) complain(error);
    return false;
  }
  filter =
      DomainFilter{hidden.on.empty() ? DomainFilterType::UnlessDomain : DomainFilterType::IfDomain,
                   domainsOf(*domains)};
  return true;
}

void writeHidden(JSONWriter& writer, const Rule& rule) {
  writeText(writer, "selector", selectorOf(rule));
  const auto& filter = rule.blocker.trigger.domainFilter;
  if (!filter) return;
  writer.Key(filter->type == DomainFilterType::IfDomain ? "on" : "except");
  writer.StartArray();
  for (const auto& domain : filter->values) writeText(writer, domain);
  writer.EndArray();
}

}  // namespace orvane
