#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "BlockerKit/Model/Package.h"
#include "BlockerKit/PersistentStore/SafariJSONModificationResult.h"
#include "BlockerKit/PersistentStore/SetAside.h"
#include "Platform/Platform.h"

namespace orvane {

/// Owns every file of the shared container: the package files and the browser's blocker list.
///
/// All operations block and run on the caller's thread; any thread may call. Nothing is locked:
/// callers do not run two writers at once. A state that cannot happen, such as a missing shared
/// container, stops the process. What an operation did it prints on the standard output.
class PersistentStore {
 public:
  using Completion = std::function<void(const SafariJSONModificationResult&)>;

  static constexpr const char* applicationGroup = "Q4XR7T2M9V.com.tessaly.Blocker";

  /// `platform` and its services outlive the store.
  explicit PersistentStore(Platform& platform);

  // Package files. Reading one refreshes it: the newest of the copies in the bundle, the shared
  // container and the documents directory is put into the shared container first, and that is what
  // is parsed. A missing, empty or malformed file reads as absent.

  /// The packages of one file. `expectsList` is true for the three collections and false for the
  /// category files, which hold one package each.
  std::optional<std::vector<Package>> readPackages(PackageType type, bool expectsList);

  /// The standard categories that are there: adverts, trackers, annoyances, comments, adult sites.
  std::vector<Package> readStandardPackages();
  std::vector<Package> readPreinstalledPackages();
  std::vector<Package> readCustomPackages();
  /// The configurable packages; all five, empty, when there is no file, and always with the
  /// whitelist and HTTPS-only.
  std::vector<Package> readConfigurablePackages();
  /// The whole catalogue in compile order: pre-installed, configurable but for the first, custom,
  /// and the first configurable package, the whitelist, last.
  std::vector<Package> readAllPackages();

  /// Waits until no other process changes the package files, and keeps others from it until the
  /// result is destroyed. Whoever writes back what it has read holds the lock from before the
  /// reading until after the writing.
  Expected<std::shared_ptr<void>> lockPackageFiles();

  /// Stands for what a reading of this file would find: it changes when the file does. Absent when
  /// there is no file.
  Expected<std::optional<std::string>> fingerprint(PackageType type);

  /// Writes one of the user's own package files back once when it holds rules or packages without
  /// an id, which would otherwise have another id at every reading.
  void settleIdentifiers(PackageType type);
  /// The same for all of them.
  void settleIdentifiers();

  /// Those of the user's own package files that are there and cannot be read in full.
  std::vector<std::filesystem::path> damagedUserFiles();

  bool writePackage(const Package& package, PackageType collection);
  bool writePackages(std::span<const Package> packages, PackageType collection);
  /// Writes a list of one package to a path of the caller's choice.
  bool writePackageForSharing(const Package& package,
                              const std::optional<std::filesystem::path>& preferredSavePath);
  void copyPreinstalledPackagesFromBundleToSharedContainer();

  /// The package that the URL's content describes, as a list of one; nothing when there is none.
  /// Waits for the network.
  std::optional<std::vector<Package>> downloadPreinstalledPackagesFromRemoteURL(
      std::string_view url);

  std::optional<std::filesystem::path> sharePackagesDocumentsPath();

  // The blocker list file.

  std::filesystem::path pathToSafariJSON();

  /// Writes the whole list. An absent list, which is how nothing to block is said, becomes one
  /// placeholder blocker that hides nothing, since the browser refuses an empty list.
  bool writeBlockersToSafariJSONFile(std::optional<std::span<const Blocker>> blockers);

  // Edits of the list as text. Each calls its completion, if any, once before it returns. A failed
  // edit leaves the whole old file or, where only the last sync failed, the whole new one.

  void prependToSafariJSONFile(const Blocker& blocker, const Completion& completion);
  void appendToSafariJSONFile(const Blocker& blocker, const Completion& completion);
  /// Takes `domain` off the first "ignore-previous-rules" blocker.
  void unwhitelistFromSafariJSONFile(std::string_view domain, const Completion& completion);
  /// Takes `domain` off the first "make-https" blocker.
  void unforceHttpsFromSafariJSONFile(std::string_view domain, const Completion& completion);

 private:
  /// A place that is looked up at its first use and then kept.
  struct Location {
    std::once_flag once;
    std::optional<std::filesystem::path> path;
  };
  struct Candidates;
  using TextEdit = std::function<Expected<std::string>(std::string_view)>;

  const std::optional<std::filesystem::path>& sharedContainerURL();
  const std::optional<std::filesystem::path>& documentsDirectoryURL();
  std::filesystem::path sharedPath(PackageType type);

  std::optional<std::filesystem::path> bundlePath(PackageType type);
  Candidates candidates(PackageType type);
  std::optional<FileDate> modificationDate(const std::filesystem::path& path);
  std::optional<std::filesystem::path> newest(const Candidates& candidates);
  bool refresh(PackageType type, const Candidates& candidates, PackageFileForm form);
  std::optional<std::vector<Package>> readPackages(PackageType type, bool expectsList,
                                                   const UUIDGenerator& makeUUID);
  std::optional<std::vector<Package>> parse(const std::filesystem::path& path, bool expectsList,
                                            const UUIDGenerator& makeUUID);
  bool store(const std::filesystem::path& path, const Expected<std::string>& json,
             PackageFileForm form);
  bool writeList(std::span<const Package> packages, const std::filesystem::path& path);

  void editSafariJSONFile(const TextEdit& edit, std::string_view done,
                          const Completion& completion);
  void removeDomain(std::string_view domain, std::string_view marker, const Completion& completion);

  Platform& platform_;
  Location sharedContainer_;
  Location documentsDirectory_;
  Location sharePackagesDocuments_;
};

}  // namespace orvane
