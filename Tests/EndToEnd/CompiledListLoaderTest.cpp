#include <chrono>
#include <fstream>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Apps/Demonstration/DemonstrationBrowser.h"
#include "Apps/Demonstration/LoopbackProxy.h"
#include "Apps/Demonstration/MainLoop.h"
#include "Apps/Demonstration/TemporaryFolder.h"
#include "Linux/GLib/GObjectPointer.h"
#include "Linux/GLib/MainLoopExecutor.h"
#include "Linux/Posix/PosixFileSystem.h"
#include "Linux/Posix/ProgramFolder.h"
#include "Linux/WebKitGTK/CompiledListLoader.h"
#include "Platform/Foundation/ContentHash.h"
#include "Tests/EndToEnd/VirtualDisplay.h"
#include "Tests/Support/ProgramRun.h"

namespace orvane {
namespace {

using namespace std::chrono_literals;

constexpr auto limit = 20s;
constexpr const char* contentBlocker = "test.blocker";
constexpr const char* blockApples =
    R"([{"trigger":{"url-filter":"apple\\.svg"},"action":{"type":"block"}}])";
constexpr const char* blockPears =
    R"([{"trigger":{"url-filter":"pear\\.svg"},"action":{"type":"block"}}])";

/// The machine's files, of which some cannot be read while a test wants it so.
class PartlyReadableFiles final : public FileSystem {
 public:
  std::optional<std::filesystem::path> unreadable;

  Expected<std::string> read(const std::filesystem::path& path) override {
    if (path == unreadable) {
      return tl::unexpected(NSError{NSPOSIXErrorDomain, EMFILE, "Too many open files"});
    }
    return files_.read(path);
  }
  Expected<void> replace(const std::filesystem::path& path, std::string_view contents,
                         std::optional<FileDate> modificationDate) override {
    return files_.replace(path, contents, modificationDate);
  }
  Expected<FileAttributes> attributes(const std::filesystem::path& path) override {
    return files_.attributes(path);
  }
  Expected<void> createDirectories(const std::filesystem::path& path) override {
    return files_.createDirectories(path);
  }
  Expected<void> rename(const std::filesystem::path& from,
                        const std::filesystem::path& to) override {
    return files_.rename(from, to);
  }
  Expected<std::shared_ptr<void>> lock(const std::filesystem::path& path) override {
    return files_.lock(path);
  }

 private:
  PosixFileSystem files_;
};

class CompiledListLoaderTest : public testing::Test {
 protected:
  std::filesystem::path settingsFile() const {
    return folder_->path() / settingsFolder_ / "browser.ini";
  }

  /// Lets the helper program make `json` the current list.
  void compile(const char* json) {
    const auto list = folder_->path() / "list.json";
    std::ofstream(list) << json;
    const auto run = test::runProgram(
        {(programFolder() / "orvane-compile").string(), list.string(), directory_.path().string()},
        folder_->path());
    ASSERT_EQ(run.exitStatus, 0) << run.errors;
  }

  void switchContentBlocker(bool on) {
    const auto text =
        std::string("[Content Blockers]\n") + contentBlocker + (on ? "=true\n" : "=false\n");
    ASSERT_TRUE(files_.createDirectories(settingsFile().parent_path()).has_value());
    ASSERT_TRUE(files_.replace(settingsFile(), text, std::nullopt).has_value());
  }

  std::filesystem::path currentFile() const {
    return directory_.path() / CompiledListDirectory::currentFileName;
  }

  void damageCurrentList() {
    const auto current = directory_.current();
    ASSERT_TRUE(current.has_value());
    const auto file =
        std::filesystem::directory_iterator(directory_.pathOf(current->folder))->path();
    auto bytes = files_.read(file);
    ASSERT_TRUE(bytes.has_value());
    bytes->back() = static_cast<char>(~bytes->back());
    std::ofstream(file, std::ios::binary) << *bytes;
  }

  void startLoader(WebKitUserContentManager* contentManager) {
    loader_ = std::make_unique<CompiledListLoader>(
        mainQueue_, directory_, BrowserSettings(settingsFile()), contentBlocker, contentManager,
        CompiledListLoader::Observer{
            .changed = [this](const auto& list) { changes_.push_back(list); },
            .damaged = [this] { ++damages_; },
        });
  }

  /// Whether the loader says for the `count`th time that what is in force has changed.
  bool waitForChange(std::size_t count) {
    return runMainLoopUntil([&] { return changes_.size() >= count; }, limit);
  }

  /// Time enough to hear of what has happened to the files.
  static void wait() {
    runMainLoopUntil([] { return false; }, 200ms);
  }

  bool waitForDamage() {
    return runMainLoopUntil([&] { return damages_ > 0; }, limit);
  }

