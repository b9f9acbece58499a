#pragma once

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/JSON/JSONDocument.h"
#include "Linux/Posix/PosixFileSystem.h"
#include "Linux/WebKitGTK/CompiledListDirectory.h"
#include "Platform/Foundation/ContentHash.h"
#include "Tests/Support/ProgramRun.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {

/// Runs the real `orvane` for a user with a home folder of its own.
class CompanionTest : public ::testing::Test {
 protected:
  ~CompanionTest() override { endPrograms(); }

  static constexpr const char* group = "Q4XR7T2M9V.com.tessaly.Blocker";

  std::filesystem::path container() { return home / "data" / "orvane" / group; }
  std::filesystem::path list() { return container() / "tmp.json"; }

  std::map<std::string, std::string> environment() {
    return {{"HOME", home.path()},
            {"XDG_DATA_HOME", home / "data"},
            {"XDG_CONFIG_HOME", home / "config"},
            {"XDG_STATE_HOME", home / "state"}};
  }
  ProgramRun orvane(std::vector<std::string> arguments,
                    const std::map<std::string, std::string>& changes = {}) {
    arguments.insert(arguments.begin(), program);
    auto variables = environment();
    for (const auto& [name, value] : changes) variables[name] = value;
    return runProgram(arguments, work.path(), variables);
  }

  /// Ends what the commands have left running, also what has only just been launched.
  void endPrograms() {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    auto running = programs();
    while (!running.empty() && std::chrono::steady_clock::now() < end) {
      for (const auto process : running) ::kill(process, SIGTERM);
      std::this_thread::yield();
      running = programs();
    }
    EXPECT_TRUE(running.empty());
  }

  void put(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
  }
  std::string get(const std::filesystem::path& path) {
    return files.read(path).value_or("cannot be read");
  }
  std::string diagnostics() { return get(home / "state/orvane/orvane.log"); }

  static std::string package(const std::string& id, const std::string& rules) {
    return R"({"id":")" + id + R"(","name":"Mine","rules":[)" + rules + "]}";
  }
  static std::string rule(const std::string& id, const std::string& urlFilter) {
    return R"({"id":")" + id + R"(","name":"My rule","content":{"trigger":{"url-filter":")" +
           urlFilter + R"("},"action":{"type":"block"}}})";
  }

  /// The "url-filter" of every entry of the blocker list.
  std::vector<std::string> urlFilters() {
    std::vector<std::string> result;
    const auto document = JSONDocument::parse(get(list()));
    EXPECT_TRUE(document);
    const auto blockers = document->root().array();
    for (const auto blocker : *blockers) {
      result.push_back(JSONValue(blocker)["trigger"]["url-filter"].stringValue());
    }
    return result;
  }

  /// Whether the compiled list in force is the one that the blocker list describes.
  bool browserHasTheList() {
    CompiledListDirectory directory(files, container() / "CompiledLists");
    const auto current = directory.current();
    return current && current->source == contentHash(get(list())) &&
           current->checksum == directory.checksumOf(current->folder);
  }

  /// The processes that run for this user, known by the home folder that nobody else has.
  std::vector<pid_t> programs() {
    const auto mark = "HOME=" + home.path().string() + '\0';
    std::vector<pid_t> result;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
      const auto number = std::atoi(entry.path().filename().c_str());
      if (number <= 0) continue;
      std::ifstream stream(entry.path() / "environ", std::ios::binary);
      const std::string variables{std::istreambuf_iterator<char>(stream), {}};
      if (variables.find(mark) != variables.npos) result.push_back(number);
    }
    return result;
  }

  TemporaryDirectory home;
  TemporaryDirectory work;
  PosixFileSystem files;
  std::string program = ORVANE_PROGRAMS "/orvane";
};

}  // namespace orvane::test
