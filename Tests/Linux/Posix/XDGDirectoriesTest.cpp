#include <cstdlib>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "Linux/Posix/XDGDirectories.h"

namespace orvane::test {
namespace {

/// What the directories are in an environment with exactly these variables of theirs.
XDGDirectories in(const std::map<std::string, std::string>& environment) {
  for (const char* name :
       {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME"}) {
    const auto value = environment.find(name);
    if (value == environment.end()) {
      ::unsetenv(name);
    } else {
      ::setenv(name, value->second.c_str(), 1);
    }
  }
  return XDGDirectories::ofThisProcess();
}

TEST(XDGDirectories, comeFromTheirVariables) {
  const auto directories = in({{"HOME", "/home/me"},
                               {"XDG_DATA_HOME", "/data"},
                               {"XDG_CONFIG_HOME", "/config"},
                               {"XDG_STATE_HOME", "/state"},
                               {"XDG_CACHE_HOME", "/cache"}});
  EXPECT_EQ(directories.data, "/data");
  EXPECT_EQ(directories.config, "/config");
  EXPECT_EQ(directories.state, "/state");
  EXPECT_EQ(directories.cache, "/cache");
}

TEST(XDGDirectories, areBelowTheHomeFolderOtherwise) {
  const auto directories = in({{"HOME", "/home/me"}, {"XDG_STATE_HOME", ""}});
  EXPECT_EQ(directories.data, "/home/me/.local/share");
  EXPECT_EQ(directories.config, "/home/me/.config");
  EXPECT_EQ(directories.state, "/home/me/.local/state");
  EXPECT_EQ(directories.cache, "/home/me/.cache");
}

TEST(XDGDirectories, relativePathsAreIgnored) {
  EXPECT_EQ(in({{"HOME", "/home/me"}, {"XDG_DATA_HOME", "data"}}).data, "/home/me/.local/share");
  EXPECT_EQ(in({{"HOME", "home"}}).data, std::nullopt);
}

TEST(XDGDirectories, userDirectoriesAreTheProgramsOwn) {
  const auto directories = in({{"XDG_DATA_HOME", "/data"}}).userDirectories();
  EXPECT_EQ(directories.groupContainers, "/data/orvane");
  EXPECT_EQ(directories.documents, std::vector<std::filesystem::path>{"/data/orvane/Documents"});
}

TEST(XDGDirectories, withoutAHomeThereAreNone) {
  const auto directories = in({});
  EXPECT_EQ(directories.data, std::nullopt);
  EXPECT_EQ(directories.userDirectories().groupContainers, std::nullopt);
  EXPECT_TRUE(directories.userDirectories().documents.empty());
}

}  // namespace
}  // namespace orvane::test
