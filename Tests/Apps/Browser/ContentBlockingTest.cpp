#include <fstream>
#include <iterator>

#include <gmock/gmock.h>

#include "Apps/Companion/CompanionStatus.h"
#include "Linux/Posix/ProgramFolder.h"
#include "SafariExtension/Reload/CompanionApplication.h"
#include "Tests/Apps/Browser/BrowserFixture.h"
#include "Tests/Support/ProgramRun.h"

namespace orvane::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Blocking : public BrowserTest {
 protected:
  std::filesystem::path settingsFile() const {
    return folder_->path() / "config/orvane/browser.ini";
  }
  std::filesystem::path lists() const {
    return folder_->path() / "data/orvane" / PersistentStore::applicationGroup / "CompiledLists";
  }
  std::string settingsText() const {
    std::ifstream file(settingsFile());
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void write(const std::filesystem::path& path, const std::string& text) {
    PosixFileSystem files;
    ASSERT_TRUE(files.createDirectories(path.parent_path()).has_value());
    ASSERT_TRUE(files.replace(path, text, std::nullopt).has_value());
  }
  /// Makes a list that blocks what matches the current one.
  void compile(const std::string& filter) {
    const auto list = folder_->path() / "list.json";
    write(list, R"([{"trigger":{"url-filter":")" + filter + R"("},"action":{"type":"block"}}])");
    std::filesystem::create_directories(lists());
    const auto run =
        runProgram({(programFolder() / "orvane-compile").string(), list.string(), lists().string()},
                   folder_->path());
    ASSERT_EQ(run.exitStatus, 0) << run.errors;
  }
  void damageList() {
    CompiledListDirectory directory(files_, lists());
    auto damaged = directory.current().value();
    damaged.checksum.front() = damaged.checksum.front() == '0' ? '1' : '0';
    ASSERT_TRUE(directory.setCurrent(damaged).has_value());
  }
  bool becomesInForce(bool isInForce) {
    return becomes([&] { return browser_->contentBlocking().facts().isListInForce == isInForce; });
  }
  bool isPictureLoaded() {
    proxy_->clearLog();
    front().reload();
    EXPECT_TRUE(becomes([&] { return !proxy_->log().empty() && !front().isLoading(); }));
    for (const auto& request : proxy_->log()) {
      if (request.path == "/advert.svg") return true;
    }
    return false;
  }
  void startAtPage() {
    serve("news.test", "/", "<img src=/advert.svg>");
    startAt("http://news.test/");
  }
  SettingsWindow& openSettings() {
    press("ctrl+comma");
    EXPECT_TRUE(becomes([&] { return browser_->settings() != nullptr; }));
    return *browser_->settings();
  }

  PosixFileSystem files_;
};

TEST_F(Blocking, startsTheCompanionSoThatThereIsAList) {
  start();
  EXPECT_EQ(
      workspace_.launches,
      (std::vector<RecordingWorkspace::Launch>{
          {companionIdentifier, NSWorkspaceLaunchWithoutActivation | NSWorkspaceLaunchAndHide}}));
}

TEST_F(Blocking, obeysAListThatComesWhileThePageIsOpen) {
  startAtPage();
  EXPECT_TRUE(isPictureLoaded());
  compile("advert");
  ASSERT_TRUE(becomesInForce(true));
  EXPECT_FALSE(isPictureLoaded());
}

TEST_F(Blocking, hasADamagedListMadeAgain) {
  startAtPage();
  compile("advert");
  ASSERT_TRUE(becomesInForce(true));
  const auto launches = workspace_.launches.size();
  damageList();
  EXPECT_TRUE(becomes([&] { return browser_->contentBlocking().facts().isListDamaged; }));
  EXPECT_EQ(workspace_.launches.size(), launches + 1);
  compile("advert");
  EXPECT_TRUE(becomes([&] { return !browser_->contentBlocking().facts().isListDamaged; }));
}

TEST_F(Blocking, isSwitchedInTheSettings) {
  compile("advert");
  startAtPage();
  ASSERT_TRUE(becomesInForce(true));
  EXPECT_FALSE(isPictureLoaded());
  auto& settings = openSettings();
  EXPECT_EQ(settings.title(), "Blocking Is On");
  const auto launches = workspace_.launches.size();

  settings.contentBlocker().activate();
  ASSERT_TRUE(becomesInForce(false));
  EXPECT_THAT(settingsText(), HasSubstr("=false"));
  EXPECT_TRUE(isPictureLoaded());
  EXPECT_TRUE(becomes([&] { return settings.title() == "Blocking Is Off"; }));
  EXPECT_EQ(workspace_.launches.size(), launches);

  settings.contentBlocker().activate();
  ASSERT_TRUE(becomesInForce(true));
  EXPECT_THAT(settingsText(), HasSubstr("=true"));
  EXPECT_FALSE(isPictureLoaded());
  EXPECT_EQ(workspace_.launches.size(), launches + 1) << "the companion makes the list";
}

TEST_F(Blocking, settingsFollowTheFile) {
  start();
  auto& settings = openSettings();
  EXPECT_TRUE(settings.contentBlocker().get_active());
  write(settingsFile(),
        std::string("[Content Blockers]\n") + Safari::contentBlockerIdentifier + "=false\n");
  EXPECT_TRUE(becomes([&] { return !settings.contentBlocker().get_active(); }));
  EXPECT_EQ(settings.title(), "Blocking Is Off");
  write(settingsFile(), "no key file");
  EXPECT_TRUE(becomes([&] { return settings.title() == "The Settings Cannot Be Read"; }));
}

TEST_F(Blocking, settingsThatCannotBeWrittenAreLeftAloneAndTheUserIsTold) {
  write(settingsFile(), "no key file");
  start();
  auto& settings = openSettings();
  EXPECT_EQ(settings.problem(), "");
  settings.contentBlocker().activate();
  EXPECT_TRUE(becomes([&] { return !settings.problem().empty(); }));
  EXPECT_TRUE(settings.contentBlocker().get_active());
  EXPECT_EQ(settingsText(), "no key file");
}

TEST_F(Blocking, settingsTellOfThePauseAndOfTheCompanionsTroubles) {
  compile("advert");
  start();
  ASSERT_TRUE(becomesInForce(true));
  auto& settings = openSettings();
  auto& defaults = browser_->extension().process().defaults();
  ASSERT_TRUE(defaults.setObject(true, Communication::pausedKey));
  EXPECT_TRUE(becomes([&] { return settings.title() == "Blocking Is Paused"; }));
  ASSERT_TRUE(defaults.setObject(
      PropertyListValue::Dictionary{{"attempt", "1"}, {"error", "The disk is full."}},
      companionStatusKey));
  EXPECT_TRUE(becomes([&] { return settings.title() == "The List Is Not Up to Date"; }));
}

}  // namespace
}  // namespace orvane::test
