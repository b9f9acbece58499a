#pragma once

#include <memory>

#include "Platform/Foundation/InMemoryKeyValueDatabase.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Tests/Support/FailingKeyValueDatabase.h"
#include "Tests/Support/RecordingOutput.h"
#include "Tests/Support/VirtualTime.h"

namespace orvane::test {

/// What a process of a simulated machine has of the keys and values that its processes share.
struct KeyValueProcess {
  KeyValueProcess(VirtualTime& time,
                  const std::shared_ptr<InMemoryKeyValueDatabase::Storage>& storage)
      : mainQueue(time.makeExecutor()), connection(storage, *mainQueue) {}

  std::unique_ptr<Executor> mainQueue;
  InMemoryKeyValueDatabase connection;
  FailingKeyValueDatabase database{connection};
  RecordingOutput systemLog;
};

}  // namespace orvane::test
