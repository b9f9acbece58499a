#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "BlockerKit/Model/Blocker.h"
#include "Platform/Foundation/NSError.h"

namespace orvane {

enum class RuleKind {
  BlockHost,
  BlockPath,
  BlockType,
  BlockThirdParty,
  Hide,
  BlockCookies,
  MakeHTTPS,
  Whitelist,
};

struct DemonstrationRule {
  RuleKind kind;
  Blocker blocker;
};

/// What a person calls a rule of this kind.
std::string_view nameOf(RuleKind kind);

/// The list that the demonstration brings into force: one rule of each kind, in the order of
/// `RuleKind`, so that the whitelisted site's exception is the last.
const std::vector<DemonstrationRule>& demonstrationRules();

/// Those rules as the browser's list.
Expected<std::string> demonstrationListJSON();

}  // namespace orvane
