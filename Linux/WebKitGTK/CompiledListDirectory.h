#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Foundation/FileSystem.h"

namespace orvane {

/// A list in the browser's compiled form.
struct CompiledList {
  /// The `contentHash` of the JSON that it was made from.
  std::string source;
  /// The name of the folder that holds it, which no other list ever had.
  std::string folder;
  /// The `contentHash` of the compiled file.
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

  const std::filesystem::path& path() const { return path_; }
  Expected<void> create();

  /// The path of the folder with this name.
  std::filesystem::path pathOf(const std::string& folder) const;

  /// The name for the folder of a new list that is made from JSON with this hash. No list is there
  /// yet, not even the remains of one.
  std::string newFolderFor(const std::string& source) const;

  /// The list in force; nothing when no file names one. A file that cannot be read or makes no
  /// sense is an error: it does not say that there is none.
  Expected<std::optional<CompiledList>> readCurrent();
  /// The same, for those to whom a list that cannot be told is none.
  std::optional<CompiledList> current();
  Expected<void> setCurrent(const CompiledList& list);

  /// The hash of the compiled file in that folder; nothing when it cannot be read.
  std::optional<std::string> checksumOf(const std::string& folder);

  /// Removes that folder and what is in it.
  void remove(const std::string& folder);

  /// Removes the folders of every list, finished or not, but these two; a browser may be just about
  /// to load the second.
  void removeAllBut(const std::string& current, const std::string& previous);

  /// Waits until no other process compiles, and keeps others waiting until the result is destroyed.
  Expected<std::shared_ptr<void>> lock();

 private:
  FileSystem& fileSystem_;
  std::filesystem::path path_;
};

}  // namespace orvane
