#include <csignal>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Linux/Posix/SingleInstance.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

/// Two pipes between a test and a process that it has forked.
class Talk {
 public:
  Talk() {
    if (::pipe(toChild_) != 0 || ::pipe(toParent_) != 0) std::abort();
  }
  Talk(const Talk&) = delete;
  Talk& operator=(const Talk&) = delete;
  ~Talk() {
    for (const int end : {toChild_[0], toChild_[1], toParent_[0], toParent_[1]}) ::close(end);
  }

  // In the parent.
  char hear() const { return take(toParent_[0]); }
  void letGoOn() const { put(toChild_[1], '!'); }
  // In the child.
  void say(char word) const { put(toParent_[1], word); }
  void waitToGoOn() const { take(toChild_[0]); }

 private:
  static char take(int end) {
    char word = 0;
    return ::read(end, &word, 1) == 1 ? word : '\0';
  }
  static void put(int end, char word) {
    if (::write(end, &word, 1) != 1) std::abort();
  }

  int toChild_[2]{};
  int toParent_[2]{};
};

class OneOfItsKind : public ::testing::Test {
 protected:
  static pid_t inAnotherProcess(const std::function<void()>& task) {
    const pid_t child = ::fork();
    if (child != 0) return child;
    task();
    ::_exit(0);
  }
  /// Holds the right until it is told to go on.
  pid_t startHolder(const Talk& talk) {
    const pid_t holder = inAnotherProcess([&] {
      const auto instance = SingleInstance::acquire(file);
      talk.say(instance && *instance ? 'y' : 'n');
      talk.waitToGoOn();
    });
    EXPECT_EQ(talk.hear(), 'y');
    return holder;
  }
  static void waitForTheEndOf(pid_t child) { ASSERT_EQ(::waitpid(child, nullptr, 0), child); }
  static void kill(pid_t child) {
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    waitForTheEndOf(child);
  }
  bool isFree() {
    const auto instance = SingleInstance::acquire(file);
    return instance && *instance;
  }

  TemporaryDirectory folder;
  std::filesystem::path file = folder / "lock";
};

TEST_F(OneOfItsKind, isTurnedAwayWhileAnotherWorks) {
  const Talk talk;
  const pid_t holder = startHolder(talk);
  EXPECT_TRUE(SingleInstance::isHeld(file));
  const auto second = SingleInstance::acquire(file);
  ASSERT_TRUE(second);
  EXPECT_FALSE(*second);
  talk.letGoOn();
  waitForTheEndOf(holder);
  EXPECT_FALSE(SingleInstance::isHeld(file));
  EXPECT_TRUE(isFree());
}

TEST_F(OneOfItsKind, takesOverFromAHolderThatWasKilled) {
  const Talk talk;
  const pid_t holder = startHolder(talk);
  kill(holder);
  EXPECT_FALSE(SingleInstance::isHeld(file));
  EXPECT_TRUE(isFree());
}

TEST_F(OneOfItsKind, isForTheFileThatItWasAcquiredWith) {
  const auto instance = SingleInstance::acquire(file);
  ASSERT_TRUE(instance && *instance);
  EXPECT_TRUE((*instance)->isFor(file));
  std::filesystem::rename(file, folder / "away");
  EXPECT_FALSE((*instance)->isFor(file));
  std::ofstream(file) << "";
  EXPECT_FALSE((*instance)->isFor(file));
}

TEST_F(OneOfItsKind, thatOnlyPassesIsNotHeldToServe) {
  const auto instance = SingleInstance::acquire(file, SingleInstance::Role::passing);
  ASSERT_TRUE(instance && *instance);
  EXPECT_FALSE(SingleInstance::isHeld(file));
}

TEST_F(OneOfItsKind, waitsForAHolderThatPassesOrHasAnnouncedItsEnd) {
  for (int round = 0; round < 10; ++round) {
    const bool passes = round % 2 == 0;
    const Talk talk;
    const pid_t holder = inAnotherProcess([&] {
      auto instance = SingleInstance::acquire(
          file, passes ? SingleInstance::Role::passing : SingleInstance::Role::serving);
      if (!instance || !*instance) ::_exit(1);
      if (!passes) (*instance)->announceEnd();
      const int watch = ::inotify_init1(IN_CLOEXEC);
      ::inotify_add_watch(watch, file.c_str(), IN_OPEN);
      talk.say('y');
      // Ends when the other has opened the file, so not before the other asks.
      char event[256];
      if (::read(watch, event, sizeof event) <= 0) ::_exit(1);
    });
    ASSERT_EQ(talk.hear(), 'y');
    EXPECT_TRUE(isFree());
    waitForTheEndOf(holder);
  }
}

TEST_F(OneOfItsKind, ofManyThatStartTogetherExactlyOneGetsTheRight) {
  constexpr int count = 8;
  for (int round = 0; round < 10; ++round) {
    const Talk talk;
    const Talk end;
    std::vector<pid_t> children;
    for (int i = 0; i < count; ++i) {
      children.push_back(inAnotherProcess([&] {
        talk.waitToGoOn();
        const auto instance = SingleInstance::acquire(file);
        talk.say(!instance ? 'e' : *instance ? 'y' : 'n');
        end.waitToGoOn();
      }));
    }
    for (int i = 0; i < count; ++i) talk.letGoOn();
    std::string answers;
    for (int i = 0; i < count; ++i) answers += talk.hear();
    for (int i = 0; i < count; ++i) end.letGoOn();
    for (const pid_t child : children) waitForTheEndOf(child);
    EXPECT_THAT(answers, ::testing::UnorderedElementsAre('y', 'n', 'n', 'n', 'n', 'n', 'n', 'n'));
  }
}

TEST_F(OneOfItsKind, isNotDisturbedByOthersThatAsk) {
  const Talk talk;
  ASSERT_TRUE(isFree());
  const pid_t asker = inAnotherProcess([&] {
    talk.say('y');
    while (true) static_cast<void>(SingleInstance::isHeld(file));
  });
  ASSERT_EQ(talk.hear(), 'y');
  for (int time = 0; time < 2000; ++time) ASSERT_TRUE(isFree()) << time;
  kill(asker);
}

TEST_F(OneOfItsKind, isNotHeldWhereThereIsNoFileAndAskingMakesNone) {
  EXPECT_FALSE(SingleInstance::isHeld(file));
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(OneOfItsKind, aMissingFolderIsAnErrorThatNamesTheFile) {
  const auto instance = SingleInstance::acquire(folder / "missing/lock");
  ASSERT_FALSE(instance);
  EXPECT_THAT(instance.error().localizedDescription, ::testing::HasSubstr("missing/lock"));
}

}  // namespace
}  // namespace orvane::test
