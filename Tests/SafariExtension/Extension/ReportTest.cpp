#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SafariExtension/Extension/Reporter.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;

TEST(ReportTypes, AreNamedAsRecordsNameThemInTheOrderOfTheForm) {
  std::vector<std::string_view> names;
  for (const auto& [type, name] : RawValues<ReportType>::table) {
    EXPECT_EQ(static_cast<std::size_t>(type), names.size());
    EXPECT_EQ(fromRawValue<ReportType>(name), type);
    names.push_back(name);
  }
  EXPECT_THAT(names,
              ElementsAre("brokenSite", "somethingNotBlocked", "emptySpace", "otherProblem"));
}

TEST(ReportTypes, AreNothingForAnUnknownName) {
  EXPECT_EQ(fromRawValue<ReportType>("brokensite"), std::nullopt);
  EXPECT_EQ(fromRawValue<ReportType>(""), std::nullopt);
}

TEST(ReportTypes, CanBeHashed) {
  EXPECT_EQ(std::hash<ReportType>()(ReportType::emptySpace),
            std::hash<ReportType>()(*fromRawValue<ReportType>("emptySpace")));
}

class ApplicationVersion : public ::testing::Test {
 protected:
  std::string version(NSBundle::InfoDictionary dictionary) {
    return applicationVersion(
        NSBundle(machine.fileManager, TestPlatform::bundle, std::move(dictionary)));
  }
  TestPlatform machine;
};

TEST_F(ApplicationVersion, IsTheVersionAndTheBuild) {
  EXPECT_EQ(applicationVersion(machine.mainBundle), "3.1 (1024)");
}

TEST_F(ApplicationVersion, IsEmptyUnlessTheBundleSaysBothAsStrings) {
  using Dictionary = PropertyListValue::Dictionary;
  EXPECT_EQ(version(std::nullopt), "");
  EXPECT_EQ(version(Dictionary{}), "");
  EXPECT_EQ(version(Dictionary{{"CFBundleShortVersionString", "3.1"}}), "");
  EXPECT_EQ(version(Dictionary{{"CFBundleVersion", "1024"}}), "");
  EXPECT_EQ(version(Dictionary{{"CFBundleShortVersionString", "3.1"},
                               {"CFBundleVersion", std::int64_t{1024}}}),
            "");
}

TEST(PostingAReport, FailsOnTheMainQueueAndSaysSo) {
  TestPlatform machine;
  Reporter reporter(machine.platform);
  std::optional<NSError> failure;
  int answers = 0;
  reporter.post({.type = ReportType::emptySpace,
                 .url = *NSURL::fromString("https://example.com/"),
                 .comment = std::nullopt,
                 .device = "",
                 .appVersion = "",
                 .osVersion = ""},
                [&](bool success, const std::optional<NSError>& error) {
                  EXPECT_FALSE(success);
                  failure = error;
                  ++answers;
                });
  EXPECT_EQ(answers, 0);
  machine.time.runUntilIdle();
  EXPECT_EQ(answers, 1);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->localizedDescription,
            "Reports cannot be sent yet. Please write us an e-mail instead.");
  EXPECT_THAT(machine.standardOutput.take(),
              ElementsAre("Error reporting: " + failure->localizedDescription));
}

}  // namespace
}  // namespace orvane::test
