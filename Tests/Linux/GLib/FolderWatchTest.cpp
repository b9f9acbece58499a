#include <chrono>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Linux/GLib/FolderWatch.h"
#include "Linux/GLib/InotifyWatch.h"
#include "Linux/Posix/FileDescriptor.h"
#include "Tests/Support/MainLoop.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/VirtualTime.h"

namespace orvane::test {
namespace {

namespace fs = std::filesystem;

/// Lets the process open `count` files more than it has open, while it lasts.
class FewFiles {
 public:
  explicit FewFiles(rlim_t count) {
    EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &before_), 0);
    // A new file gets the lowest number that is free.
    const FileDescriptor lowest(::dup(STDERR_FILENO));
    EXPECT_TRUE(lowest);
    set({static_cast<rlim_t>(lowest.get()) + count, before_.rlim_max});
  }
  FewFiles(const FewFiles&) = delete;
  FewFiles& operator=(const FewFiles&) = delete;
  ~FewFiles() { set(before_); }

 private:
  static void set(const rlimit& limit) { EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0); }

  rlimit before_{};
};

int openInotifyInstances() {
  int count = 0;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    count += fs::read_symlink(entry, error).string().find("inotify") != std::string::npos ? 1 : 0;
  }
  return count;
}

/// The clock by which the watch looks stands still, so what a test sees without turning it came
/// from the system.
class WatchedFolder : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directory(folder); }

  void watch(const std::vector<std::string>& names) {
    watching = std::make_unique<FolderWatch>(folder, names, *queue, [this] { ++told; });
    EXPECT_EQ(takeTold(), 0);
  }
  /// How often the watch has told something since the last call.
  int takeTold() {
    loop.runUntilIdle();
    return std::exchange(told, 0);
  }
  void look() { time.advance(std::chrono::milliseconds(500)); }

  void write(const std::string& name) { std::ofstream(folder / name) << "x"; }
  void put(const std::string& name) {
    std::ofstream(top / "new") << "x";
    fs::rename(top / "new", folder / name);
  }

  TemporaryDirectory top;
  fs::path folder = top / "folder";
  fs::path elsewhere = top / "elsewhere";
  MainLoop loop;
  VirtualTime time;
  std::unique_ptr<Executor> queue = time.makeExecutor();
  int told = 0;
  std::unique_ptr<FolderWatch> watching;
};

TEST_F(WatchedFolder, tellsWhatHappensToEachOfTheFiles) {
  watch({"a", "b"});
  for (const auto* name : {"a", "b"}) {
    put(name);
    EXPECT_GE(takeTold(), 1) << name << " was put in place";
    write(name);
    EXPECT_GE(takeTold(), 1) << name << " was written";
    fs::remove(folder / name);
    EXPECT_GE(takeTold(), 1) << name << " was removed";
    put(name);
    fs::rename(folder / name, top / "away");
    EXPECT_GE(takeTold(), 1) << name << " was moved away";
  }
}

TEST_F(WatchedFolder, doesNotTellOfOtherFiles) {
  watch({"a"});
  for (const auto* name : {"b", "ab", "A", "a.new"}) {
    put(name);
    write(name);
    fs::remove(folder / name);
  }
  EXPECT_EQ(takeTold(), 0);
}

TEST_F(WatchedFolder, doesNotTellOfReading) {
  put("a");
  watch({"a"});
  std::string text;
  std::ifstream(folder / "a") >> text;
  look();
  EXPECT_EQ(takeTold(), 0);
}

TEST_F(WatchedFolder, tellsWhenItComesIntoBeingAndFromThenOn) {
  fs::remove(folder);
  watch({"a"});
  look();
  EXPECT_EQ(takeTold(), 0);
  fs::create_directory(folder);
  write("a");
  EXPECT_EQ(takeTold(), 0);
  look();
  EXPECT_EQ(takeTold(), 1);
  write("a");
  EXPECT_GE(takeTold(), 1);
}

TEST_F(WatchedFolder, tellsWhenAnotherTakesItsPlace) {
  fs::create_directory(elsewhere);
  std::ofstream(elsewhere / "a") << "other";
  watch({"a"});
  fs::rename(folder, top / "old");
  fs::rename(elsewhere, folder);
  look();
  EXPECT_EQ(takeTold(), 1);
  write("a");
  EXPECT_GE(takeTold(), 1);
  std::ofstream(top / "old/a") << "nobody's concern";
  EXPECT_EQ(takeTold(), 0);
}

