#pragma once

#include "Platform/Foundation/NSUserDefaults.h"
#include "Platform/Platform.h"

namespace orvane {

/// The user defaults that the programs of the application group share. When they cannot be opened,
/// those of this process alone: it then keeps working, but its signals reach nobody else. Main
/// queue.
NSUserDefaults& sharedUserDefaults(Platform& platform);

}  // namespace orvane
