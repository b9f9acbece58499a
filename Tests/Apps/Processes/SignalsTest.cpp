#include <gtest/gtest.h>

#include "Tests/Apps/Processes/SignalExchange.h"
#include "Tests/Apps/Processes/UserHome.h"

namespace orvane::test {
namespace {

using Message = Extension::Message;

TEST(Signals, aThousandInEachDirectionAtOnceAreEachToldExactlyOnce) {
  constexpr int count = 1000;
  UserHome home(UserHome::Compiler::scripted);
  Extension extension(home.log());
  ChildProcess client(
      {ORVANE_PROGRAMS "/orvane-extension-client", "exchange", home.log(), std::to_string(count)},
      {.log = home.log(), .hasOutput = true});
  EXPECT_EQ(exchangeSignals(extension, Message::reloadRulesFromDisk, Message::reloadTab, count),
            count);
  EXPECT_EQ(extension.answers, count) << "by another observer of the same process";
  EXPECT_EQ(client.rest(), std::to_string(count));
  EXPECT_EQ(client.exitStatus(), 0);
}

}  // namespace
}  // namespace orvane::test
