#include <array>
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

/// All that comes out of a pipe until its other end is closed.
std::string drain(int pipe) {
  std::string text;
  std::array<char, 65536> buffer{};
  ssize_t count = 0;
  while ((count = ::read(pipe, buffer.data(), buffer.size())) > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return text;
}

TEST(DescriptorOutput, linesOfSeveralThreadsNeverMixAlsoInAPipeThatTakesThemInPieces) {
  constexpr std::size_t length = 200'000;
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  const FileDescriptor reading(ends[0]);
  std::string text;
  std::thread reader([&] { text = drain(reading.get()); });
  {
    const FileDescriptor writing(ends[1]);
    DescriptorOutput output(writing.get());
    std::vector<std::thread> threads;
    for (const char letter : {'a', 'b', 'c', 'd'}) {
      threads.emplace_back([&output, letter] {
        for (int line = 0; line < 20; ++line) output.print(std::string(length, letter));
      });
    }
    for (auto& thread : threads) thread.join();
  }
  reader.join();

  std::istringstream lines(text);
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    ASSERT_TRUE(line == std::string(length, line.front())) << "line " << count;
  }
  EXPECT_EQ(count, 80);
}

}  // namespace
}  // namespace orvane::test
