#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Linux/GLib/MainLoopExecutor.h"
#include "Linux/Posix/PosixFileSystem.h"
#include "Linux/WebKitGTK/CompiledListDirectory.h"
#include "Linux/WebKitGTK/ContentBlockerManager.h"
#include "Platform/Foundation/ContentHash.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

constexpr const char* identifier = "com.example.blocker";

std::string listBlocking(const std::string& urlFilter) {
  return R"([{"trigger":{"url-filter":")" + urlFilter + R"("},"action":{"type":"block"}}])";
}

/// The manager with the real helper, on a folder of its own.
class ContentBlocker : public ::testing::Test {
 protected:
  ContentBlocker() { makeManager(helper); }

  void putList(const std::string& json) { std::ofstream(folder / "tmp.json") << json; }

  /// Reloads and waits for the answer.
  std::optional<NSError> reload() {
    std::optional<std::optional<NSError>> answer;
    manager->reloadContentBlocker(identifier, [&](std::optional<NSError> e) { answer = e; });
    EXPECT_FALSE(answer) << "the completion must not be called inside the call";
    while (!answer) g_main_context_iteration(nullptr, TRUE);
    return *answer;
  }

  /// Takes a shell script for the helper.
  void useHelper(const std::string& script,
                 std::chrono::seconds limit = ContentBlockerManager::defaultLimit) {
    const auto program = folder / "helper";
    std::ofstream(program) << "#!/bin/bash\n" << script << "\n";
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    makeManager(program, limit);
  }

  void makeManager(const std::filesystem::path& program,
                   std::chrono::seconds limit = ContentBlockerManager::defaultLimit) {
    manager.emplace(
        mainQueue, BrowserSettings(folder / "browser.ini"),
        ContentBlockerManager::Locations{program, folder / "tmp.json", folder / "lists"}, limit);
  }

  /// A pipe with a name, for helpers that are to wait.
  std::string fifo(const char* name) {
    EXPECT_EQ(::mkfifo((folder / name).c_str(), S_IRUSR | S_IWUSR), 0);
    return (folder / name).string();
  }

  /// The process of a helper whose script begins with `notingItsProcess`.
  std::optional<pid_t> notedProcess() {
    pid_t process = 0;
    std::ifstream(folder / "process") >> process;
    return process == 0 ? std::nullopt : std::optional(process);
  }

  /// GLib collects it on a thread of its own.
  static void waitForTheEndOf(pid_t process) {
    while (::kill(process, 0) == 0) std::this_thread::yield();
    EXPECT_EQ(errno, ESRCH);
  }

  /// Whether a process is blocked until the lock of the compiled lists is free.
  bool somebodyWaitsForTheLock() {
    struct stat status {};
    EXPECT_EQ(::stat((directory.path() / "lock").c_str(), &status), 0);
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
      const bool isOurs = line.find(":" + std::to_string(status.st_ino) + " ") != line.npos;
      if (isOurs && line.find("-> FLOCK") != line.npos) return true;
    }
    return false;
  }

  std::filesystem::path compiledFile() {
    return std::filesystem::directory_iterator(directory.pathOf(directory.current()->folder))
        ->path();
  }

  TemporaryDirectory folder;
  PosixFileSystem files;
  CompiledListDirectory directory{files, folder / "lists"};
  std::filesystem::path helper = std::filesystem::path(ORVANE_PROGRAMS) / "orvane-compile";
  std::string notingItsProcess = "echo $$ >" + (folder / "process").string() + "; ";
  MainLoopExecutor mainQueue;
  std::optional<ContentBlockerManager> manager;
};

TEST_F(ContentBlocker, reloadCompilesTheListAndMakesItCurrent) {
  putList(listBlocking("ads"));
  EXPECT_EQ(reload(), std::nullopt);
  ASSERT_TRUE(directory.current());
  EXPECT_EQ(directory.current()->source, contentHash(listBlocking("ads")));
  EXPECT_EQ(directory.current()->checksum, directory.checksumOf(directory.current()->folder));
}