/// A file system may give the new folder the number of the one that was removed.
TEST_F(WatchedFolder, tellsWhenItWasRemovedAndMadeAnew) {
  watch({"a"});
  for (int round = 0; round < 10; ++round) {
    fs::remove_all(folder);
    fs::create_directory(folder);
    look();
    EXPECT_GE(takeTold(), 1) << round;
    write("a");
    EXPECT_GE(takeTold(), 1) << round;
  }
}

TEST_F(WatchedFolder, tellsWhenItIsBackAgain) {
  watch({"a"});
  fs::rename(folder, elsewhere);
  look();
  EXPECT_EQ(takeTold(), 0);
  std::ofstream(elsewhere / "a") << "x";
  EXPECT_EQ(takeTold(), 0) << "there is no such file by that name";
  fs::rename(elsewhere, folder);
  look();
  EXPECT_EQ(takeTold(), 1);
  write("a");
  EXPECT_GE(takeTold(), 1);
}

TEST_F(WatchedFolder, losesNoChangeWhenItIsAwayForAShortTime) {
  watch({"a"});
  fs::rename(folder, elsewhere);
  std::ofstream(elsewhere / "a") << "x";
  fs::rename(elsewhere, folder);
  look();
  EXPECT_GE(takeTold(), 1);
}

/// A user has few of the system's watching instances.
TEST_F(WatchedFolder, takesOneInstanceHoweverManyFilesThereAre) {
  const int before = openInotifyInstances();
  watch({"a", "b", "c", "d"});
  EXPECT_EQ(openInotifyInstances(), before + 1);
  look();
  fs::remove(folder);
  fs::create_directory(folder);
  look();
  EXPECT_EQ(openInotifyInstances(), before + 1);
}

TEST_F(WatchedFolder, looksAtTheFilesWhileTheSystemCannotWatchThem) {
  put("b");
  std::ofstream(top / "new") << "xx";
  // The folder itself takes one.
  const FewFiles limit(1);
  watch({"a", "b"});
  look();
  EXPECT_EQ(takeTold(), 0);
  fs::rename(top / "new", folder / "a");
  EXPECT_EQ(takeTold(), 0) << "it tells without looking: the system does watch";
  look();
  EXPECT_EQ(takeTold(), 1) << "a was put in place";
  ASSERT_EQ(::truncate((folder / "a").c_str(), 1), 0);
  look();
  EXPECT_EQ(takeTold(), 1) << "a was written";
  fs::remove(folder / "b");
  look();
  EXPECT_EQ(takeTold(), 1) << "b was removed";
  fs::rename(folder / "a", folder / "c");
  look();
  EXPECT_EQ(takeTold(), 1) << "a was moved away";
  fs::remove(folder / "c");
  look();
  EXPECT_EQ(takeTold(), 0);
}

TEST_F(WatchedFolder, watchesAsSoonAsTheSystemCan) {
  {
    const FewFiles limit(1);
    watch({"a"});
    look();
  }
  put("a");
  look();
  EXPECT_EQ(takeTold(), 1) << "what changed before";
  look();
  EXPECT_EQ(takeTold(), 0);
  write("a");
  EXPECT_GE(takeTold(), 1);
}

TEST_F(WatchedFolder, looksNeedNoFileOfTheirOwn) {
  watch({"a"});
  const FewFiles limit(0);
  look();
  EXPECT_EQ(takeTold(), 0);
}

TEST_F(WatchedFolder, aWatchSaysWhetherItWatches) {
  EXPECT_TRUE(InotifyWatch(folder, {"a"}, [] {}).isWatching());
  EXPECT_FALSE(InotifyWatch(elsewhere, {"a"}, [] {}).isWatching());
  const FewFiles limit(0);
  EXPECT_FALSE(InotifyWatch(folder, {"a"}, [] {}).isWatching());
}

TEST_F(WatchedFolder, tellsNothingOnceTheWatchHasEnded) {
  watch({"a"});
  write("a");
  watching.reset();
  look();
  EXPECT_EQ(takeTold(), 0);
}

}  // namespace
}  // namespace orvane::test
