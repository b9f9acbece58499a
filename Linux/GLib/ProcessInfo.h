#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Foundation/FileSystem.h"
#include "Platform/Foundation/NSProcessInfo.h"

namespace orvane {

/// The machine that this process runs on.
NSProcessInfo processInfo(FileSystem& files);

/// The name that the text of a machine-info file gives the machine for people; nothing when it
/// gives none.
std::optional<std::string> prettyHostName(std::string_view machineInfo);

/// A release that is up to three numbers with dots between them; any other is 0.
NSOperatingSystemVersion operatingSystemVersion(std::string_view release);

}  // namespace orvane
