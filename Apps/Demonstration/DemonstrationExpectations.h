#pragma once

#include <vector>

#include "Apps/Demonstration/Judgement.h"
#include "BlockerKit/Model/Action.h"

namespace orvane {

/// What a rule with this action makes of a thing that it applies to.
Outcome outcomeUnder(ActionType action, Outcome without);

/// What the demonstration's list shall make of the demonstration's pages: for every rule what it
/// applies to, and what it has to leave alone.
std::vector<Expectation> demonstrationExpectations();

}  // namespace orvane
