#include "Linux/GLib/InotifyWatch.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include <glib-unix.h>
#include <sys/inotify.h>

namespace orvane {

InotifyWatch::InotifyWatch(const std::filesystem::path& folder, std::vector<std::string> fileNames,
                           std::function<void()> changed)
    : fileNames_(std::move(fileNames)),
      changed_(std::move(changed)),
      inotify_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (!inotify_) return;
  if (::inotify_add_watch(inotify_.get(), folder.c_str(),
                          IN_MOVED_TO | IN_CLOSE_WRITE | IN_DELETE | IN_MOVED_FROM) < 0) {
    return;
  }
  const auto readable = [](gint, GIOCondition, gpointer self) -> gboolean {
    auto& watch = *static_cast<InotifyWatch*>(self);
    if (watch.takeEvents()) watch.changed_();
    return G_SOURCE_CONTINUE;
  };
  source_ = g_unix_fd_add(inotify_.get(), G_IO_IN, readable, this);
}

InotifyWatch::~InotifyWatch() {
  if (source_ != 0) g_source_remove(source_);
}

bool InotifyWatch::takeEvents() {
  bool concerned = false;
  alignas(inotify_event) std::array<char, 4096> buffer{};
  ssize_t length = 0;
  while ((length = ::read(inotify_.get(), buffer.data(), buffer.size())) > 0) {
    std::size_t at = 0;
    while (at < static_cast<std::size_t>(length)) {
      inotify_event event{};
      std::memcpy(&event, buffer.data() + at, sizeof event);
      const char* name = buffer.data() + at + sizeof event;
      concerned |= (event.mask & IN_Q_OVERFLOW) != 0 || (event.len > 0 && concerns(name));
      at += sizeof event + event.len;
    }
  }
  return concerned;
}

bool InotifyWatch::concerns(const char* fileName) const {
  return std::ranges::find(fileNames_, fileName) != fileNames_.end();
}

}  // namespace orvane
