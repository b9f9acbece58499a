#include "Linux/WebKitGTK/BrowserSettings.h"

#include <cerrno>
#include <memory>
#include <string>
#include <utility>

#include <glib.h>

#include "Linux/GLib/GLibError.h"
#include "Linux/Posix/PosixFileSystem.h"

namespace orvane {
namespace {

constexpr const char* group = "Content Blockers";

using KeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)>;

KeyFile emptyKeyFile() { return {g_key_file_new(), g_key_file_unref}; }

bool isAbsence(const GError* error) {
  return g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT) ||
         g_error_matches(error, G_KEY_FILE_ERROR, G_KEY_FILE_ERROR_GROUP_NOT_FOUND) ||
         g_error_matches(error, G_KEY_FILE_ERROR, G_KEY_FILE_ERROR_KEY_NOT_FOUND);
}

/// Everything that the file says; nothing when there is no file.
Expected<KeyFile> contentsOf(FileSystem& files, const std::filesystem::path& path) {
  auto settings = emptyKeyFile();
  const auto text = files.read(path);
  if (!text) {
    if (text.error().code == ENOENT) return settings;
    return tl::unexpected(text.error());
  }
  constexpr auto everything =
      static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
  GError* error = nullptr;
  g_key_file_load_from_data(settings.get(), text->data(), text->size(), everything, &error);
  if (error != nullptr) return tl::unexpected(takenError(error));
  return settings;
}

}  // namespace

BrowserSettings::BrowserSettings(std::filesystem::path file) : file_(std::move(file)) {}

Expected<bool> BrowserSettings::isContentBlockerEnabled(std::string_view identifier) const {
  const auto settings = emptyKeyFile();
  GError* error = nullptr;
  g_key_file_load_from_file(settings.get(), file_.c_str(), G_KEY_FILE_NONE, &error);
  if (error == nullptr) {
    const bool enabled = g_key_file_get_boolean(settings.get(), group,
                                                std::string(identifier).c_str(), &error) != FALSE;
    if (error == nullptr) return enabled;
  }
  if (isAbsence(error)) {
    g_error_free(error);
    return true;
  }
  return tl::unexpected(takenError(error));
}

Expected<void> BrowserSettings::setContentBlockerEnabled(std::string_view identifier,
                                                         bool enabled) const {
  PosixFileSystem files;
  auto folder = files.createDirectories(file_.parent_path());
  if (!folder) return folder;
  // Two writers must not undo each other's change.
  const auto lock = files.lock(file_.parent_path() / ("." + file_.filename().string() + ".lock"));
  if (!lock) return tl::unexpected(lock.error());
  const auto settings = contentsOf(files, file_);
  if (!settings) return tl::unexpected(settings.error());
  g_key_file_set_boolean(settings->get(), group, std::string(identifier).c_str(),
                         static_cast<gboolean>(enabled));
  gsize size = 0;
  const std::unique_ptr<gchar, decltype(&g_free)> text(
      g_key_file_to_data(settings->get(), &size, nullptr), g_free);
  return files.replace(file_, {text.get(), size}, std::nullopt);
}

}  // namespace orvane
