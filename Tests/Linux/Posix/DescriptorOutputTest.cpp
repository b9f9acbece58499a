#include <sstream>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>

#include "Linux/Posix/DescriptorOutput.h"
#include "Linux/Posix/FileDescriptor.h"
#include "Linux/Posix/PosixFileSystem.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

TEST(DescriptorOutput, writesTheLineWithItsEnding) {
  TemporaryDirectory folder;
  const FileDescriptor file(::open((folder / "log").c_str(), O_CREAT | O_WRONLY, 0600));
  DescriptorOutput output(file.get());
  output.print("one");
  output.print("");
  output.print("⛔️ two");
  EXPECT_EQ(PosixFileSystem().read(folder / "log"), "one\n\n⛔️ two\n");
}

TEST(DescriptorOutput, linesOfSeveralThreadsNeverMix) {
  TemporaryDirectory folder;
  const FileDescriptor file(::open((folder / "log").c_str(), O_CREAT | O_WRONLY | O_APPEND, 0600));
  DescriptorOutput output(file.get());
  std::vector<std::thread> threads;
  for (const char letter : {'a', 'b', 'c', 'd'}) {
    threads.emplace_back([&output, letter] {
      for (int line = 0; line < 200; ++line) output.print(std::string(3000, letter));
    });
  }
  for (auto& thread : threads) thread.join();

  std::istringstream lines(*PosixFileSystem().read(folder / "log"));
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    ASSERT_EQ(line, std::string(3000, line.front()));
  }
  EXPECT_EQ(count, 800);
}

}  // namespace
}  // namespace orvane::test
