#pragma once

#include <functional>
#include <string>

#include "Tests/Apps/Processes/Extension.h"

namespace orvane::test {

/// One of two processes that each send a signal `count` times, and at the same time observe the
/// other's. Returns how often the observer was called, once both are done.
inline int exchangeSignals(Extension& extension, Extension::Message own, Extension::Message other,
                           int count) {
  auto& defaults = extension.process.defaults();
  auto& loop = extension.loop;
  int called = 0;
  const auto observation = defaults.addObserver(rawValue(other), [&] { ++called; });
  const auto say = [&](const char* what) {
    EXPECT_TRUE(defaults.setObject(true, std::string(rawValue(own)) + what));
  };
  const auto hear = [&](const char* what) {
    loop.runUntil([&] { return defaults.boolForKey(std::string(rawValue(other)) + what); });
  };
  say(" is ready");
  hear(" is ready");
  int sent = 0;
  std::function<void()> sendNext = [&] {
    extension.send(own);
    if (++sent < count) extension.machine.platform().mainQueue.post(sendNext);
  };
  sendNext();
  loop.runUntil([&] { return sent == count && called >= count; });
  say(" is done");
  hear(" is done");
  loop.runUntilIdle();
  return called;
}

}  // namespace orvane::test
