#include "Linux/GLib/Workspace.h"

#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gio/gio.h>
#include <unistd.h>

#include "Linux/GLib/GLibError.h"
#include "Linux/Posix/DiagnosticLog.h"

namespace orvane {

Workspace::Workspace(std::map<std::string, std::filesystem::path, std::less<>> programs,
                     std::optional<std::filesystem::path> stateFolder, LineOutput& systemLog)
    : programs_(std::move(programs)), stateFolder_(std::move(stateFolder)), systemLog_(systemLog) {}

bool Workspace::launchApp(std::string_view bundleIdentifier, NSWorkspaceLaunchOptions options) {
  const auto program = programs_.find(bundleIdentifier);
  if (program == programs_.end()) {
    systemLog_.print(fmt::format("There is no program '{}' to launch.", bundleIdentifier));
    return false;
  }
  std::string path = program->second;
  std::string hidden = "--hidden";
  const bool isHidden =
      (options & (NSWorkspaceLaunchWithoutActivation | NSWorkspaceLaunchAndHide)) != 0;
  std::vector<char*> arguments{path.data()};
  if (isHidden) arguments.push_back(hidden.data());
  arguments.push_back(nullptr);

  const auto log = openDiagnosticLog(stateFolder_);
  // In a session of its own it does not end with the terminal of this one.
  const auto leaveSession = [](gpointer) { static_cast<void>(::setsid()); };
  GError* error = nullptr;
  g_spawn_async_with_fds("/", arguments.data(), nullptr, G_SPAWN_DEFAULT, leaveSession, nullptr,
                         nullptr, -1, log.get(), log.get(), &error);
  if (error == nullptr) return true;
  systemLog_.print(takenError(error).localizedDescription);
  return false;
}

bool Workspace::openURL(const NSURL& url) {
  GError* error = nullptr;
  g_app_info_launch_default_for_uri(url.absoluteString().c_str(), nullptr, &error);
  if (error == nullptr) return true;
  // The URL itself, which may say where the user has been, stays out of the log.
  const auto scheme = url.absoluteString().substr(0, url.absoluteString().find(':'));
  systemLog_.print(fmt::format("A URL of the scheme '{}' cannot be opened: {}", scheme,
                               takenError(error).localizedDescription));
  return false;
}

}  // namespace orvane
