#include "Tests/Apps/CompanionFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class CommandLine : public CompanionTest {};

TEST_F(CommandLine, packagesAreListedInCompileOrder) {
  put(container() / "CustomPackages.json", "[" + package("mine", rule("r", "x")) + "]");
  const auto run = orvane({"packages"});
  EXPECT_EQ(run.exitStatus, 0);
  std::istringstream stream(run.output);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), 14U);
  EXPECT_EQ(lines.front(), "KIND           ID                   STATE  RULES  OFF  NAME");
  EXPECT_THAT(lines[1], StartsWith("general        block-ads "));
  EXPECT_EQ(lines[12], "custom         mine                 on     1      0    Mine");
  EXPECT_EQ(lines[13], "configurable   whitelist            on     0      0    Whitelist");
}

TEST_F(CommandLine, packagesAsJSONHaveKindIdNameAndNumberOfRules) {
  put(container() / "CustomPackages.json", "[" + package("m\\u00e9\\\"", rule("r", "x")) + "]");
  const auto run = orvane({"packages", "--json"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_THAT(run.output, StartsWith("[{\"kind\":\"general\",\"id\":\"block-ads\",\"name\":"));
  EXPECT_THAT(run.output,
              HasSubstr("{\"kind\":\"custom\",\"id\":\"mé\\\"\",\"name\":\"Mine\",\"rules\":1,"
                        "\"enabled\":true,\"disabledRules\":0}"));
  EXPECT_TRUE(JSONDocument::parse(run.output));
}

TEST_F(CommandLine, namesCannotSendCommandsToTheTerminal) {
  put(container() / "CustomPackages.json", "[" + package("m\\u001b[2J\\u0000x", "") + "]");
  const auto run = orvane({"packages"});
  EXPECT_EQ(run.output.find('\x1B'), std::string::npos);
  EXPECT_THAT(run.output, HasSubstr("m?[2J?x"));
  EXPECT_THAT(orvane({"packages", "--json"}).output, HasSubstr(R"("m\u001B[2J\u0000x")"));
}

TEST_F(CommandLine, answerThatCannotBeWrittenIsAFailure) {
  put(work / "good.json", package("mine", rule("r", "x")));
  for (const std::string& command :
       std::vector<std::string>{"packages", "packages --json", "rebuild", "check good.json"}) {
    const auto run = runProgram({"sh", "-c", "exec '" + program + "' " + command + " >/dev/full"},
                                work.path(), environment());
    EXPECT_EQ(run.exitStatus, 1) << command;
    EXPECT_THAT(run.errors, HasSubstr("orvane: The answer cannot be written."));
  }
}

TEST_F(CommandLine, listingPackagesWritesNoBlockerList) {
  orvane({"packages"});
  EXPECT_FALSE(std::filesystem::exists(list()));
}

TEST_F(CommandLine, userWithoutAHomeIsTold) {
  const auto run = orvane({"packages"}, {{"HOME", ""}, {"XDG_DATA_HOME", ""}});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.errors, "orvane: There is no home folder; set HOME or XDG_DATA_HOME.\n");
}

TEST_F(CommandLine, dataFolderThatCannotBeMadeIsNamed) {
  put(work / "file", "");
  const auto run = orvane({"rebuild"}, {{"XDG_DATA_HOME", work / "file"}});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.errors, "orvane: The folder for Orvane's files cannot be made in '" +
                            (work / "file").string() + "'.\n");
}

TEST_F(CommandLine, stateFolderThatCannotBeMadeIsNoObstacle) {
  put(work / "file", "");
  EXPECT_EQ(orvane({"packages"}, {{"XDG_STATE_HOME", work / "file"}}).exitStatus, 0);
}

TEST_F(CommandLine, longLogBeginsANewOneAndKeepsTheOld) {
  put(home / "state/orvane/orvane.log", std::string(1'000'001, 'x'));
  orvane({"packages"});
  EXPECT_EQ(get(home / "state/orvane/orvane.log.old").size(), 1'000'001U);
  EXPECT_LT(diagnostics().size(), 2000U);
}

TEST_F(CommandLine, withoutAKnownCommandItSaysWhatToDo) {
  for (const auto& arguments : {std::vector<std::string>{"bogus"}, {"packages", "--bogus"}}) {
    const auto run = orvane(arguments);
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_THAT(run.errors, HasSubstr("Run with --help or --help-all for more information."));
  }
  EXPECT_THAT(orvane({"--help"}).output, HasSubstr("rebuild"));
  EXPECT_THAT(orvane({"--version"}).output, StartsWith("orvane 0."));
}

}  // namespace
}  // namespace orvane::test
