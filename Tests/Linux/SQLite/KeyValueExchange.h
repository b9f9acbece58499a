#pragma once

#include <cstdint>
#include <string>

#include "Linux/SQLite/SQLiteKeyValueDatabase.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Tests/Support/MainLoop.h"
#include "Tests/Support/RecordingOutput.h"

namespace orvane::test {

/// One of two processes that each set `count` values under a key of their own, and at the same time
/// observe the other's. Returns how often the observer was called, once both are done.
inline std::int64_t exchangeValues(const std::string& path, const std::string& own,
                                   const std::string& other, std::int64_t count) {
  MainLoop loop;
  SQLiteKeyValueDatabase database(path, loop.queue);
  RecordingOutput log;
  NSUserDefaults defaults(database, log);

  std::int64_t called = 0;
  const auto observation = defaults.addObserver(other, [&] { ++called; });
  static_cast<void>(defaults.setObject(true, own + " is ready"));
  loop.runUntil([&] { return defaults.boolForKey(other + " is ready"); });

  std::int64_t written = 0;
  std::function<void()> setNext = [&] {
    if (defaults.setObject(++written, own) && written < count) loop.queue.post(setNext);
  };
  loop.queue.post(setNext);
  loop.runUntil([&] { return written == count && called >= count; });
  static_cast<void>(defaults.setObject(true, own + " is done"));
  loop.runUntil([&] { return defaults.boolForKey(other + " is done"); });
  loop.runUntilIdle();
  return called;
}

}  // namespace orvane::test
