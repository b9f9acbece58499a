#pragma once

#include <array>

/// The names of the fields of records.
namespace orvane::recordField {

inline constexpr const char* name = "name";
inline constexpr const char* package = "package";
inline constexpr const char* urlFilter = "urlFilter";
inline constexpr const char* caseSensitive = "caseSensitive";
inline constexpr const char* resourceTypes = "resourceTypes";
inline constexpr const char* loadType = "loadType";
inline constexpr const char* domainFilterType = "domainFilterType";
inline constexpr const char* domainFilterValues = "domainFilterValues";
inline constexpr const char* actionType = "actionType";
inline constexpr const char* selector = "selector";

/// Those that a rule may lack.
inline constexpr std::array optional{selector, domainFilterType, domainFilterValues, resourceTypes,
                                     loadType};

}  // namespace orvane::recordField
