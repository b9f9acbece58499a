#pragma once

#include <filesystem>
#include <optional>

#include "Linux/Posix/FileDescriptor.h"
#include "Platform/Foundation/NSError.h"

namespace orvane {

/// The right to be the one process of its kind that a user runs. Held until it is destroyed or the
/// process ends, however it ends.
class SingleInstance {
 public:
  enum class Role {
    serving,  ///< does the work of the others, who leave it to this process
    passing,  ///< does only its own work, and the others wait for its end
  };

  /// Nothing when a serving process holds the right. One that passes, or has announced its end, is
  /// waited for: what it does not do falls to the caller. `file` is made when it is missing, not so
  /// its folder.
  static Expected<std::optional<SingleInstance>> acquire(const std::filesystem::path& file,
                                                         Role role = Role::serving);

  /// Whether a serving process holds the right; asking gets in nobody's way.
  static bool isHeld(const std::filesystem::path& file);

  /// From now on whoever wants the right waits for the end of this process.
  void announceEnd();

  /// Whether `file` is still the one that the right was acquired with. Another file under that
  /// name, in a folder that was made anew, is another right.
  bool isFor(const std::filesystem::path& file) const;

 private:
  explicit SingleInstance(FileDescriptor file) : file_(std::move(file)) {}

  FileDescriptor file_;
};

}  // namespace orvane
