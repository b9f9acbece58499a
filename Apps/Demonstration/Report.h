#pragma once

#include <span>
#include <string>

#include "Apps/Demonstration/Judgement.h"

namespace orvane {

/// The rules of the demonstration's list, a line each, as the browser gets them.
Expected<std::string> listReport();

/// The rows as a table for a terminal, with a verdict at the end of every line.
std::string tableReport(std::span<const Row> rows);

/// What the list did, in numbers, and whether it is what it should have done.
std::string summaryReport(std::span<const Row> rows, const Visits& without, const Visits& with);

}  // namespace orvane
