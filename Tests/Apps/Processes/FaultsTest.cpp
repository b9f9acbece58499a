#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Tests/Apps/Processes/Extension.h"
#include "Tests/Apps/Processes/UserHome.h"

namespace orvane::test {
namespace {

using ::testing::Contains;

namespace fs = std::filesystem;

/// The list is large beside everything else that the companion writes.
constexpr int manyRules = 10'000;

class Faults : public ::testing::Test {
 protected:
  void work(std::function<void()> prepare = nullptr) {
    companion = home.startCompanion(std::move(prepare));
    extension.makeARoundTrip();
    extension.answers = 0;
    before = home.get(home.list());
    EXPECT_TRUE(home.browserHasTheList());
  }
  void expectThatTheOldListStays() {
    EXPECT_EQ(home.get(home.list()), before);
    EXPECT_TRUE(home.browserHasTheList());
    EXPECT_EQ(extension.answers, 0);
    EXPECT_FALSE(companion->hasEnded());
  }
  void expectThatWorkGoesOn() {
    extension.makeARoundTrip();
    EXPECT_TRUE(home.browserHasTheList());
    EXPECT_THAT(home.urlFilters(), Contains("mine"));
    EXPECT_EQ(extension.status("error"), "");
  }

  UserHome home{UserHome::Compiler::scripted, manyRules};
  Extension extension{home.log()};
  std::unique_ptr<ChildProcess> companion;
  std::string before;
};

/// The limit is that of the companion alone, and stands for a disk that has no more room for the
/// list.
TEST_F(Faults, aFullDiskKeepsTheOldListAndWorkGoesOnWhenThereIsRoomAgain) {
  // Without this the signal ends the process; with it the write fails.
  work([] { static_cast<void>(std::signal(SIGXFSZ, SIG_IGN)); });
  rlimit limit{};
  ASSERT_EQ(::prlimit(companion->id(), RLIMIT_FSIZE, nullptr, &limit), 0);
  const rlimit little{before.size() / 2, limit.rlim_max};
  ASSERT_EQ(::prlimit(companion->id(), RLIMIT_FSIZE, &little, nullptr), 0);
  EXPECT_TRUE(extension.block("mine"));
  extension.send();
  extension.waitUntil([&] { return home.linesWith("Could not write") > 0; });
  extension.waitUntil([&] { return !extension.status("error").empty(); });
  EXPECT_EQ(extension.status("error"), "The blocker list cannot be written.");
  expectThatTheOldListStays();

  ASSERT_EQ(::prlimit(companion->id(), RLIMIT_FSIZE, &limit, nullptr), 0);
  expectThatWorkGoesOn();
}

/// Gives up the rights of the administrator, whom permissions do not stop. The files are then
/// somebody else's.
constexpr uid_t nobody = 65534;

bool isAdministrator() { return ::geteuid() == 0; }

void becomeSomebody() {
  if (isAdministrator() && ::setuid(nobody) != 0) ::_exit(126);
}

void giveAway(const fs::path& path) {
  if (!isAdministrator()) return;
  ASSERT_EQ(::lchown(path.c_str(), nobody, nobody), 0) << path;
}

class ReadOnlyFolder : public Faults {
 protected:
  ReadOnlyFolder() {
    // The programs themselves are links to those of the build tree, and stay as they are.
    EXPECT_EQ(::chmod(home.folder.path().c_str(), 0755), 0);
    for (const auto* name : {"data", "control"}) {
      giveAway(home.folder / name);
      for (const auto& entry : fs::recursive_directory_iterator(home.folder / name)) {
        giveAway(entry.path());
      }
    }
  }
  ~ReadOnlyFolder() override { setWritable(true); }

  void setWritable(bool isWritable) {
    EXPECT_EQ(::chmod(home.container().c_str(), isWritable ? 0700 : 0555), 0);
  }
};

TEST_F(ReadOnlyFolder, keepsTheOldListAndWorkGoesOnWhenItMayBeWrittenAgain) {
  work(becomeSomebody);
  setWritable(false);
  extension.setPaused(true);
  extension.waitUntil([&] { return home.linesWith("Could not write") > 0; });
  extension.waitUntil([&] { return !extension.status("error").empty(); });
  EXPECT_EQ(extension.status("error"), "The blocker list cannot be written.");
  expectThatTheOldListStays();

  setWritable(true);
  extension.makeARoundTrip();
  EXPECT_TRUE(home.browserHasTheList());
  EXPECT_EQ(home.urlFilters().size(), 1U) << "the pause is not forgotten";
  EXPECT_EQ(extension.status("error"), "");
}

TEST_F(ReadOnlyFolder, isAnErrorForACompanionThatStartsAndNamesTheFile) {
  setWritable(false);
  companion = home.startCompanion(becomeSomebody);
  EXPECT_EQ(companion->exitStatus(), 1);
  EXPECT_EQ(home.linesWith("Companion.lock': Permission denied"), 1) << home.get(home.log());

  setWritable(true);
  work(becomeSomebody);
}

class MissingFolder : public Faults {
 protected:
  void takeAway() { fs::rename(home.container(), away); }
  void bringBack() {
    EXPECT_FALSE(fs::exists(home.container())) << "nobody has made another one";
    fs::rename(away, home.container());
  }

  /// It watches what is there, so it has noticed the absence when it watches less.
  std::ptrdiff_t watchedByCompanion() const {
    const fs::directory_iterator files("/proc/" + std::to_string(companion->id()) + "/fd");
    return std::count_if(begin(files), end(files), [](const auto& file) {
      std::error_code error;
      return fs::read_symlink(file.path(), error) == "anon_inode:inotify";
    });
  }
  void waitUntilItIsMissed() {
    const auto earlier = watchedByCompanion();
    takeAway();
    extension.waitUntil([&] { return watchedByCompanion() < earlier; });
  }

  fs::path away = home.folder / "away";
};

TEST_F(MissingFolder, costsNoChangeThatWasMadeMeanwhile) {
  // A process that has not used its folder yet would make a new one.
  EXPECT_TRUE(extension.block("earlier"));
  work();
  waitUntilItIsMissed();
  EXPECT_FALSE(extension.block("mine"));
  EXPECT_GT(home.linesWith("PackageFiles.lock': No such file or directory"), 0);
  extension.send();
  EXPECT_EQ(extension.answers, 0);
  EXPECT_FALSE(companion->hasEnded());
  bringBack();
  EXPECT_TRUE(extension.block("another"));
  expectThatWorkGoesOn();
  EXPECT_THAT(home.urlFilters(), Contains("another"));
}

TEST_F(MissingFolder, bringsItsNewContentsWithIt) {
  work();
  waitUntilItIsMissed();
  home.put(away / "CustomPackages.json",
           R"([{"id":"own","name":"Own","rules":[{"id":"r","name":"","content":)"
           R"({"trigger":{"url-filter":"mine"},"action":{"type":"block"}}}]}])");
  bringBack();
  extension.waitUntil([&] {
    const auto filters = home.urlFilters();
    return std::find(filters.begin(), filters.end(), "mine") != filters.end() &&
           home.browserHasTheList();
  });
  EXPECT_EQ(extension.answers, 0);
  expectThatWorkGoesOn();
}

TEST_F(MissingFolder, mayBeAwayForAMomentOnly) {
  work();
  for (int round = 0; round < 20; ++round) {
    takeAway();
    bringBack();
    if (round == 19) {
      EXPECT_TRUE(extension.block("mine"));
    }
    extension.makeARoundTrip();
  }
  expectThatWorkGoesOn();
}

}  // namespace
}  // namespace orvane::test
