#include "Apps/Browser/Downloads.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include <fmt/format.h>

namespace orvane {
namespace {

using std::filesystem::path;

path downloadFolder() {
  const char* folder = g_get_user_special_dir(G_USER_DIRECTORY_DOWNLOAD);
  return folder != nullptr ? path(folder) : path(g_get_home_dir()) / "Downloads";
}

/// A name that stays in its folder and is not hidden there.
std::string safeName(std::string suggested) {
  std::replace(suggested.begin(), suggested.end(), '/', '_');
  suggested.erase(0, suggested.find_first_not_of('.'));
  return suggested.empty() ? "download" : suggested;
}

/// In `folder`, a path without a file: of "list.txt" and "list 2.txt", the first that is free.
path freePath(const path& folder, const path& name) {
  auto candidate = folder / name;
  for (int number = 2; std::filesystem::exists(candidate); ++number) {
    candidate =
        folder /
        path(name.stem()).concat(fmt::format(" {}", number)).concat(name.extension().native());
  }
  return candidate;
}

path destinationOf(WebKitDownload* download) {
  const char* destination = webkit_download_get_destination(download);
  return destination != nullptr ? path(destination) : path();
}

Downloads& downloadsOf(gpointer data) { return *static_cast<Downloads*>(data); }

}  // namespace

Downloads::Downloads(WebKitNetworkSession* network, std::function<void(const std::string&)> say)
    : network_(network), say_(std::move(say)) {
  const auto started = [](WebKitNetworkSession*, WebKitDownload* download, gpointer data) {
    downloadsOf(data).begin(download);
  };
  g_signal_connect(network_, "download-started", G_CALLBACK(+started), this);
}

Downloads::~Downloads() {
  g_signal_handlers_disconnect_by_data(network_, this);
  for (const auto& download : running_) {
    g_signal_handlers_disconnect_by_data(download.get(), this);
    webkit_download_cancel(download.get());
  }
}

void Downloads::begin(WebKitDownload* download) {
  running_.emplace_back(WEBKIT_DOWNLOAD(g_object_ref(download)));
  const auto decide = [](WebKitDownload* decided, const char* name, gpointer data) -> gboolean {
    return static_cast<gboolean>(downloadsOf(data).decideDestination(decided, name));
  };
  g_signal_connect(download, "decide-destination", G_CALLBACK(+decide), this);
  const auto failed = [](WebKitDownload* ended, GError* error, gpointer data) {
    downloadsOf(data).fail(ended, *error);
  };
  g_signal_connect(download, "failed", G_CALLBACK(+failed), this);
  const auto finished = [](WebKitDownload* ended, gpointer data) {
    downloadsOf(data).finish(ended);
  };
  g_signal_connect(download, "finished", G_CALLBACK(+finished), this);
}

/// Where the folder cannot be made, the download fails and says so.
bool Downloads::decideDestination(WebKitDownload* download, const char* suggestedName) {
  std::error_code ignored;
  std::filesystem::create_directories(downloadFolder(), ignored);
  webkit_download_set_destination(download,
                                  freePath(downloadFolder(), safeName(suggestedName)).c_str());
  return true;
}

void Downloads::fail(WebKitDownload* download, const GError& error) {
  say_(fmt::format("“{}” could not be saved: {}", destinationOf(download).filename().string(),
                   error.message));
  end(download);
}

void Downloads::finish(WebKitDownload* download) {
  const auto saved = destinationOf(download);
  say_(fmt::format("“{}” was saved in {}.", saved.filename().string(),
                   saved.parent_path().string()));
  end(download);
}

/// A download that has failed would finish as well.
void Downloads::end(WebKitDownload* download) {
  g_signal_handlers_disconnect_by_data(download, this);
  std::erase_if(running_, [&](const auto& running) { return running.get() == download; });
}

}  // namespace orvane