TEST_F(ContentBlocker, unchangedListIsNotCompiledAgain) {
  putList(listBlocking("ads"));
  reload();
  const auto compiled = std::filesystem::last_write_time(compiledFile());
  const auto current = std::filesystem::last_write_time(folder / "lists/current");
  EXPECT_EQ(reload(), std::nullopt);
  EXPECT_EQ(std::filesystem::last_write_time(compiledFile()), compiled);
  EXPECT_EQ(std::filesystem::last_write_time(folder / "lists/current"), current);
}

TEST_F(ContentBlocker, damagedCompiledListIsNoticedAndCompiledAgain) {
  putList(listBlocking("ads"));
  reload();
  const auto good = files.read(compiledFile());
  auto damaged = *good;
  damaged.back() = static_cast<char>(damaged.back() ^ 1);
  std::ofstream(compiledFile(), std::ios::binary) << damaged;

  EXPECT_EQ(reload(), std::nullopt);
  EXPECT_EQ(files.read(compiledFile()), good);

  std::filesystem::remove(compiledFile());
  EXPECT_EQ(reload(), std::nullopt);
  EXPECT_EQ(files.read(compiledFile()), good);
}

TEST_F(ContentBlocker, listOfAnotherBrowserVersionIsCompiledAgain) {
  putList(listBlocking("ads"));
  reload();
  const auto ours = *directory.current();
  auto older = ours;
  older.compiler = "1.0.0";
  ASSERT_TRUE(directory.setCurrent(older));
  EXPECT_EQ(reload(), std::nullopt);
  EXPECT_EQ(directory.current()->compiler, ours.compiler);
}

TEST_F(ContentBlocker, failureToCompileTheCurrentListAgainKeepsIt) {
  putList(listBlocking("ads"));
  reload();
  auto older = *directory.current();
  older.compiler = "1.0.0";
  ASSERT_TRUE(directory.setCurrent(older));
  useHelper("ulimit -f 0; trap '' XFSZ; exec " + helper.string() + " \"$@\"");
  EXPECT_TRUE(reload());
  EXPECT_EQ(directory.current(), older);
  EXPECT_EQ(directory.checksumOf(older.folder), older.checksum);
}

TEST_F(ContentBlocker, remainsOfAKilledCompileAreNeitherUsedNorKept) {
  putList(listBlocking("ads"));
  const auto remains = directory.pathOf(contentHash(listBlocking("ads")) + ".1");
  std::filesystem::create_directories(remains);
  std::ofstream(remains / "ContentRuleList-orvane") << "half a lis";
  EXPECT_EQ(reload(), std::nullopt);
  EXPECT_EQ(directory.checksumOf(directory.current()->folder), directory.current()->checksum);
  EXPECT_FALSE(std::filesystem::exists(remains));
}

TEST_F(ContentBlocker, helperWaitsForTheLockAndThenReadsTheNewestList) {
  ASSERT_TRUE(directory.create());
  auto lock = directory.lock();
  ASSERT_TRUE(lock);
  putList(listBlocking("old"));
  bool answered = false;
  manager->reloadContentBlocker(identifier, [&](const auto& error) {
    EXPECT_FALSE(error);
    answered = true;
  });
  while (!somebodyWaitsForTheLock()) {
    g_main_context_iteration(nullptr, FALSE);
    ASSERT_FALSE(answered);
  }
  putList(listBlocking("new"));
  lock->reset();
  while (!answered) g_main_context_iteration(nullptr, TRUE);
  EXPECT_EQ(directory.current()->source, contentHash(listBlocking("new")));
}

