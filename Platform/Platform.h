#pragma once

#include "Platform/Foundation/LineOutput.h"
#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSNotificationCenter.h"
#include "Platform/Foundation/NSURLLoader.h"
#include "Platform/Foundation/NSUUID.h"

namespace orvane {

/// What a process asks of its machine. Owns nothing; whoever makes it keeps the services alive for
/// as long as the process lives.
struct Platform {
  NSFileManager& fileManager;
  NSBundle& mainBundle;
  NSNotificationCenter& notificationCenter;
  NSURLLoader& urlLoader;
  UUIDGenerator& makeUUID;
  /// Where the product's plain diagnostic lines go.
  LineOutput& standardOutput;
  /// The machine's log, apart from the standard output.
  LineOutput& systemLog;
};

}  // namespace orvane
