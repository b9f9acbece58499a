#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Process/ExtensionProcess.h"
#include "Tests/Support/RecordingExtension.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {

/// The extension in a browser that shows a page of www.example.com, on a machine where a companion
/// application runs as well.
class ExtensionTest : public ::testing::Test {
 protected:
  SafariExtensionHandler& handler() { return *handler_; }

  /// The rules of a configurable package as another process reads them.
  std::vector<Rule> rulesOnDisk(ConfigurablePackageType type) {
    for (auto& package : companion.store().readConfigurablePackages()) {
      if (package.id == rawValue(type)) return std::move(package.rules);
    }
    return {};
  }

  /// The browser's list is the companion's.
  void TearDown() override {
    EXPECT_FALSE(
        machine.fileManager.fileExists(std::string(TestPlatform::container) + "/tmp.json"));
    EXPECT_THAT(machine.contentBlockerManager.reloads, ::testing::IsEmpty());
  }

  void settle() { machine.time.runUntilIdle(); }
  /// What went to the two logs is forgotten.
  void clearLogs() {
    machine.standardOutput.take();
    machine.systemLog.take();
  }

  const RecordingWorkspace::Launch hiddenLaunch{"com.tessaly.BlockerMac", 0x00100200};

  std::shared_ptr<TestMachine> shared = std::make_shared<TestMachine>();
  TestPlatform machine{shared};
  TestPlatform companionMachine{shared};
  Process companion{companionMachine.platform};
  RecordingExtensionHost browser{*machine.mainQueue, "https://www.example.com/news?id=1"};
  Process process{machine.platform};

  /// The reports that were posted, and what answers the last one.
  std::vector<Report> reports;
  ReportCompletion answerReport;
  SafariExtensionViewController popover{machine.platform,
                                        browser.host,
                                        process.store(),
                                        process.defaults(),
                                        process.dataManager(),
                                        process.perSiteRules(),
                                        [this](const Report& report, ReportCompletion completion) {
                                          reports.push_back(report);
                                          answerReport = std::move(completion);
                                        }};
  std::unique_ptr<SafariExtensionHandler> handler_ = std::make_unique<SafariExtensionHandler>(
      machine.platform, browser.host, process.store(), process.defaults(), process.dataManager(),
      process.perSiteRules(), popover);
};

}  // namespace orvane::test
