#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Process/ExtensionProcess.h"
#include "Tests/Support/RecordingExtension.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class BrowserProcess : public ::testing::Test {
 protected:
  TestPlatform machine;
  RecordingExtensionHost browser{*machine.mainQueue, "https://www.example.com/"};
  std::unique_ptr<ExtensionProcess> process =
      std::make_unique<ExtensionProcess>(machine.platform, browser.host);
};

TEST_F(BrowserProcess, PostsAReport) {
  auto& popover = process->viewController();
  popover.sendReport(popover.sendButton);
  machine.time.runUntilIdle();
  EXPECT_THAT(machine.machine->cloud->publicRecords(), SizeIs(1));
}

TEST_F(BrowserProcess, TellsThePopoverWhyAReportCannotBePosted) {
  CKError failure;
  failure.localizedDescription = "The server cannot be reached.";
  machine.machine->cloud->failWith(failure);
  auto& popover = process->viewController();
  popover.sendReport(popover.sendButton);
  EXPECT_FALSE(popover.sendButton.isEnabled());
  machine.time.runUntilIdle();
  EXPECT_EQ(popover.reportStatus.stringValue(), "The server cannot be reached.");
  EXPECT_TRUE(popover.sendButton.isEnabled());
}

TEST_F(BrowserProcess, SavesItsRulesAndLeavesTheListToTheCompanion) {
  auto& popover = process->viewController();
  popover.setCurrentURL(NSURL::fromString("https://www.example.com/"));
  popover.whitelist();
  popover.whitelist();
  machine.time.runUntilIdle();
  EXPECT_FALSE(machine.fileManager.fileExists(std::string(TestPlatform::container) + "/tmp.json"));
  EXPECT_THAT(machine.contentBlockerManager.reloads, IsEmpty());
  EXPECT_TRUE(machine.fileManager.fileExists(std::string(TestPlatform::container) +
                                             "/ConfigurablePackages.json"));
}

TEST_F(BrowserProcess, EndsWhileAnswersAreOnTheirWay) {
  process->handler().toolbarItemClickedInWindow(*browser.window);
  static_cast<void>(process->handler().popoverViewController());
  process->viewController().sendReport(process->viewController().sendButton);
  process.reset();
  machine.time.runUntilIdle();
  EXPECT_THAT(browser.page->messages, IsEmpty());
}

}  // namespace
}  // namespace orvane::test
