#pragma once

#include <string>
#include <vector>

namespace orvane {

/// Prints rows on standard output in columns that are as wide as they need to be; the first row
/// holds the titles. Control characters are replaced.
void printTable(const std::vector<std::vector<std::string>>& rows);

}  // namespace orvane
