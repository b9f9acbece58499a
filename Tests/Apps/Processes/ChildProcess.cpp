#include "Tests/Apps/Processes/ChildProcess.h"

#include <array>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::test {

ChildProcess::ChildProcess(std::vector<std::string> command, const Options& options) {
  std::vector<char*> arguments;
  for (auto& argument : command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  const FileDescriptor log(
      ::open(options.log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
  std::array<int, 2> ends{-1, -1};
  if (!log || ::pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
  output_ = FileDescriptor(ends[0]);
  const FileDescriptor writing(ends[1]);
  child_ = ::fork();
  if (child_ < 0) std::abort();
  if (child_ > 0) return;
  ::dup2(options.hasOutput ? writing.get() : log.get(), STDOUT_FILENO);
  ::dup2(log.get(), STDERR_FILENO);
  if (options.prepare) options.prepare();
  // A test that is ended because it takes too long leaves nothing behind. Behind `prepare`, since a
  // change of the user would cancel it.
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  ::execv(arguments.front(), arguments.data());
  ::_exit(127);
}

ChildProcess::~ChildProcess() { kill(); }

void ChildProcess::signal(int number) const {
  if (child_ > 0) ::kill(child_, number);
}

void ChildProcess::kill() {
  signal(SIGKILL);
  static_cast<void>(exitStatus());
}

bool ChildProcess::hasEnded() {
  if (child_ > 0 && ::waitpid(child_, &status_, WNOHANG) == child_) child_ = -1;
  return child_ < 0;
}

int ChildProcess::exitStatus() {
  if (child_ > 0) ::waitpid(child_, &status_, 0);
  child_ = -1;
  return WIFEXITED(status_) ? WEXITSTATUS(status_) : -WTERMSIG(status_);
}

std::string ChildProcess::rest() const {
  std::string text;
  std::array<char, 4096> buffer{};
  ssize_t count = 0;
  while ((count = ::read(output_.get(), buffer.data(), buffer.size())) > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return text;
}

}  // namespace orvane::test
