#include <memory>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/PersistentStore/SharedDefaults.h"
#include "SafariExtension/Reload/Communication.h"
#include "Tests/Support/TestPlatform.h"
#include "Tests/Support/ThreadedPlatform.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Message = Communication::Message;

/// A program of the product on a machine that others share.
struct Program {
  explicit Program(std::shared_ptr<TestMachine> machine, bool canOpenSuite = true)
      : platform(std::move(machine)), defaults([&]() -> NSUserDefaults& {
          platform.canOpenSuite = canOpenSuite;
          return sharedUserDefaults(platform.platform);
        }()) {}

  std::unique_ptr<NSUserDefaults::Observation> counting(const char* key, int& count) {
    return defaults.addObserver(key, [&count] { ++count; });
  }

  TestPlatform platform;
  NSUserDefaults& defaults;
  Communication communication{platform.platform, defaults};
};

class Messaging : public ::testing::Test {
 protected:
  std::shared_ptr<TestMachine> machine = std::make_shared<TestMachine>();
  Program extension{machine};
  Program application{machine};
};

TEST(CommunicationMessage, IsNamedByItsKey) {
  EXPECT_EQ(rawValue(Message::reloadTab), "reloadTab");
  EXPECT_EQ(rawValue(Message::reloadRulesFromDisk), "reloadRulesFromDisk");
  EXPECT_EQ(fromRawValue<Message>("reloadTab"), Message::reloadTab);
  EXPECT_EQ(fromRawValue<Message>("reloadRulesFromDisk"), Message::reloadRulesFromDisk);
  EXPECT_EQ(fromRawValue<Message>("paused"), std::nullopt);
  EXPECT_LT(Message::reloadTab, Message::reloadRulesFromDisk);
}

TEST_F(Messaging, SendPrintsTheMessage) {
  application.communication.send(Message::reloadTab);
  EXPECT_THAT(application.platform.standardOutput.take(), ElementsAre("Sending reloadTab..."));
  extension.communication.send(Message::reloadRulesFromDisk);
  EXPECT_THAT(extension.platform.standardOutput.take(),
              ElementsAre("Sending reloadRulesFromDisk..."));
}

TEST_F(Messaging, SendStoresANewIdentifierUnderTheKeyOfTheMessage) {
  extension.communication.send(Message::reloadRulesFromDisk);
  EXPECT_EQ(application.defaults.object("reloadRulesFromDisk"), PropertyListValue("UUID-1"));
  extension.communication.send(Message::reloadRulesFromDisk);
  EXPECT_EQ(application.defaults.object("reloadRulesFromDisk"), PropertyListValue("UUID-2"));
  EXPECT_EQ(application.defaults.object("reloadTab"), std::nullopt);
}

TEST_F(Messaging, TheOtherProcessIsTold) {
  int inApplication = 0;
  int inExtension = 0;
  const auto rules = application.counting("reloadRulesFromDisk", inApplication);
  const auto tab = extension.counting("reloadTab", inExtension);
  extension.communication.send(Message::reloadRulesFromDisk);
  machine->time.runUntilIdle();
  EXPECT_EQ(inApplication, 1);
  EXPECT_EQ(inExtension, 0);
  application.communication.send(Message::reloadTab);
  machine->time.runUntilIdle();
  EXPECT_EQ(inApplication, 1);
  EXPECT_EQ(inExtension, 1);
}

TEST_F(Messaging, TwoSendsInARowAreTwoNotifications) {
  int count = 0;
  const auto observation = application.counting("reloadRulesFromDisk", count);
  extension.communication.send(Message::reloadRulesFromDisk);
  extension.communication.send(Message::reloadRulesFromDisk);
  machine->time.runUntilIdle();
  EXPECT_EQ(count, 2);
}

TEST_F(Messaging, AnObserverOfOneMessageHearsNothingOfTheOther) {
  int count = 0;
  const auto observation = application.counting("reloadTab", count);
  extension.communication.send(Message::reloadRulesFromDisk);
  machine->time.runUntilIdle();
  EXPECT_EQ(count, 0);
  extension.communication.send(Message::reloadTab);
  machine->time.runUntilIdle();
  EXPECT_EQ(count, 1);
}

TEST_F(Messaging, AReceiverThatHasGoneHearsNothing) {
  int count = 0;
  auto observation = extension.counting("reloadTab", count);
  observation.reset();
  application.communication.send(Message::reloadTab);
  machine->time.runUntilIdle();
  EXPECT_EQ(count, 0);
}

