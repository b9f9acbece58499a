#pragma once

#include <array>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Linux/Posix/FileDescriptor.h"

namespace orvane::test {

/// A running program, killed at the end unless it has ended.
class ClientProcess {
 public:
  /// Starts the client with a command and the database's address, its standard output a pipe.
  ClientProcess(const std::string& command, const std::string& address,
                const std::string& name = "orvane-key-value-client") {
    const std::string program = ORVANE_PROGRAMS "/" + name;
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
    output_ = FileDescriptor(ends[0]);
    const FileDescriptor writing(ends[1]);
    child_ = ::fork();
    if (child_ < 0) std::abort();
    if (child_ == 0) {
      ::dup2(writing.get(), STDOUT_FILENO);
      ::execl(program.c_str(), program.c_str(), command.c_str(), address.c_str(), nullptr);
      ::_exit(127);
    }
  }
  ClientProcess(const ClientProcess&) = delete;
  ClientProcess& operator=(const ClientProcess&) = delete;
  ~ClientProcess() { kill(); }

  int output() const { return output_.get(); }

  void kill() {
    if (child_ > 0) ::kill(child_, SIGKILL);
    static_cast<void>(exitStatus());
  }

  /// Whether it has ended. Does not wait.
  bool hasEnded() {
    if (child_ > 0 && ::waitpid(child_, &status_, WNOHANG) == child_) child_ = -1;
    return child_ < 0;
  }

  /// Waits for the end: -1 when a signal was the end.
  int exitStatus() {
    if (child_ > 0) ::waitpid(child_, &status_, 0);
    child_ = -1;
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
  }

  /// All that comes until the end.
  std::string rest() const {
    std::string text;
    std::array<char, 4096> buffer{};
    ssize_t count = 0;
    while ((count = ::read(output_.get(), buffer.data(), buffer.size())) > 0) {
      text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
  }

 private:
  FileDescriptor output_;
  pid_t child_ = -1;
  int status_ = 0;
};

}  // namespace orvane::test
