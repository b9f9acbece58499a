#pragma once

#include <array>

namespace orvane {

/// The names of the fields of records.
struct RecordField {
  static constexpr const char* name = "name";
  static constexpr const char* package = "package";
  static constexpr const char* urlFilter = "urlFilter";
  static constexpr const char* caseSensitive = "caseSensitive";
  static constexpr const char* resourceTypes = "resourceTypes";
  static constexpr const char* loadType = "loadType";
  static constexpr const char* domainFilterType = "domainFilterType";
  static constexpr const char* domainFilterValues = "domainFilterValues";
  static constexpr const char* actionType = "actionType";
  static constexpr const char* selector = "selector";

  /// Those that a rule may lack.
  static constexpr std::array optional{selector, domainFilterType, domainFilterValues,
                                       resourceTypes, loadType};
};

}  // namespace orvane
