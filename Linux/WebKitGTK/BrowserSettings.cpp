#include "Linux/WebKitGTK/BrowserSettings.h"

#include <memory>
#include <string>
#include <utility>

#include <glib.h>

#include "Linux/GLib/GLibError.h"

namespace orvane {
namespace {

constexpr const char* group = "Content Blockers";

bool isAbsence(const GError* error) {
  return g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT) ||
         g_error_matches(error, G_KEY_FILE_ERROR, G_KEY_FILE_ERROR_GROUP_NOT_FOUND) ||
         g_error_matches(error, G_KEY_FILE_ERROR, G_KEY_FILE_ERROR_KEY_NOT_FOUND);
}

}  // namespace

BrowserSettings::BrowserSettings(std::filesystem::path file) : file_(std::move(file)) {}

Expected<bool> BrowserSettings::isContentBlockerEnabled(std::string_view identifier) const {
  const std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)> settings(g_key_file_new(),
                                                                        g_key_file_unref);
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

}  // namespace orvane