  std::unique_ptr<TemporaryFolder> folder_ = TemporaryFolder::make().value();
  std::string settingsFolder_;
  PartlyReadableFiles files_;
  MainLoopExecutor mainQueue_;
  CompiledListDirectory directory_{files_, folder_->path() / "compiled"};
  std::vector<std::optional<CompiledList>> changes_;
  int damages_ = 0;
  std::unique_ptr<CompiledListLoader> loader_;
};

/// The loader itself needs no display.
class CompiledListLoaderAloneTest : public CompiledListLoaderTest {
 protected:
  GObjectPointer<WebKitUserContentManager> contentManager_{webkit_user_content_manager_new()};
};

TEST_F(CompiledListLoaderAloneTest, NoticesTheSwitchAlsoWhenThereWereNoSettingsAtTheStart) {
  settingsFolder_ = "settings/of/the/browser";
  compile(blockApples);
  startLoader(contentManager_.get());
  ASSERT_TRUE(waitForChange(1));
  switchContentBlocker(false);
  ASSERT_TRUE(waitForChange(2));
  EXPECT_EQ(changes_[1], std::nullopt);
}

TEST_F(CompiledListLoaderAloneTest, SettingsThatCannotBeReadDoNotSwitchItOff) {
  ASSERT_TRUE(files_.replace(settingsFile(), "garbage", std::nullopt).has_value());
  compile(blockApples);
  startLoader(contentManager_.get());
  ASSERT_TRUE(waitForChange(1));
  EXPECT_EQ(changes_[0], directory_.current());
}

TEST_F(CompiledListLoaderAloneTest, LoadsTheListThatIsCurrentAtTheStart) {
  compile(blockApples);
  startLoader(contentManager_.get());
  ASSERT_TRUE(waitForChange(1));
  EXPECT_THAT(changes_, testing::ElementsAre(directory_.current()));
  EXPECT_EQ(changes_[0]->source, contentHash(blockApples));
  EXPECT_EQ(damages_, 0);
}

TEST_F(CompiledListLoaderAloneTest, NoticesADamagedListAndLoadsItOnceItIsCompiledAgain) {
  compile(blockApples);
  damageCurrentList();
  startLoader(contentManager_.get());
  ASSERT_TRUE(waitForDamage());
  EXPECT_THAT(changes_, testing::IsEmpty());

  compile(blockApples);
  ASSERT_TRUE(waitForChange(1));
  EXPECT_THAT(changes_, testing::ElementsAre(directory_.current()));
  EXPECT_EQ(damages_, 1);
}

TEST_F(CompiledListLoaderAloneTest, LoadsNothingWhileTheContentBlockerIsOff) {
  switchContentBlocker(false);
  compile(blockApples);
  startLoader(contentManager_.get());
  compile(blockPears);
  switchContentBlocker(true);
  ASSERT_TRUE(waitForChange(1));
  EXPECT_THAT(changes_, testing::ElementsAre(directory_.current()));
  EXPECT_EQ(changes_[0]->source, contentHash(blockPears));
}

TEST_F(CompiledListLoaderAloneTest, TakesTheListAwayWhenThereIsNoneAnyMore) {
  compile(blockApples);
  startLoader(contentManager_.get());
  ASSERT_TRUE(waitForChange(1));
  std::filesystem::remove(currentFile());
  ASSERT_TRUE(waitForChange(2));
  EXPECT_EQ(changes_[1], std::nullopt);
}

TEST_F(CompiledListLoaderAloneTest, KeepsTheListWhileItCannotReadWhichIsCurrentAndLooksAgain) {
  compile(blockApples);
  startLoader(contentManager_.get());
  ASSERT_TRUE(waitForChange(1));
  files_.unreadable = currentFile();
  compile(blockPears);
  wait();
  EXPECT_EQ(changes_.size(), 1U);
  // Nothing happens to the file from now on.
  files_.unreadable.reset();
  ASSERT_TRUE(waitForChange(2));
  EXPECT_EQ(changes_[1], directory_.current());
  EXPECT_EQ(changes_[1]->source, contentHash(blockPears));
}

TEST_F(CompiledListLoaderAloneTest, KeepsTheListWhenWhatNamesItMakesNoSense) {
  compile(blockApples);
  startLoader(contentManager_.get());
  ASSERT_TRUE(waitForChange(1));
  ASSERT_TRUE(files_.replace(currentFile(), "garbage", std::nullopt).has_value());
  wait();
  EXPECT_EQ(changes_.size(), 1U);
  compile(blockPears);
  ASSERT_TRUE(waitForChange(2));
  EXPECT_EQ(changes_[1], directory_.current());
}

TEST_F(CompiledListLoaderAloneTest, TheSwitchWorksAlsoWhileItCannotReadWhichListIsCurrent) {
  compile(blockApples);
  startLoader(contentManager_.get());
  ASSERT_TRUE(waitForChange(1));
  files_.unreadable = currentFile();
  switchContentBlocker(false);
  ASSERT_TRUE(waitForChange(2));
  EXPECT_EQ(changes_[1], std::nullopt);
}

TEST_F(CompiledListLoaderAloneTest, NoticesAListInAFolderThatWentAndCameBack) {
  compile(blockApples);
  startLoader(contentManager_.get());
  ASSERT_TRUE(waitForChange(1));
  std::filesystem::rename(directory_.path(), folder_->path() / "away");
  wait();
  EXPECT_EQ(changes_.size(), 1U) << "the last good list stays in force";
  compile(blockPears);
  ASSERT_TRUE(waitForChange(2));
  EXPECT_EQ(changes_[1], directory_.current());
}

TEST_F(CompiledListLoaderAloneTest, NoticesTheSwitchInAFolderThatWentAndCameBack) {
  settingsFolder_ = "settings";
  switchContentBlocker(true);
  compile(blockApples);
  startLoader(contentManager_.get());
  ASSERT_TRUE(waitForChange(1));
  std::filesystem::rename(folder_->path() / settingsFolder_, folder_->path() / "away");
  switchContentBlocker(false);
  ASSERT_TRUE(waitForChange(2));
  EXPECT_EQ(changes_[1], std::nullopt);
}

/// A page with two pictures in a real view; the proxy's log tells what the view may load.
class CompiledListLoaderInViewTest : public CompiledListLoaderTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(VirtualDisplay::ofThisProcess().isReady());
    proxy_ = LoopbackProxy::start().value();
    proxy_->serve("fruit.test", "/",
                  {.contentType = "text/html",
                   .body = "<img src=/apple.svg><img src=/pear.svg>",
                   .headers = {}});
    for (const char* path : {"/apple.svg", "/pear.svg"}) {
      proxy_->serve("fruit.test", path,
                    {.contentType = "image/svg+xml",
                     .body = "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>",
                     .headers = {}});
    }
    browser_ = std::make_unique<DemonstrationBrowser>(proxy_->url(), limit);
  }

