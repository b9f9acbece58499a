#pragma once

#include <map>
#include <string>

#include <fmt/format.h>

#include "Platform/Platform.h"
#include "Tests/Support/InMemoryFileSystem.h"
#include "Tests/Support/RecordingOutput.h"

namespace orvane::test {

/// Answers a URL with what a test says, and every other one with an error.
class FixedURLLoader final : public NSURLLoader {
 public:
  Expected<std::string> contents(std::string_view url) override {
    const auto found = answers.find(std::string(url));
    if (found == answers.end()) return tl::unexpected(NSError{"test", 404, "no such URL"});
    return found->second;
  }
  std::map<std::string, std::string> answers;
};

/// A machine in memory. UUIDs are counted: "UUID-1", "UUID-2", ...
struct TestPlatform {
  static constexpr const char* container = "/data/Q4XR7T2M9V.com.tessaly.Blocker";
  static constexpr const char* documents = "/data/Documents";
  static constexpr const char* bundle = "/bundle";

  explicit TestPlatform(UserDirectories userDirectories = {"/data", {"/earlier", documents}})
      : fileManager(fileSystem, std::move(userDirectories)) {}

  InMemoryFileSystem fileSystem;
  NSFileManager fileManager;
  NSBundle mainBundle{fileManager, bundle};
  NSNotificationCenter notificationCenter;
  FixedURLLoader urlLoader;
  int uuidCount = 0;
  UUIDGenerator makeUUID = [this] { return fmt::format("UUID-{}", ++uuidCount); };
  RecordingOutput standardOutput;
  RecordingOutput systemLog;
  Platform platform{fileManager, mainBundle,     notificationCenter, urlLoader,
                    makeUUID,    standardOutput, systemLog};
};

}  // namespace orvane::test
