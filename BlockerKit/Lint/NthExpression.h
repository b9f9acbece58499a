#pragma once

#include <cstddef>
#include <span>

#include "BlockerKit/Lint/CSSTokenizer.h"

namespace orvane {

/// How many of `tokens` make up an expression like "2n+1", "odd" or "-3" at their start, with the
/// white space behind it; 0 when there is none.
std::size_t nthExpressionLength(std::span<const CSSToken> tokens);

}  // namespace orvane
