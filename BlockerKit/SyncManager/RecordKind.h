#pragma once

#include "BlockerKit/Model/RawValue.h"

namespace orvane {

/// What a record of the cloud stands for; the raw value is the record's type. Packages come before
/// their rules.
enum class RecordKind { package, rule };

template <>
struct RawValues<RecordKind> {
  static constexpr RawValueTable<RecordKind, 2> table{{
      {RecordKind::package, "package"},
      {RecordKind::rule, "rule"},
  }};
};

}  // namespace orvane