TEST_F(ContentBlocker, refusalNamesTheEntryAndTheReason) {
  putList(R"([{"trigger":{"url-filter":"ads"},"action":{"type":"block"}},)"
          R"({"trigger":{"url-filter":"(ads"},"action":{"type":"block"}}])");
  const auto error = reload();
  ASSERT_TRUE(error);
  EXPECT_THAT(error->localizedDescription,
              ::testing::HasSubstr("\nEntry 2 of the list: trigger.url-filter: "));
  EXPECT_THAT(error->localizedDescription, ::testing::Not(::testing::HasSubstr("Entry 1 ")));
}

TEST_F(ContentBlocker, exitStatusOfTheHelperDecidesWhateverItSays) {
  useHelper("printf 'noise \\377' >&2");
  EXPECT_EQ(reload(), std::nullopt);
  useHelper("echo 'No room.'; echo noise >&2; exit 1");
  EXPECT_EQ(reload()->localizedDescription, "No room.");
  useHelper("echo 'cannot load a library' >&2; exit 127");
  EXPECT_EQ(reload()->localizedDescription, "cannot load a library");
  useHelper("kill -9 $$");
  EXPECT_EQ(reload()->localizedDescription, "The compiler of blocker lists ended without a word.");
}

TEST_F(ContentBlocker, listThatTheBrowserRefusesLeavesTheLastGoodOneInForce) {
  putList(listBlocking("ads"));
  reload();
  const auto good = directory.current();

  putList(listBlocking("a|b"));
  const auto error = reload();
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, "WebKitUserContentFilterError");
  EXPECT_THAT(error->localizedDescription,
              ::testing::StartsWith("Invalid or unsupported regular expression.\n"));
  EXPECT_EQ(directory.current(), good);
  EXPECT_EQ(directory.checksumOf(good->folder), good->checksum);

  putList("[]");
  EXPECT_EQ(reload()->localizedDescription, "Empty extension.");
  EXPECT_EQ(directory.current(), good);
}

TEST_F(ContentBlocker, missingListIsAnError) {
  const auto error = reload();
  ASSERT_TRUE(error);
  EXPECT_THAT(error->localizedDescription, ::testing::HasSubstr("No such file or directory"));
  EXPECT_EQ(directory.current(), std::nullopt);
}

TEST_F(ContentBlocker, missingHelperIsAnError) {
  makeManager(folder / "no-helper");
  ASSERT_TRUE(reload());
}

TEST_F(ContentBlocker, newListTakesTheOldOnesPlaceAndOnlyThePreviousOneIsKept) {
  for (const auto* urlFilter : {"one", "two", "three"}) {
    putList(listBlocking(urlFilter));
    EXPECT_EQ(reload(), std::nullopt);
  }
  const auto path = [&](const char* urlFilter) {
    return directory.pathOf(contentHash(listBlocking(urlFilter)) + ".1");
  };
  EXPECT_EQ(directory.pathOf(directory.current()->folder), path("three"));
  EXPECT_TRUE(std::filesystem::exists(path("two")));
  EXPECT_FALSE(std::filesystem::exists(path("one")));
}

TEST_F(ContentBlocker, reloadsAtTheSameTimeEndWithTheNewestList) {
  int answers = 0;
  const auto count = [&](const std::optional<NSError>& error) {
    EXPECT_FALSE(error);
    ++answers;
  };
  for (const auto* urlFilter : {"one", "two", "three"}) {
    // Whole at every moment, as the store writes it.
    ASSERT_TRUE(files.replace(folder / "tmp.json", listBlocking(urlFilter), std::nullopt));
    manager->reloadContentBlocker(identifier, count);
  }
  while (answers < 3) g_main_context_iteration(nullptr, TRUE);
  EXPECT_EQ(directory.current()->source, contentHash(listBlocking("three")));
}

TEST_F(ContentBlocker, completionsAreNotCalledOnceTheManagerIsGone) {
  putList(listBlocking("ads"));
  bool called = false;
  manager->reloadContentBlocker(identifier, [&](const auto&) { called = true; });
  manager->getStateOfContentBlocker(identifier, [&](auto, const auto&) { called = true; });
  manager.reset();

  // The answers of another manager come after those of the first.
  makeManager(helper);
  reload();
  EXPECT_FALSE(called);
}

