#pragma once

#include <string>

#include "Platform/Foundation/NSUserDefaults.h"

namespace orvane {

/// Under which the defaults have the name of the cloud that syncing was last with.
inline constexpr const char* cloudIdentityKey = "CloudIdentity";

/// To be called before syncing starts. When it is with another cloud than the last time, all that
/// is known of that one is forgotten, so that everything of the user's goes to the new one, and all
/// that this one has comes. Changes that have not been sent yet are kept. False, and nothing has
/// changed, when the defaults cannot be written.
bool beginWithCloud(NSUserDefaults& defaults, const std::string& identity);

}  // namespace orvane
