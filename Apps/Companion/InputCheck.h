#pragma once

#include <optional>
#include <string>
#include <vector>

#include <tl/expected.hpp>

#include "BlockerKit/Catalogue/PerSiteRules.h"

namespace orvane {

/// A domain as the user wrote it, and as a rule lists it.
struct GivenDomain {
  std::string given;
  std::string domain;

  /// What the user should be told of the difference; empty when there is none.
  std::string note() const;
};

/// Checks what a per-site rule is made from, before anything is changed.
class InputCheck {
 public:
  /// Both outlive the check.
  InputCheck(Platform& platform, PerSiteRules& rules) : platform_(platform), rules_(rules) {}

  /// The domain in the form for a rule, or why there can be no rule for it.
  tl::expected<GivenDomain, std::string> domain(const std::string& given);

  /// All of them, or everything that is wrong with any of them.
  tl::expected<std::vector<GivenDomain>, std::vector<std::string>> domains(
      const std::vector<std::string>& given);

  /// Why the browser refuses the finished rule, or leaves it out; it also tells, on standard error,
  /// what is odd about a rule that it takes.
  static std::optional<std::string> objection(const Rule& rule);

 private:
  Platform& platform_;
  PerSiteRules& rules_;
};

std::vector<std::string> domainsOf(const std::vector<GivenDomain>& given);

}  // namespace orvane
