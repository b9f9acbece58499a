#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include "Linux/GLib/SystemLog.h"

namespace orvane::test {
namespace {

bool hasJournal() {
  struct stat status {};
  return ::stat("/run/systemd/journal/socket", &status) == 0 && S_ISSOCK(status.st_mode);
}

TEST(SystemLog, goesToStandardErrorOnlyWhereThereIsNoJournal) {
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  SystemLog().print("Recieved a line");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), hasJournal() ? "" : "Recieved a line\n");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

}  // namespace
}  // namespace orvane::test