TEST_F(Messaging, BothProgramsSeeWhetherBlockingIsPaused) {
  EXPECT_FALSE(application.defaults.boolForKey(Communication::pausedKey));
  ASSERT_TRUE(extension.defaults.setObject(true, "paused"));
  EXPECT_TRUE(application.defaults.boolForKey(Communication::pausedKey));
}

TEST_F(Messaging, WithoutTheSuiteSignalsGoToTheStandardDefaultsAndStayInTheProcess) {
  Program alone(machine, /*canOpenSuite=*/false);
  int own = 0;
  int others = 0;
  const auto inside = alone.counting("reloadRulesFromDisk", own);
  const auto outside = application.counting("reloadRulesFromDisk", others);
  alone.communication.send(Message::reloadRulesFromDisk);
  machine->time.runUntilIdle();
  EXPECT_EQ(alone.platform.standardUserDefaults.object("reloadRulesFromDisk"),
            PropertyListValue("UUID-1"));
  EXPECT_EQ(own, 1);
  EXPECT_EQ(others, 0);
  EXPECT_EQ(application.defaults.object("reloadRulesFromDisk"), std::nullopt);
}

/// Notes what is asked of it, and stores nothing if told so.
class NotingDatabase final : public KeyValueDatabase {
 public:
  explicit NotingDatabase(KeyValueDatabase& base) : base_(base) {}

  Expected<std::optional<PropertyListValue>> value(std::string_view key) override {
    return base_.value(key);
  }
  Expected<std::optional<PropertyListValue>> entry(std::string_view key,
                                                   std::string_view name) override {
    return base_.entry(key, name);
  }
  Expected<void> transact(const std::function<void(Transaction&)>& body) override {
    calls.emplace_back("transact");
    if (isBroken) return tl::unexpected(NSError{"test", 1, "disk full"});
    return base_.transact(body);
  }
  Expected<void> synchronize() override {
    calls.emplace_back("synchronize");
    if (isBroken) return tl::unexpected(NSError{"test", 2, "disk gone"});
    return base_.synchronize();
  }
  Expected<ChangeCount> changeCount(std::string_view key) override {
    return base_.changeCount(key);
  }
  Expected<std::uint64_t> foreignVersion() override { return base_.foreignVersion(); }
  void setListener(std::function<void()> changed) override {
    base_.setListener(std::move(changed));
  }

  bool isBroken = false;
  std::vector<std::string> calls;

 private:
  KeyValueDatabase& base_;
};

class MessagingThroughDatabase : public ::testing::Test {
 protected:
  TestPlatform machine;
  NotingDatabase database{machine.suiteDatabase};
  NSUserDefaults defaults{database, machine.systemLog};
  Communication communication{machine.platform, defaults};
};

TEST_F(MessagingThroughDatabase, SendSynchronizesWhatItHasStored) {
  communication.send(Message::reloadTab);
  EXPECT_THAT(database.calls, ElementsAre("transact", "synchronize"));
}

TEST_F(MessagingThroughDatabase, SendThatCannotBeStoredLeavesNoTraceButInTheSystemLog) {
  database.isBroken = true;
  communication.send(Message::reloadTab);
  EXPECT_THAT(database.calls, ElementsAre("transact", "synchronize"));
  EXPECT_EQ(defaults.object("reloadTab"), std::nullopt);
  EXPECT_THAT(machine.standardOutput.take(), ElementsAre("Sending reloadTab..."));
  EXPECT_THAT(machine.systemLog.take(), ::testing::Contains("disk full"));
}

TEST(MessagingOnThreads, EverySendOfAnyThreadIsANotification) {
  ThreadedPlatform machine;
  Communication communication(machine.platform, machine.suite);
  int count = 0;
  std::unique_ptr<NSUserDefaults::Observation> observation;
  machine.onMain([&] { observation = machine.suite.addObserver("reloadTab", [&] { ++count; }); });
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < 25; ++j) communication.send(Message::reloadTab);
    });
  }
  for (auto& thread : threads) thread.join();
  // Behind whatever the sends have posted.
  machine.onMain([&] {
    EXPECT_EQ(count, 100);
    observation.reset();
  });
}

}  // namespace
}  // namespace orvane::test
