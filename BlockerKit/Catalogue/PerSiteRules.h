#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "BlockerKit/Catalogue/DataManager.h"
#include "BlockerKit/Model/Rule.h"

namespace orvane {

/// Makes the rules by which the user treats single sites, and finds the rules that treat a site.
/// What is wrong with the input the user is shown as one warning, by "DisplayInformation"; then
/// there is no rule. Holds no state. Main queue.
class PerSiteRules {
 public:
  using PackageProvider = std::function<const Package*()>;

  /// Both outlive this object.
  PerSiteRules(Platform& platform, DataManager& dataManager);

  /// The configurable package; null, which the standard output tells, when there is none.
  const Package* whitelistPackage();
  const Package* makeHttpsPackage();

  /// Whether every text is a domain that a rule may carry.
  bool validateDomains(const std::vector<std::string>& domains);

  /// The first rule whose domain filter, of either type, lists the host: as it is, or by an entry
  /// that starts with an asterisk and goes on with what the host ends with.
  static const Rule* ruleCovering(std::string_view host, const PackageProvider& provider);

  /// The first rule that covers the host; nothing when that rule or its package is switched off.
  std::optional<Rule> whitelistRuleForDomain(std::string_view host);
  std::optional<Rule> makeHttpsRuleForDomain(std::string_view host);

  // Factories. Without an id the rule gets a new UUID; without a name, or with an empty one, it
  // gets a generated one.

  std::optional<Rule> whitelistRuleForDomains(const std::vector<std::string>& domains,
                                              const std::optional<std::string>& id,
                                              const std::optional<std::string>& name);
  std::optional<Rule> makeHttpsRuleForDomains(const std::vector<std::string>& domains,
                                              const std::optional<std::string>& id,
                                              const std::optional<std::string>& name);
  std::optional<Rule> hideElementRule(const std::string& selector,
                                      const std::optional<DomainFilter>& domainFilter,
                                      const std::optional<std::string>& id,
                                      const std::optional<std::string>& name);

 private:
  bool warn(std::string_view message);
  std::optional<Rule> coveringRule(std::string_view host, const PackageProvider& provider);
  Rule make(const std::optional<std::string>& id, const std::optional<std::string>& name,
            const std::string& generatedName, Trigger trigger, std::optional<Action> action);

  Platform& platform_;
  DataManager& dataManager_;
};

}  // namespace orvane
