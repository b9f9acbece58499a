#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "Linux/Posix/FileDescriptor.h"
#include "Platform/Foundation/FileSystem.h"

namespace orvane {

/// A list in the browser's compiled form.
struct CompiledList {
  /// The hash of the JSON that it was made from; its folder is called by it.
  std::string name;
  /// The hash of the compiled file.
  std::string checksum;
  /// The version of the browser engine that compiled it.
  std::string compiler;

  friend bool operator==(const CompiledList&, const CompiledList&) = default;
};

/// The folder of compiled lists, as Documentation/compiled-lists.md describes it. A compiled list
/// is never changed; which one is in force is the content of the file "current", which moves only
/// when a newer list is complete. Blocking; any thread.
class CompiledListDirectory {
 public:
  /// The name that every list has within its own folder, and in the browser.
  static constexpr const char* identifier = "orvane";
  static constexpr const char* currentFileName = "current";

  /// `fileSystem` outlives the directory.
  CompiledListDirectory(FileSystem& fileSystem, std::filesystem::path path);

  /// The name for the list that is made from this JSON.
  static std::string nameFor(std::string_view json);

  const std::filesystem::path& path() const { return path_; }
  Expected<void> create();

  /// The folder that holds the compiled file of the list with this name.
  std::filesystem::path folderOf(const std::string& name) const;

  /// The list in force; nothing when there is none, or when the file that names it makes no sense.
  std::optional<CompiledList> current();
  Expected<void> setCurrent(const CompiledList& list);

  /// The hash of the compiled file in the folder of that name; nothing when it cannot be read.
  std::optional<std::string> checksumOf(const std::string& name);

  /// Removes the folder of that name and what is in it.
  void remove(const std::string& name);

  /// Removes every list but these two; a browser may be just about to load the second.
  void removeAllBut(const std::string& current, const std::string& previous);

  /// Waits until no other process compiles, and keeps others waiting until the result is destroyed.
  Expected<FileDescriptor> lock();

 private:
  FileSystem& fileSystem_;
  std::filesystem::path path_;
};

}  // namespace orvane
