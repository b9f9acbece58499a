#include "Tests/Apps/ChangeFixture.h"

namespace orvane::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

class PauseCommand : public ChangeTest {};

TEST_F(PauseCommand, storesThatBlockingIsPausedAndResumed) {
  const auto pause = orvane({"pause"});
  EXPECT_EQ(pause.exitStatus, 0) << pause.errors;
  EXPECT_EQ(pause.output, "Blocking is paused.\n");
  EXPECT_EQ(value(settings(), "paused"), PropertyListValue(true));
  const auto resume = orvane({"resume"});
  EXPECT_EQ(resume.exitStatus, 0);
  EXPECT_EQ(resume.output, "Blocking is resumed.\n");
  EXPECT_EQ(value(settings(), "paused"), PropertyListValue(false));
}

TEST_F(PauseCommand, sendsNoSignalSinceTheCompanionObservesTheSetting) {
  orvane({"pause"});
  EXPECT_EQ(value(settings(), "reloadRulesFromDisk"), std::nullopt);
}

TEST_F(PauseCommand, saysThatNothingIsToBeDone) {
  EXPECT_EQ(orvane({"resume"}).output, "Blocking is not paused.\n");
  orvane({"pause"});
  const auto again = orvane({"pause"});
  EXPECT_EQ(again.exitStatus, 0);
  EXPECT_EQ(again.output, "Blocking is paused already.\n");
}

TEST_F(PauseCommand, answersInJSON) {
  EXPECT_EQ(orvane({"pause", "--json"}).output, "{\"changed\":true,\"paused\":true}\n");
  EXPECT_EQ(orvane({"pause", "--json"}).output, "{\"changed\":false,\"paused\":true}\n");
  EXPECT_EQ(orvane({"resume", "--json"}).output, "{\"changed\":true,\"paused\":false}\n");
}

TEST_F(PauseCommand, settingsThatCannotBeOpenedAreAFailure) {
  put(settings(), std::string(4096, 'x'));
  const auto run = orvane({"pause"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.errors,
              AllOf(HasSubstr("UserDefaults.sqlite"),
                    HasSubstr("orvane: The settings that Orvane's programs share cannot be opened; "
                              "nothing has changed.\n")));
  EXPECT_EQ(get(settings()), std::string(4096, 'x'));
}

TEST_F(PauseCommand, fullDiskIsAFailureInWords) {
  orvane({"resume"});
  const auto before = stored();
  const auto run = runProgram({"sh", "-c", "trap '' XFSZ; ulimit -f 0; exec \"$0\" pause", program},
                              work.path(), environment());
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(stored(), before);
}

TEST_F(PauseCommand, answerThatCannotBeWrittenIsAFailure) {
  const auto run =
      runProgram({"sh", "-c", "exec \"$0\" pause >/dev/full", program}, work.path(), environment());
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.errors, HasSubstr("orvane: The answer cannot be written."));
}

}  // namespace
}  // namespace orvane::test
