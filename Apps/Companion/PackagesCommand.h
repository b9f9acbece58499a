#pragma once

#include <string>

#include "Linux/LinuxPlatform.h"

namespace orvane {

/// `orvane packages`: prints the catalogue, a package a line with its kind, id, state, numbers of
/// rules and of switched-off rules, and name, or as a JSON array of objects with these members.
/// Returns the exit status.
int runPackagesCommand(LinuxPlatform& machine, bool asJSON);

/// Prints the ids of the packages or, with the id or name of a package, of its rules, one a line.
int runIdentifiersCommand(LinuxPlatform& machine, const std::string& package);

}  // namespace orvane
