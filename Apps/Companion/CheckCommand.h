#pragma once

#include <string>
#include <vector>

namespace orvane {

/// `orvane check`: says what is wrong with each file, as lines that begin with the file, line and
/// column, or as a JSON array with an object a file. Returns the exit status: 0 when the browser
/// would take all of them, 1 when it would refuse one, 2 when one cannot be read.
int runCheckCommand(const std::vector<std::string>& files, bool asJSON);

}  // namespace orvane
