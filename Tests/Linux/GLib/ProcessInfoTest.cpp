#include <gtest/gtest.h>

#include "Linux/GLib/ProcessInfo.h"
#include "Linux/Posix/PosixFileSystem.h"

namespace orvane::test {
namespace {

using Version = NSOperatingSystemVersion;

TEST(OperatingSystemVersion, isUpToThreeNumbers) {
  EXPECT_EQ(operatingSystemVersion("12"), (Version{12, 0, 0}));
  EXPECT_EQ(operatingSystemVersion("22.04"), (Version{22, 4, 0}));
  EXPECT_EQ(operatingSystemVersion("3.19.1"), (Version{3, 19, 1}));
}

TEST(OperatingSystemVersion, thatIsOddIsZero) {
  for (const char* odd :
       {"", "rolling", "12 ", "1.2.3.4", "12.", ".5", "-1", "12-rc1", "99999999999"}) {
    EXPECT_EQ(operatingSystemVersion(odd), Version()) << odd;
  }
}

TEST(PrettyHostName, isWhatTheFileSays) {
  EXPECT_EQ(prettyHostName("CHASSIS=laptop\nPRETTY_HOSTNAME=\"Mia's laptop\"\n"), "Mia's laptop");
  EXPECT_EQ(prettyHostName("PRETTY_HOSTNAME=harbour"), "harbour");
}

TEST(PrettyHostName, isMissingWhereTheFileSaysNone) {
  EXPECT_EQ(prettyHostName(""), std::nullopt);
  EXPECT_EQ(prettyHostName("CHASSIS=laptop\n"), std::nullopt);
  EXPECT_EQ(prettyHostName("PRETTY_HOSTNAME=\n"), std::nullopt);
  EXPECT_EQ(prettyHostName("PRETTY_HOSTNAME=\"torn"), std::nullopt);
}

TEST(ProcessInfo, namesThisMachine) {
  PosixFileSystem files;
  EXPECT_FALSE(processInfo(files).localizedHostName.empty());
}

}  // namespace
}  // namespace orvane::test