  std::set<std::string> picturesOnThePage() {
    proxy_->clearLog();
    const auto opened = browser_->open("http://fruit.test/");
    EXPECT_TRUE(opened.has_value()) << opened.error().localizedDescription;
    std::set<std::string> pictures;
    for (const auto& request : proxy_->log()) pictures.insert(request.path);
    EXPECT_EQ(pictures.erase("/"), 1U);
    return pictures;
  }

  std::unique_ptr<LoopbackProxy> proxy_;
  std::unique_ptr<DemonstrationBrowser> browser_;
};

TEST_F(CompiledListLoaderInViewTest, SwapsListsLive) {
  startLoader(browser_->contentManager());
  EXPECT_THAT(picturesOnThePage(), testing::ElementsAre("/apple.svg", "/pear.svg"));
  compile(blockApples);
  ASSERT_TRUE(waitForChange(1));
  EXPECT_THAT(picturesOnThePage(), testing::ElementsAre("/pear.svg"));
  compile(blockPears);
  ASSERT_TRUE(waitForChange(2));
  EXPECT_THAT(picturesOnThePage(), testing::ElementsAre("/apple.svg"));
}

TEST_F(CompiledListLoaderInViewTest, TakesTheListAwayWhileTheContentBlockerIsOff) {
  compile(blockApples);
  startLoader(browser_->contentManager());
  ASSERT_TRUE(waitForChange(1));
  EXPECT_THAT(picturesOnThePage(), testing::ElementsAre("/pear.svg"));
  switchContentBlocker(false);
  ASSERT_TRUE(waitForChange(2));
  EXPECT_EQ(changes_[1], std::nullopt);
  EXPECT_THAT(picturesOnThePage(), testing::ElementsAre("/apple.svg", "/pear.svg"));
  switchContentBlocker(true);
  ASSERT_TRUE(waitForChange(3));
  EXPECT_THAT(picturesOnThePage(), testing::ElementsAre("/pear.svg"));
}

TEST_F(CompiledListLoaderInViewTest, KeepsTheListInForceWhenANewerOneIsDamaged) {
  compile(blockApples);
  startLoader(browser_->contentManager());
  ASSERT_TRUE(waitForChange(1));
  const auto good = directory_.current().value();
  auto damaged = good;
  damaged.source = contentHash(blockPears);
  damaged.folder = directory_.newFolderFor(damaged.source);
  std::filesystem::copy(directory_.pathOf(good.folder), directory_.pathOf(damaged.folder),
                        std::filesystem::copy_options::recursive);
  damaged.checksum.front() = damaged.checksum.front() == '0' ? '1' : '0';
  ASSERT_TRUE(directory_.setCurrent(damaged).has_value());
  ASSERT_TRUE(waitForDamage());
  EXPECT_EQ(changes_.size(), 1U);
  EXPECT_THAT(picturesOnThePage(), testing::ElementsAre("/pear.svg"));
}

}  // namespace
}  // namespace orvane
