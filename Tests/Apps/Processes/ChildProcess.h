#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "Linux/Posix/FileDescriptor.h"

namespace orvane::test {

/// A running program, killed at the end unless it has ended.
class ChildProcess {
 public:
  /// `log` gets what the program says on standard error, and on standard output too unless that is
  /// read through `output`. `prepare` runs in the new process before the program does.
  struct Options {
    std::filesystem::path log;
    bool hasOutput = false;
    std::function<void()> prepare = nullptr;
  };

  ChildProcess(std::vector<std::string> command, const Options& options);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  pid_t id() const { return child_; }
  int output() const { return output_.get(); }

  void signal(int number) const;
  /// Kills it and waits until it is gone.
  void kill();
  bool hasEnded();
  /// Waits for the end: the exit status, or the negative number of the signal that was the end.
  int exitStatus();
  /// What comes on the standard output until the end.
  std::string rest() const;

 private:
  FileDescriptor output_;
  pid_t child_ = -1;
  int status_ = 0;
};

}  // namespace orvane::test
