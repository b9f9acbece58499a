#pragma once

#include <csignal>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

#include "Tests/EndToEnd/Browsing/Desk.h"
#include "Tests/Support/ProgramRun.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {

/// One more machine of the user: a home folder of its own, with the real programs. It shares the
/// screen and the Internet with a desk, and the cloud that the environment names.
class OtherMachine {
 public:
  explicit OtherMachine(Desk& desk) : desk_(desk) {}
  OtherMachine(const OtherMachine&) = delete;
  OtherMachine& operator=(const OtherMachine&) = delete;
  /// Ends what runs there.
  ~OtherMachine();

  /// Runs the program to its end.
  ProgramRun orvane(std::vector<std::string> arguments) const;

  /// Writes a file of the home folder, while nothing runs there.
  void put(const std::filesystem::path& path, const std::string& text) const;

  /// Opens the page in a browser of this machine, and says whether anything of that host was
  /// fetched for it. The page has to fetch `donePath` of its own host when it is complete.
  bool browserFetches(const std::string& url, const std::string& host, const std::string& donePath);

  /// Sends a signal to the programs of that name that run here.
  void signalPrograms(const std::string& name, int signal) const;
  bool runs(const std::string& name) const { return !programs(name).empty(); }

  TemporaryDirectory home;

 private:
  std::map<std::string, std::string> environment() const;
  std::vector<pid_t> programs(const std::string& name) const;

  Desk& desk_;
};

}  // namespace orvane::test
