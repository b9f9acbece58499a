#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace orvane {

/// The browser's compiler in a process of its own, because some lists crash it. Make it before the
/// program uses GLib.
class BrowserProcess {
 public:
  explicit BrowserProcess(std::filesystem::path store);
  BrowserProcess(const BrowserProcess&) = delete;
  BrowserProcess& operator=(const BrowserProcess&) = delete;
  ~BrowserProcess();

  /// The browser's word on why it refuses the list: empty when it takes it, "crash" when it
  /// crashes.
  std::string compile(std::string_view list);

 private:
  void start();
  void stop();

  std::filesystem::path store_;
  pid_t process_ = -1;
  int socket_ = -1;
};

}  // namespace orvane
