#include "Tests/Support/ProgramRun.h"

#include <cstdlib>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Tests/Support/Files.h"

namespace orvane::test {
namespace {

void redirect(int descriptor, const std::filesystem::path& file) {
  const int opened = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (opened < 0 || ::dup2(opened, descriptor) < 0) ::_exit(127);
}

}  // namespace

ProgramRun runProgram(const std::vector<std::string>& command, const std::filesystem::path& folder,
                      const std::map<std::string, std::string>& environment) {
  const auto output = folder / "standard-output.txt";
  const auto errors = folder / "standard-error.txt";
  std::vector<char*> arguments;
  for (const auto& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);

  const pid_t child = ::fork();
  if (child == 0) {
    redirect(STDOUT_FILENO, output);
    redirect(STDERR_FILENO, errors);
    if (::chdir(folder.c_str()) != 0) ::_exit(127);
    ::setenv("TMPDIR", folder.c_str(), 1);
    for (const auto& [name, value] : environment) ::setenv(name.c_str(), value.c_str(), 1);
    ::execvp(arguments.front(), arguments.data());
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentsOf(output), contentsOf(errors)};
}

}  // namespace orvane::test