TEST_F(ContentBlocker, completionIsNotCalledWhenTheManagerEndsWhileTheHelperRuns) {
  useHelper(notingItsProcess + "read <" + fifo("goes-on"));
  bool called = false;
  manager->reloadContentBlocker(identifier, [&](const auto&) { called = true; });
  while (!notedProcess()) g_main_context_iteration(nullptr, FALSE);
  manager.reset();
  std::ofstream(folder / "goes-on") << "on\n";
  waitForTheEndOf(*notedProcess());

  putList(listBlocking("ads"));
  makeManager(helper);
  EXPECT_EQ(reload(), std::nullopt);
  EXPECT_FALSE(called);
}

TEST_F(ContentBlocker, helperThatHangsIsKilledAndReported) {
  // What it has started holds its output open, and is not killed.
  useHelper(notingItsProcess + "cat <" + fifo("never") + "; true", std::chrono::seconds(1));
  const auto error = reload();
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, "WebKitUserContentFilterError");
  EXPECT_EQ(error->localizedDescription,
            "The compiler of blocker lists did not finish within 1 seconds.");
  ASSERT_TRUE(notedProcess());
  waitForTheEndOf(*notedProcess());
  std::ofstream(folder / "never");
}

TEST_F(ContentBlocker, nextReloadSucceedsAfterOneThatWasKilled) {
  useHelper("read <" + fifo("never"), std::chrono::seconds(1));
  EXPECT_TRUE(reload());
  putList(listBlocking("ads"));
  makeManager(helper);
  EXPECT_EQ(reload(), std::nullopt);
}

TEST_F(ContentBlocker, reloadOnAnotherThreadIsAnsweredOnTheMainQueue) {
  putList(listBlocking("ads"));
  std::optional<std::optional<NSError>> answer;
  std::thread::id answeredOn;
  std::thread([&] {
    manager->reloadContentBlocker(identifier, [&](std::optional<NSError> error) {
      answeredOn = std::this_thread::get_id();
      answer = std::move(error);
    });
  }).join();
  EXPECT_FALSE(answer);
  while (!answer) g_main_context_iteration(nullptr, TRUE);
  EXPECT_EQ(*answer, std::nullopt);
  EXPECT_EQ(answeredOn, std::this_thread::get_id());
  EXPECT_TRUE(directory.current());
}

class ContentBlockerState : public ContentBlocker {
 protected:
  std::pair<std::optional<bool>, bool> state() {
    std::optional<std::pair<std::optional<bool>, bool>> answer;
    manager->getStateOfContentBlocker(identifier, [&](std::optional<SFContentBlockerState> state,
                                                      const std::optional<NSError>& error) {
      answer.emplace(state ? std::optional(state->isEnabled) : std::nullopt, error.has_value());
    });
    EXPECT_FALSE(answer) << "the completion must not be called inside the call";
    while (!answer) g_main_context_iteration(nullptr, TRUE);
    return *answer;
  }
};

TEST_F(ContentBlockerState, isEnabledUntilTheUserSaysOtherwise) {
  EXPECT_EQ(state(), std::pair(std::optional(true), false));
  std::ofstream(folder / "browser.ini") << "[Content Blockers]\ncom.example.blocker=false\n";
  EXPECT_EQ(state(), std::pair(std::optional(false), false));
}

TEST_F(ContentBlockerState, isToldOnTheMainQueueWhoeverAsks) {
  std::optional<bool> isEnabled;
  std::thread::id answeredOn;
  std::thread([&] {
    manager->getStateOfContentBlocker(identifier,
                                      [&](std::optional<SFContentBlockerState> state, const auto&) {
                                        answeredOn = std::this_thread::get_id();
                                        isEnabled = state && state->isEnabled;
                                      });
  }).join();
  EXPECT_FALSE(isEnabled);
  while (!isEnabled) g_main_context_iteration(nullptr, TRUE);
  EXPECT_EQ(isEnabled, true);
  EXPECT_EQ(answeredOn, std::this_thread::get_id());
}

TEST_F(ContentBlockerState, isAnErrorWhenTheSettingsCannotBeRead) {
  std::ofstream(folder / "browser.ini") << "garbage";
  EXPECT_EQ(state(), std::pair(std::optional<bool>(), true));
}

}  // namespace
}  // namespace orvane::test
