#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SafariExtension/Extension/Reporter.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

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

Report whiteCrossword() {
  return {.type = ReportType::emptySpace,
          .url = *NSURL::fromString("https://example.com/crossword?day=1"),
          .comment = "White",
          .device = "Mac of Mia",
          .appVersion = "3.1 (1024)",
          .osVersion = "macOS 12.0.0"};
}

TEST(RecordOfAReport, HasTheFieldsOfTheReport) {
  const auto record = whiteCrossword().cloudRecord("name");
  EXPECT_EQ(record.recordType(), "Report");
  EXPECT_EQ(record.recordID().recordName, "name");
  EXPECT_FALSE(record.recordChangeTag().has_value());
  EXPECT_EQ(record.fields(),
            (CKRecord::Fields{{"type", std::string("emptySpace")},
                              {"url", std::string("https://example.com/crossword?day=1")},
                              {"comment", std::string("White")},
                              {"device", std::string("Mac of Mia")},
                              {"appVersion", std::string("3.1 (1024)")},
                              {"osVersion", std::string("macOS 12.0.0")}}));
}

TEST(RecordOfAReport, HasNoCommentWithoutOneAndTheOtherFieldsAlways) {
  auto report = whiteCrossword();
  report.comment = std::nullopt;
  report.appVersion = "";
  const auto record = report.cloudRecord("name");
  EXPECT_EQ(record.value("comment"), std::nullopt);
  EXPECT_EQ(record.fields().size(), 5U);
  EXPECT_EQ(record.value("appVersion"), CKRecord::Value(std::string()));
}

class PostingAReport : public ::testing::Test {
 protected:
  struct Answer {
    bool success;
    std::optional<NSError> error;
    bool operator==(const Answer&) const = default;
  };

  void post() {
    reporter.post(whiteCrossword(), [this](bool success, const std::optional<NSError>& error) {
      answers.push_back({success, error});
    });
  }

  TestPlatform machine;
  Reporter reporter{machine.platform};
  std::vector<Answer> answers;
};

TEST_F(PostingAReport, AddsItsRecordToThePublicDatabaseAndSaysSo) {
  post();
  EXPECT_THAT(answers, IsEmpty()) << "nothing is waited for";
  machine.time.runUntilIdle();
  EXPECT_THAT(answers, ElementsAre(Answer{true, std::nullopt}));
  EXPECT_THAT(machine.standardOutput.take(), ElementsAre("Successfuly posted report."));
  EXPECT_THAT(machine.machine->cloud->publicRecords(),
              ElementsAre(whiteCrossword().cloudRecord("UUID-1")));
}

TEST_F(PostingAReport, GivesEachReportANameOfItsOwn) {
  post();
  post();
  machine.time.runUntilIdle();
  EXPECT_THAT(machine.machine->cloud->publicRecords(), SizeIs(2));
}

TEST_F(PostingAReport, PassesAnErrorOnAndKeepsNothing) {
  CKError failure;
  failure.code = CKErrorCode::networkFailure;
  failure.localizedDescription = "The server cannot be reached.";
  failure.retryAfter = 5;
  machine.machine->cloud->failWith(failure);
  post();
  machine.time.advance(std::chrono::hours(1));
  EXPECT_THAT(answers, ElementsAre(Answer{
                           false, NSError{CKErrorDomain, 4, "The server cannot be reached."}}));
  EXPECT_THAT(machine.standardOutput.take(),
              ElementsAre("Error reporting: The server cannot be reached."));
  EXPECT_THAT(machine.machine->cloud->publicRecords(), IsEmpty());
}

}  // namespace
}  // namespace orvane::test
