#include "Tests/EndToEnd/ProgramRun.h"

#include <fstream>
#include <iterator>

#include <gio/gio.h>

#include "Apps/Demonstration/AsyncResult.h"

namespace orvane {
namespace {

std::string contentsOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace

ProgramRun runProgram(const std::vector<std::string>& command, const std::filesystem::path& folder,
                      std::chrono::seconds limit) {
  const auto output = folder / "output.txt";
  std::vector<const char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const auto& argument : command) arguments.push_back(argument.c_str());
  arguments.push_back(nullptr);

  const GObjectPointer<GSubprocessLauncher> launcher(
      g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_STDERR_MERGE));
  g_subprocess_launcher_set_cwd(launcher.get(), folder.c_str());
  g_subprocess_launcher_setenv(launcher.get(), "TMPDIR", folder.c_str(), TRUE);
  g_subprocess_launcher_set_stdout_file_path(launcher.get(), output.c_str());
  const GObjectPointer<GSubprocess> program(
      g_subprocess_launcher_spawnv(launcher.get(), arguments.data(), nullptr));
  if (!program) return {};

  const AsyncResult ended;
  g_subprocess_wait_async(program.get(), nullptr, AsyncResult::callback, ended.callbackData());
  if (!ended.wait(command.front(), limit)) {
    g_subprocess_force_exit(program.get());
    return {-1, contentsOf(output)};
  }
  const bool exited = g_subprocess_get_if_exited(program.get()) != FALSE;
  return {exited ? g_subprocess_get_exit_status(program.get()) : -1, contentsOf(output)};
}

}  // namespace orvane
