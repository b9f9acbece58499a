#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "BlockerKit/Catalogue/CatalogueEdit.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "Platform/Platform.h"

namespace orvane {

/// What a file was like when it was read or written: its fingerprint, or an empty text when there
/// was no file. Nothing for a list that has not been loaded, or whose file may be another one.
using KnownFile = std::optional<std::string>;

/// The packages of one file, and what the file was like.
struct LoadedPackages {
  std::vector<Package> packages;
  KnownFile file;
};

/// What the files of a catalogue are known to be like.
struct KnownFiles {
  KnownFile preinstalled;
  KnownFile configurable;
  KnownFile custom;

  KnownFile& operator[](UserList list) {
    return list == UserList::configurable ? configurable : custom;
  }

  friend bool operator==(const KnownFiles&, const KnownFiles&) = default;
};

/// The lists whose files have changed; the others are absent.
struct ChangedLists {
  std::optional<LoadedPackages> preinstalled;
  std::optional<LoadedPackages> configurable;
  std::optional<LoadedPackages> custom;
  /// Whether a file could not even be opened, which may pass.
  bool isIncomplete = false;

  std::optional<LoadedPackages>& operator[](UserList list) {
    return list == UserList::configurable ? configurable : custom;
  }
};

/// An edit that has been made on a list in memory, and is not in its file.
struct UnsavedEdit {
  UserList list;
  CatalogueEdit edit;
  /// Called once the edit is on disk; may be empty.
  std::function<void()> report;
};

/// Makes those of the edits that are about `list` again, on `packages` that are without them.
void replay(std::span<const UnsavedEdit> unsaved, UserList list, EditablePackages& packages);

/// Which of the lists are on disk after a save.
struct SavedLists {
  bool configurable = false;
  bool custom = false;

  bool isSaved(UserList list) const {
    return list == UserList::configurable ? configurable : custom;
  }
};

/// Reads and writes the lists of a catalogue on whichever thread calls; blocks. Knows of no queue
/// and keeps nothing.
class CatalogueFiles {
 public:
  /// Both outlive this object.
  CatalogueFiles(Platform& platform, PersistentStore& store);

  LoadedPackages read(UserList list);

  /// Reads the lists whose files are not as `known` says. Pre-installed packages that are damaged
  /// come from the bundle again, and rules without an id get one for good. A file that is there but
  /// cannot be read leaves its list as it is. Nothing when the folder of the files is missing.
  std::optional<ChangedLists> readChanged(const KnownFiles& known);

  /// Whether no file of the user's lists differs from what is `known`; one that cannot be read says
  /// nothing new.
  bool isUpToDate(const KnownFiles& known);

  /// Writes both of the user's lists, while no other process can. A list whose file another process
  /// has changed is read again first, and gets its `unsaved` edits. What could be written is in
  /// `packages`, as it is in its file, and in `known`; a list that could not be written is what
  /// should have been. The system log tells why.
  SavedLists save(UserPackages& packages, std::span<const UnsavedEdit> unsaved, KnownFiles& known);

 private:
  KnownFile fileOf(PackageType type);
  bool isChanged(PackageType type, const KnownFile& known);
  std::optional<LoadedPackages> readAgain(PackageType type);
  void readIfChanged(UserList list, const KnownFile& known, ChangedLists& changed);
  bool saveList(UserList list, EditablePackages& packages, std::span<const UnsavedEdit> unsaved,
                KnownFile& known);
  void recoverPreinstalled();

  Platform& platform_;
  PersistentStore& store_;
};

}  // namespace orvane
