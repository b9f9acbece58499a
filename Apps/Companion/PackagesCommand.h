#pragma once

#include "Linux/LinuxPlatform.h"

namespace orvane {

/// `orvane packages`: prints the catalogue, a package a line with its kind, id, number of rules and
/// name, or as a JSON array of objects with these members. Returns the exit status.
int runPackagesCommand(LinuxPlatform& machine, bool asJSON);

}  // namespace orvane
