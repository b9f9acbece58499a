#include "Tests/Apps/CompanionFixture.h"

namespace orvane::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class CheckCommand : public CompanionTest {
 protected:
  ProgramRun check(const std::string& text, std::vector<std::string> options = {}) {
    put(work / "file.json", text);
    options.insert(options.begin(), {"check", "file.json"});
    return orvane(options);
  }
};

TEST_F(CheckCommand, soundFileHasAStatusOfSuccessAndASummary) {
  const auto run = check("[" + package("mine", rule("r", "x")) + "]");
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.output, "file.json: 1 rule in 1 package, 0 errors, 0 warnings\n");
}

TEST_F(CheckCommand, refusedRuleIsNamedWithItsPlaceAndTheReason) {
  const auto run = check("[" + package("mine", rule("a", "x") + ",\n " + rule("b", "a|b")) + "]");
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.output,
              StartsWith("file.json:2:2: error: package 1 (mine), rule 2 (b, My rule): "
                         "trigger.url-filter: The browser refuses the regular expression: "));
  EXPECT_THAT(run.output, EndsWith("file.json: 2 rules in 1 package, 1 error, 0 warnings\n"));
}

TEST_F(CheckCommand, warningsAloneAreASuccess) {
  const auto run =
      check(R"([{"trigger":{"url-filter":"x","if-top-url":["y"]},"action":{"type":"block"}}])");
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_THAT(run.output, StartsWith("file.json:1:2: warning: rule 1: trigger.if-top-url: "));
}

TEST_F(CheckCommand, byteOrderMarkIsRefusedInAListOnly) {
  const std::string mark = "\xEF\xBB\xBF";
  EXPECT_EQ(
      check(mark + R"([{"trigger":{"url-filter":"x"},"action":{"type":"block"}}])").exitStatus, 1);
  EXPECT_EQ(check(mark + package("mine", rule("r", "x"))).exitStatus, 0);
}

TEST_F(CheckCommand, findingsAsJSONHaveAllTheirParts) {
  const auto run = check(package("mine", rule("b", "a|b")), {"--json"});
  EXPECT_EQ(run.exitStatus, 1);
  const auto document = JSONDocument::parse(run.output);
  ASSERT_TRUE(document);
  const auto reports = document->root().array();
  ASSERT_EQ(reports->size(), 1U);
  const JSONValue report(reports->at(0).value());
  EXPECT_EQ(report["file"].stringValue(), "file.json");
  EXPECT_EQ(report["kind"].stringValue(), "package");
  const auto findings = report["findings"].array();
  ASSERT_EQ(findings->size(), 1U);
  const JSONValue finding(findings->at(0).value());
  EXPECT_EQ(finding["severity"].stringValue(), "error");
  EXPECT_EQ(finding["packageId"].stringValue(), "mine");
  EXPECT_EQ(finding["ruleId"].stringValue(), "b");
  EXPECT_EQ(finding["key"].stringValue(), "trigger.url-filter");
  EXPECT_NE(finding["reason"].stringValue(), "");
}

TEST_F(CheckCommand, severalFilesAreAllCheckedAndTheWorstDecides) {
  put(work / "good.json", package("mine", rule("r", "x")));
  put(work / "bad.json", "[]");
  const auto both = orvane({"check", "bad.json", "good.json"});
  EXPECT_EQ(both.exitStatus, 1);
  EXPECT_THAT(both.output, HasSubstr("good.json: 1 rule in 1 package, 0 errors, 0 warnings\n"));
  const auto missing = orvane({"check", "missing.json", "bad.json", "good.json"});
  EXPECT_EQ(missing.exitStatus, 2);
  EXPECT_EQ(missing.errors, "orvane: Cannot open 'missing.json': No such file or directory\n");
  EXPECT_EQ(missing.output, both.output);
}

TEST_F(CheckCommand, namesCannotSendCommandsToTheTerminal) {
  const auto run = check(R"([{"id":"p","rules":[{"id":"r\u001b[2J\n","content":{}}]}])");
  EXPECT_EQ(run.output.find('\x1B'), std::string::npos);
  EXPECT_THAT(run.output, HasSubstr("(r?[2J?)"));
}

TEST_F(CheckCommand, needsNoHomeAndTouchesNothingOfTheUsers) {
  put(work / "file.json", package("mine", rule("r", "x")));
  EXPECT_EQ(orvane({"check", "file.json"}, {{"HOME", ""}, {"XDG_DATA_HOME", ""}}).exitStatus, 0);
  EXPECT_TRUE(std::filesystem::is_empty(home.path()));
}

TEST_F(CheckCommand, preinstalledPackagesAreWithoutAnyFinding) {
  const auto run = orvane({"check", ORVANE_PROGRAMS "/../share/orvane/PreinstalledPackages.json"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_THAT(run.output, EndsWith(" rules in 7 packages, 0 errors, 0 warnings\n"));
}

}  // namespace
}  // namespace orvane::test
