#pragma once

#include <string_view>

#include <fmt/format.h>
#include <unistd.h>

namespace orvane {

/// What is going on, for somebody who waits at a terminal.
class Progress {
 public:
  Progress() = default;
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { clear(); }

  void show(std::string_view step) const {
    if (isTerminal_) fmt::print(stderr, "\r\033[K{}…", step);
  }
  void clear() const {
    if (isTerminal_) fmt::print(stderr, "\r\033[K");
  }

 private:
  bool isTerminal_ = ::isatty(STDERR_FILENO) == 1;
};

}  // namespace orvane
