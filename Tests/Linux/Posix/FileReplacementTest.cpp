#include <csignal>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Linux/Posix/PosixFileSystem.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

constexpr std::size_t length = 200'000;

/// Contents of which every byte is the same, so that a torn file shows.
std::string uniform(char byte) { return std::string(length, byte); }

bool isWhole(const std::string& contents) {
  return contents.size() == length &&
         contents.find_first_not_of(contents.front()) == std::string::npos;
}

/// Runs `work` in a process of its own.
template <typename Work>
pid_t start(Work work) {
  const pid_t child = ::fork();
  if (child == 0) {
    work();
    ::_exit(0);
  }
  return child;
}

void writeForEver(const std::filesystem::path& path, char byte) {
  PosixFileSystem files;
  const auto contents = uniform(byte);
  while (files.replace(path, contents, std::nullopt)) {
  }
}

class FileReplacement : public ::testing::Test {
 protected:
  FileReplacement() { EXPECT_TRUE(files.replace(path, uniform('0'), std::nullopt)); }

  TemporaryDirectory folder;
  std::filesystem::path path = folder / "f";
  PosixFileSystem files;
};

TEST_F(FileReplacement, readersOnlySeeWholeFilesWhileTwoProcessesReplaceThem) {
  const pid_t writers[] = {start([&] { writeForEver(path, 'a'); }),
                           start([&] { writeForEver(path, 'b'); })};
  bool seen[256] = {};
  while (!seen['a'] || !seen['b']) {
    const auto contents = files.read(path);
    ASSERT_TRUE(contents);
    ASSERT_TRUE(isWhole(*contents));
    seen[static_cast<unsigned char>(contents->front())] = true;
  }
  for (const pid_t writer : writers) {
    ::kill(writer, SIGKILL);
    ::waitpid(writer, nullptr, 0);
  }
}

TEST_F(FileReplacement, writersKilledAtAnyMomentLeaveAWholeFileAndAtMostOneIntermediateOne) {
  for (int round = 0; round < 60; ++round) {
    const pid_t writer = start([&] { writeForEver(path, static_cast<char>('A' + round % 26)); });
    // The moment of the kill varies with what this process can read meanwhile.
    for (int reads = 0; reads <= round % 20; ++reads) ASSERT_TRUE(files.read(path));
    ::kill(writer, SIGKILL);
    ::waitpid(writer, nullptr, 0);
    const auto contents = files.read(path);
    ASSERT_TRUE(contents);
    ASSERT_TRUE(isWhole(*contents));
  }
  EXPECT_LE(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2);
  EXPECT_TRUE(files.replace(path, uniform('z'), std::nullopt));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST_F(FileReplacement, fullDiskLeavesTheOldFileAndNoIntermediateOne) {
  const pid_t writer = start([&] {
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{length / 2, length / 2};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    ::_exit(PosixFileSystem().replace(path, uniform('n'), std::nullopt) ? 1 : 0);
  });
  int status = -1;
  ::waitpid(writer, &status, 0);
  EXPECT_EQ(status, 0) << "the failure was not reported";
  EXPECT_EQ(files.read(path), uniform('0'));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST_F(FileReplacement, threadsThatReplaceOneFileTakeTurns) {
  std::vector<std::thread> threads;
  for (const char byte : {'a', 'b', 'c'}) {
    threads.emplace_back([this, byte] {
      for (int round = 0; round < 20; ++round) {
        EXPECT_TRUE(files.replace(path, uniform(byte), std::nullopt));
        const auto contents = files.read(path);
        EXPECT_TRUE(contents && isWhole(*contents));
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace
}  // namespace orvane::test
