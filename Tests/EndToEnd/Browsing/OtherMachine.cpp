#include "Tests/EndToEnd/Browsing/OtherMachine.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "Tests/Apps/Processes/ChildProcess.h"

namespace orvane::test {
namespace {

namespace fs = std::filesystem;

std::string contents(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

}  // namespace

OtherMachine::~OtherMachine() {
  for (const auto* name : {"orvane-browser", "orvane"}) {
    signalPrograms(name, SIGTERM);
    desk_.until("the other machine's programs end", [&] { return !runs(name); });
  }
}

std::map<std::string, std::string> OtherMachine::environment() const {
  return {{"HOME", home.path()},
          {"XDG_DATA_HOME", home / "data"},
          {"XDG_CONFIG_HOME", home / "config"},
          {"XDG_STATE_HOME", home / "state"},
          {"XDG_CACHE_HOME", home / "cache"}};
}

ProgramRun OtherMachine::orvane(std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), ORVANE_PROGRAMS "/orvane");
  return runProgram(arguments, home.path(), environment());
}

void OtherMachine::put(const std::filesystem::path& path, const std::string& text) const {
  std::filesystem::create_directories((home / path).parent_path());
  std::ofstream(home / path, std::ios::binary) << text;
}

bool OtherMachine::browserFetches(const std::string& url, const std::string& host,
                                  const std::string& donePath) {
  desk_.forgetRequests();
  {
    const ChildProcess browser(
        {ORVANE_PROGRAMS "/orvane-browser", "--proxy", desk_.internet().url(), url},
        {.log = home / "browser.log", .prepare = [variables = environment()] {
           for (const auto& [name, value] : variables) ::setenv(name.c_str(), value.c_str(), 1);
         }});
    desk_.until("the page is complete on the other machine", [&] {
      const auto& log = desk_.internet().log();
      return std::ranges::any_of(log, [&](const auto& asked) { return asked.path == donePath; });
    });
  }
  return desk_.wasAsked(host);
}

std::vector<pid_t> OtherMachine::programs(const std::string& name) const {
  std::vector<pid_t> found;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const auto process = std::atoi(entry.path().filename().c_str());
    if (process <= 0) continue;
    const auto command = contents(entry.path() / "cmdline");
    const fs::path program = command.substr(0, command.find('\0'));
    const auto mark = "HOME=" + home.path().string() + '\0';
    if (program.filename() == name &&
        contents(entry.path() / "environ").find(mark) != std::string::npos) {
      found.push_back(process);
    }
  }
  return found;
}

void OtherMachine::signalPrograms(const std::string& name, int signal) const {
  for (const auto process : programs(name)) ::kill(process, signal);
}

}  // namespace orvane::test
