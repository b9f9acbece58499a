#include <regex>
#include <set>

#include "Tests/Apps/ChangeFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

const std::filesystem::path project = ORVANE_SOURCE_DIR;

/// The manual and the completion know what the program knows.
class WrittenHelp : public ChangeTest {
 protected:
  /// The subcommands of a command, or of the program, and its options.
  struct Names {
    std::set<std::string> subcommands;
    std::set<std::string> options;
  };
  Names namesOf(std::vector<std::string> command) {
    command.emplace_back("--help");
    const auto help = orvane(command).output;
    Names names;
    std::istringstream stream(help);
    bool isAmongSubcommands = false;
    for (std::string line; std::getline(stream, line);) {
      if (line.ends_with(":")) isAmongSubcommands = line == "Subcommands:";
      std::smatch match;
      if (isAmongSubcommands && std::regex_search(line, match, std::regex("^  ([a-z-]+)"))) {
        names.subcommands.insert(match[1]);
      }
      for (auto rest = line; std::regex_search(rest, match, std::regex("^ .*?(--[a-z-]+)"));) {
        names.options.insert(match[1]);
        break;
      }
    }
    return names;
  }

  std::string manual() { return get(project / "Documentation/orvane.1"); }

  /// What the completion offers for the last of the words.
  std::vector<std::string> completions(std::vector<std::string> words) {
    words.insert(words.begin(), program);
    const auto last = std::to_string(words.size() - 1);
    std::vector<std::string> command{
        "bash",
        "-c",
        "source \"$1\"; COMP_CWORD=$2; shift 2; COMP_WORDS=(\"$@\"); _orvane; "
        "[ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\\n' \"${COMPREPLY[@]}\"",
        "bash",
        (project / "Resources/completions/orvane").string(),
        last};
    command.insert(command.end(), words.begin(), words.end());
    const auto run = runProgram(command, work.path(), environment());
    EXPECT_EQ(run.errors, "");
    std::vector<std::string> lines;
    std::istringstream stream(run.output);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
  }

  void expectKnown(const std::vector<std::string>& command) {
    const auto names = namesOf(command);
    std::string path;
    for (const auto& word : command) path += word + " ";
    EXPECT_THAT(names.options, Not(IsEmpty())) << path;
    for (const auto& option : names.options) {
      EXPECT_THAT(manual(), HasSubstr("Fl \\-" + option.substr(2))) << path;
      EXPECT_THAT(completionsAfter(command, "--"), ::testing::Contains(option)) << path;
    }
    for (const auto& subcommand : names.subcommands) {
      EXPECT_THAT(manual(), ::testing::AnyOf(HasSubstr(".Cm " + path + subcommand + "\n"),
                                             HasSubstr(".Cm " + path + subcommand + " ")))
          << path;
      EXPECT_THAT(completionsAfter(command, ""), ::testing::Contains(subcommand)) << path;
      auto deeper = command;
      deeper.push_back(subcommand);
      expectKnown(deeper);
    }
  }

 private:
  std::vector<std::string> completionsAfter(std::vector<std::string> command,
                                            const std::string& start) {
    command.push_back(start);
    return completions(command);
  }
};

TEST_F(WrittenHelp, helpIsUnderstood) {
  EXPECT_THAT(namesOf({}).subcommands, IsSupersetOf({"status", "whitelist", "check"}));
  EXPECT_THAT(namesOf({"hide", "add"}).options, IsSupersetOf({"--on", "--except", "--wait"}));
  EXPECT_THAT(namesOf({"https"}).subcommands, UnorderedElementsAre("add", "remove", "list"));
}

TEST_F(WrittenHelp, manualAndCompletionKnowEveryCommandAndOption) { expectKnown({}); }

TEST_F(WrittenHelp, manualIsFlawless) {
  const auto run = runProgram(
      {"groff", "-mandoc", "-Tutf8", "-ww", "-z", (project / "Documentation/orvane.1").string()},
      work.path());
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.errors, "");
}

TEST_F(WrittenHelp, completionOffersWhatBeginsLikeTheWord) {
  EXPECT_THAT(completions({"re"}), ElementsAre("resume", "rebuild"));
  EXPECT_THAT(completions({"whitelist", "r"}), ElementsAre("remove"));
  EXPECT_THAT(completions({"pause", "--w"}), ElementsAre("--wait"));
  EXPECT_THAT(completions({"pause", ""}), IsEmpty());
  EXPECT_THAT(completions({"hide", "add", "--on", ""}), IsEmpty());
}

TEST_F(WrittenHelp, completionKnowsPackagesAndTheirRules) {
  put(container() / "CustomPackages.json",
      "[" + package("my own", rule("first", "x") + "," + rule("$(reboot)", "y")) + "]");
  EXPECT_THAT(completions({"disable", "block-a"}),
              ElementsAre("block-ads", "block-annoyances", "block-adult"));
  EXPECT_THAT(completions({"enable", "--wait", "my"}), ElementsAre("my\\ own"));
  EXPECT_THAT(completions({"disable", "my\\ own", ""}), ElementsAre("first", "\\$\\(reboot\\)"));
  EXPECT_THAT(completions({"disable", "my\\ own", "--json", "f"}), ElementsAre("first"));
  EXPECT_THAT(completions({"disable", "nope", ""}), IsEmpty());
  EXPECT_THAT(completions({"disable", "my\\ own", "first", ""}), IsEmpty());
}

}  // namespace
}  // namespace orvane::test
