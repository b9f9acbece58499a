#pragma once

#include <string>
#include <vector>

namespace orvane {

/// `orvane check`: says what is wrong with each file, as lines that begin with the file, line and
/// column, or as a JSON array with an object a file. Returns the exit status: 0 when there is
/// no error, 1 when there is one, because of which the browser would refuse a list or a package
/// would lose a rule, 2 when a file cannot be read.
int runCheckCommand(const std::vector<std::string>& files, bool asJSON);

}  // namespace orvane
