#include "Apps/Companion/CommandLog.h"

#include "Apps/Companion/Failure.h"

namespace orvane {

void CommandLog::print(std::string_view line) { complain(line); }

}  // namespace orvane
