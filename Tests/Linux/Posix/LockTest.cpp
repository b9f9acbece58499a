#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Linux/Posix/FileDescriptor.h"
#include "Linux/Posix/PosixFileSystem.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

/// One end writes a byte, the other waits for it.
class Signal {
 public:
  Signal() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) std::abort();
    read_ = FileDescriptor(ends[0]);
    write_ = FileDescriptor(ends[1]);
  }
  void give() const {
    const char byte = 0;
    if (::write(write_.get(), &byte, 1) != 1) std::abort();
  }
  /// False when nobody can give it any more.
  bool await() {
    write_ = FileDescriptor();
    char byte = 0;
    return ::read(read_.get(), &byte, 1) == 1;
  }

 private:
  FileDescriptor read_;
  FileDescriptor write_;
};

/// Another process that runs `body` and ends; it is waited for.
template <typename Body>
class ChildProcess {
 public:
  explicit ChildProcess(const Body& body) : id_(::fork()) {
    if (id_ == 0) {
      body();
      ::_exit(0);
    }
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess() { await(); }

  void kill() const { ::kill(id_, SIGKILL); }
  void await() {
    if (std::exchange(isAwaited_, true)) return;
    int status = 0;
    EXPECT_EQ(::waitpid(id_, &status, 0), id_);
  }

 private:
  pid_t id_;
  bool isAwaited_ = false;
};

class PosixLock : public ::testing::Test {
 protected:
  /// Adds one to a number in a file: reading, and writing what was read.
  void increment() {
    const auto lock = files.lock(folder / "lock");
    if (!lock) std::abort();
    const auto number = files.read(folder / "number");
    if (!number) std::abort();
    if (!files.replace(folder / "number", std::to_string(std::stoi(*number) + 1), std::nullopt)) {
      std::abort();
    }
  }

  TemporaryDirectory folder;
  PosixFileSystem files;
};

TEST_F(PosixLock, TheFileBelongsToTheUserAloneAndStays) {
  ASSERT_TRUE(files.lock(folder / "lock"));
  struct stat status {};
  ASSERT_EQ(::stat((folder / "lock").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(PosixLock, ALockThatWasGivenBackCanBeTakenAgain) {
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(files.lock(folder / "lock"));
}

TEST_F(PosixLock, LocksOfOtherNamesDoNotWaitForEachOther) {
  const auto one = files.lock(folder / "one");
  EXPECT_TRUE(files.lock(folder / "other"));
}

TEST_F(PosixLock, WithoutItsFolderThereIsNoLock) {
  EXPECT_EQ(files.lock(folder / "missing/lock").error().code, ENOENT);
}

TEST_F(PosixLock, ThreadsAreOneAfterTheOther) {
  ASSERT_TRUE(files.replace(folder / "number", "0", std::nullopt));
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int k = 0; k < 25; ++k) increment();
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(files.read(folder / "number"), "100");
}

TEST_F(PosixLock, ProcessesAreOneAfterTheOther) {
  ASSERT_TRUE(files.replace(folder / "number", "0", std::nullopt));
  const auto work = [&] {
    for (int i = 0; i < 50; ++i) increment();
  };
  {
    const ChildProcess first(work);
    const ChildProcess second(work);
  }
  EXPECT_EQ(files.read(folder / "number"), "100");
}

TEST_F(PosixLock, TheLockOfAProcessThatDiesIsFree) {
  Signal isHeld;
  ChildProcess holder([&] {
    const auto lock = files.lock(folder / "lock");
    isHeld.give();
    ::pause();
  });
  ASSERT_TRUE(isHeld.await());
  holder.kill();
  holder.await();
  EXPECT_TRUE(files.lock(folder / "lock"));
}

/// The holder says when it is done before it gives the lock back, so whoever got the lock finds
/// that said.
TEST_F(PosixLock, WhoeverWaitsGetsTheLockAfterTheHolder) {
  auto lock = files.lock(folder / "lock");
  ASSERT_TRUE(lock);
  std::atomic<bool> isDone = false;
  bool wasDone = false;
  std::atomic<bool> isStarted = false;
  std::thread waiting([&] {
    isStarted = true;
    const auto theirs = files.lock(folder / "lock");
    wasDone = isDone;
  });
  while (!isStarted) std::this_thread::yield();
  isDone = true;
  lock->reset();
  waiting.join();
  EXPECT_TRUE(wasDone);
}

}  // namespace
}  // namespace orvane::test
