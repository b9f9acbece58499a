#include <cerrno>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Linux/GLib/Workspace.h"
#include "Tests/Support/MainLoop.h"
#include "Tests/Support/RecordingOutput.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Launching : public ::testing::Test {
 protected:
  Launching() {
    // The field before the session in /proc/PID/stat is the process group.
    std::ofstream(program) << "#!/bin/sh\n"
                              "read -r number name state parent group session rest </proc/$$/stat\n"
                              "echo \"arguments: $*\"\n"
                              "echo 'complaint' >&2\n"
                              "echo \"process $$ session $session folder $(pwd)\"\n"
                              "echo done\n";
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  }

  std::string log() {
    std::ifstream stream(state / "orvane/orvane.log");
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  std::string launched(NSWorkspaceLaunchOptions options) {
    EXPECT_TRUE(workspace.launchApp("com.example.App", options));
    loop.lookUntil([&] { return log().ends_with("done\n"); });
    return log();
  }

  TemporaryDirectory folder;
  std::filesystem::path program = folder / "program";
  std::filesystem::path state = folder / "state";
  MainLoop loop;
  RecordingOutput systemLog;
  Workspace workspace{
      {{"com.example.App", program}, {"com.example.Gone", folder / "gone"}}, state, systemLog};
};

TEST_F(Launching, startsTheProgramInFrontWithoutArguments) {
  EXPECT_THAT(launched(0), HasSubstr("arguments: \n"));
  EXPECT_THAT(systemLog.lines, IsEmpty());
}

TEST_F(Launching, tellsAProgramThatIsNotToComeToTheFront) {
  EXPECT_THAT(launched(NSWorkspaceLaunchWithoutActivation), HasSubstr("arguments: --hidden\n"));
}

TEST_F(Launching, tellsAProgramThatIsToHide) {
  EXPECT_THAT(launched(NSWorkspaceLaunchAndHide), HasSubstr("arguments: --hidden\n"));
}

TEST_F(Launching, keepsTheOutputAndTheComplaintsInTheDiagnosticLog) {
  EXPECT_THAT(launched(0), HasSubstr("complaint\n"));
}

TEST_F(Launching, detachesTheProgram) {
  std::istringstream words(launched(0));
  std::string word;
  while (word != "process") ASSERT_TRUE(words >> word);
  std::string number;
  std::string session;
  std::string pwd;
  words >> number >> word >> session >> word >> pwd;
  EXPECT_EQ(session, number) << "it leads a session of its own";
  EXPECT_EQ(pwd, "/") << "it keeps no folder in use";
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD) << "its end is nobody's concern here";
}

TEST_F(Launching, saysThatThereIsNoSuchProgram) {
  EXPECT_FALSE(workspace.launchApp("com.example.Other", 0));
  EXPECT_THAT(systemLog.lines, ElementsAre("There is no program 'com.example.Other' to launch."));
}

TEST_F(Launching, saysWhichProgramCannotBeStarted) {
  std::filesystem::permissions(program, std::filesystem::perms::owner_read);
  EXPECT_FALSE(workspace.launchApp("com.example.App", 0));
  EXPECT_THAT(systemLog.take(), ElementsAre(HasSubstr(program.string())));
  EXPECT_FALSE(workspace.launchApp("com.example.Gone", 0));
  EXPECT_THAT(systemLog.take(), ElementsAre(HasSubstr((folder / "gone").string())));
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

/// A user whose program for URLs of the scheme "ferry" writes down what it is given.
class OpeningURLs : public Launching {
 protected:
  OpeningURLs() {
    ::setenv("XDG_DATA_HOME", folder.path().c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
    std::filesystem::create_directories(folder / "applications");
    std::ofstream(folder / "applications/ferry.desktop")
        << "[Desktop Entry]\nType=Application\nName=Ferry\nExec=" << (folder / "ferry").string()
        << " %u\nMimeType=x-scheme-handler/ferry;\n";
    std::ofstream(folder / "mimeapps.list")
        << "[Default Applications]\nx-scheme-handler/ferry=ferry.desktop\n";
    std::ofstream(folder / "ferry")
        << "#!/bin/sh\nprintf %s \"$1\" >'" << (folder / "part").string() << "' && mv '"
        << (folder / "part").string() << "' '" << opened.string() << "'\n";
    std::filesystem::permissions(folder / "ferry", std::filesystem::perms::owner_all);
  }

  std::filesystem::path opened = folder / "opened";
};

TEST_F(OpeningURLs, isDoneByTheUsersProgramForTheirScheme) {
  EXPECT_TRUE(workspace.openURL(*NSURL::fromString("ferry:north?pier=2&at=nine%20sharp")));
  loop.lookUntil([&] { return std::filesystem::exists(opened); });
  std::ifstream stream(opened);
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  EXPECT_EQ(text, "ferry:north?pier=2&at=nine%20sharp");
  EXPECT_THAT(systemLog.lines, IsEmpty());
}

TEST_F(OpeningURLs, saysThatThereIsNoProgramForThem) {
  EXPECT_FALSE(workspace.openURL(*NSURL::fromString("balloon:north")));
  EXPECT_THAT(systemLog.lines, ElementsAre(HasSubstr("'balloon'")));
}

}  // namespace
}  // namespace orvane::test
