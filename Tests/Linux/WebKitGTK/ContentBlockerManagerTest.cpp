#include <fstream>

#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

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
  void useHelper(const std::string& script) {
    const auto program = folder / "helper";
    std::ofstream(program) << "#!/bin/bash\n" << script << "\n";
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    manager.emplace(
        BrowserSettings(folder / "browser.ini"),
        ContentBlockerManager::Locations{program, folder / "tmp.json", folder / "lists"});
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
  std::optional<ContentBlockerManager> manager{
      std::in_place, BrowserSettings(folder / "browser.ini"),
      ContentBlockerManager::Locations{helper, folder / "tmp.json", folder / "lists"}};
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
  while (!somebodyWaitsForTheLock()) ASSERT_FALSE(answered);
  putList(listBlocking("new"));
  lock->reset();
  while (!answered) g_main_context_iteration(nullptr, TRUE);
  EXPECT_EQ(directory.current()->source, contentHash(listBlocking("new")));
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
  EXPECT_EQ(error->localizedDescription, "Invalid or unsupported regular expression.");
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
  manager.emplace(BrowserSettings(folder / "browser.ini"),
                  ContentBlockerManager::Locations{folder / "no-helper", folder / "tmp.json",
                                                   folder / "lists"});
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
  manager.emplace(BrowserSettings(folder / "browser.ini"),
                  ContentBlockerManager::Locations{helper, folder / "tmp.json", folder / "lists"});
  reload();
  EXPECT_FALSE(called);
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

TEST_F(ContentBlockerState, isAnErrorWhenTheSettingsCannotBeRead) {
  std::ofstream(folder / "browser.ini") << "garbage";
  EXPECT_EQ(state(), std::pair(std::optional<bool>(), true));
}

}  // namespace
}  // namespace orvane::test
