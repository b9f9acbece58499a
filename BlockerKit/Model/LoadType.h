#pragma once

#include "BlockerKit/Model/RawValue.h"

namespace orvane {

/// Whether a load goes to the site of the page that asks for it.
enum class LoadType { FirstParty, ThirdParty };

template <>
struct RawValues<LoadType> {
  static constexpr RawValueTable<LoadType, 2> table{{
      {LoadType::FirstParty, "first-party"},
      {LoadType::ThirdParty, "third-party"},
  }};
};

}  // namespace orvane
