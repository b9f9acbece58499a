#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "BlockerKit/Lint/Finding.h"

namespace orvane {

struct DomainProblem {
  Severity severity;
  /// A sentence.
  std::string reason;
};

/// What is wrong with `domain`, which is not empty, as an element of "if-domain" or
/// "unless-domain". `ofExpression` is the severity of what the browser only refuses once it makes a
/// regular expression of the domain.
std::optional<DomainProblem> lintDomain(std::string_view domain, Severity ofExpression);

}  // namespace orvane
