#pragma once

#include "Platform/AppKit/NSWorkspace.h"
#include "Platform/Foundation/Executor.h"
#include "Platform/Foundation/LineOutput.h"
#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSNotificationCenter.h"
#include "Platform/Foundation/NSURLLoader.h"
#include "Platform/Foundation/NSUUID.h"
#include "Platform/Foundation/NSUbiquitousKeyValueStore.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Platform/SafariServices/SFContentBlockerManager.h"

namespace orvane {

class CloudBackend;

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
  /// The run loop of the process.
  Executor& mainQueue;
  SerialQueueFactory& makeSerialQueue;
  UserDefaultsSuites& userDefaultsSuite;
  /// The user defaults of this process alone.
  NSUserDefaults& standardUserDefaults;
  NSUbiquitousKeyValueStore& ubiquitousStore;
  SFContentBlockerManager& contentBlockerManager;
  NSWorkspace& workspace;
  CloudBackend& cloud;
  /// Where the cloud is called, one call at a time, which may take its time.
  Executor& cloudQueue;
};

}  // namespace orvane
