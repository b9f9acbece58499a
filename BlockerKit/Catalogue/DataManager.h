#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "BlockerKit/Catalogue/BlockerPreferenceManager.h"
#include "BlockerKit/Catalogue/CatalogueEdit.h"
#include "BlockerKit/Catalogue/CatalogueFiles.h"
#include "BlockerKit/Catalogue/SafariReloadingResult.h"

namespace orvane {

/// Builds the blocker list and has the browser load it.
using ReloadRequest = std::function<void(BlockerPreferenceManager& preferences,
                                         bool allowsCancelling, SafariReloadingHandler handler)>;

/// Told of the user's edits once they are on disk; the package is as it is after the edit. Either
/// may be empty.
struct LocalChangeHooks {
  std::function<void(const Rule&, const Package&)> ruleAdded;
  std::function<void(const Rule&, const Package&)> ruleDeleted;
};

/// The catalogue of a process: the packages that were read from the files, and the edits that have
/// not been saved. Main queue.
///
/// Each of the user's lists is read at its first use; a process that builds the list brings all of
/// them up to date with `refresh`. What is handed out by reference or pointer lasts until the next
/// call.
class DataManager {
 public:
  static constexpr const char* writeQueueLabel = "com.tessaly.Blocker.writeQueue";
  static constexpr const char* willSaveNotification = "WillSavePackages";
  static constexpr const char* didSaveNotification = "DidSavePackages";
  static constexpr const char* didUpdatePreinstalledNotification = "DidUpdatePreinstalledBlockers";

  enum class RefreshResult {
    unchanged,
    changed,
    incomplete,  ///< a file is there and cannot be opened; its list stays as it is
    failed,      ///< the folder of the files is missing; the catalogue stays as it is
  };

  /// All arguments outlive the manager. Files are written and refreshed on `writeQueue`.
  DataManager(Platform& platform, PersistentStore& store, NSUserDefaults& defaults,
              Executor& writeQueue, ReloadRequest reload, LocalChangeHooks hooks);
  DataManager(const DataManager&) = delete;
  DataManager& operator=(const DataManager&) = delete;
  ~DataManager() = default;

  BlockerPreferenceManager& preferenceManager();

  /// The pre-installed packages of one heading.
  std::vector<Package> generalPackages() const;
  std::vector<Package> internationalPackages() const;

  const std::vector<Package>& preinstalledPackages() const;
  void setPreinstalledPackages(std::vector<Package> packages);

  const std::vector<Package>& configurablePackages();
  /// Takes `packages`, which have just been read from the file. The file may have changed since
  /// then, so the next save reads it again.
  void setConfigurablePackages(std::vector<Package> packages);

  const std::vector<Package>& customPackages();

  /// The catalogue in compile order. A configurable list without packages stops the process.
  std::vector<const Package*> packages();

  const Package* configurablePackage(ConfigurablePackageType type);

  // Edits made by the user. Each saves, and then tells the hooks; if the files cannot be written
  // it returns false, the edit stays in the catalogue, and the hooks are told by the save that
  // succeeds. An edit that changes nothing returns false and neither saves nor tells.

  /// Puts the rule into a configurable or else a custom package, in the place of one with its id.
  bool addRule(const Rule& rule, std::string_view packageIdentifier);

  /// Replaces the first rule that equals `old`, or removes it.
  bool replaceRule(const Rule& old, const std::optional<Rule>& replacement,
                   ConfigurablePackageType type);

  // Edits that arrive from the cloud. They change the lists only; whoever makes them saves.

  void addPackage(const Package& package);
  void mergeRemoteRule(const Rule& rule, std::string_view packageIdentifier);
  /// The same for each of the rules in turn.
  void mergeRemoteRules(std::vector<Rule> rules, std::string_view packageIdentifier);
  /// Removes the custom package with that id, or else the first rule with it, of a configurable
  /// package or else of a custom one. What another process has saved meanwhile is removed by the
  /// save.
  void removeItem(std::string_view identifier);
  /// The same for each in turn, which costs hardly more than one.
  void removeItems(const std::vector<std::string>& identifiers);

  /// Writes the configurable and the custom packages, whichever `kind` it is asked for, and then
  /// asks for a reload, whose result goes to `completion`, which may be empty. Both files are on
  /// disk when it returns, together with what other processes have changed; false when one could
  /// not be written. Then the edits of that list stay, and the next save makes them again.
  bool save(PackageCollectionType kind, SafariReloadingHandler completion);

  /// Reads the lists whose files are not as this process knows them, without waiting for it.
  /// `completion` is called on the main queue.
  void refresh(std::function<void(RefreshResult)> completion);

  /// Whether no other process has changed the files of the user's packages since this one has read
  /// them. A file that cannot be read says nothing new.
  bool isUpToDate();

  /// The catalogue as other queues may see it: as it was when it was last loaded, refreshed or
  /// saved.
  const Published<Catalogue>& published() const { return published_; }

 private:
  EditablePackages& loaded(UserList list);
  UserPackages& userPackages();
  void publish();
  std::optional<UserList> listOfPackage(std::string_view identifier);
  bool makeAndSave(UserList list, CatalogueEdit edit, std::function<void()> report);
  SavedLists saveLists(SafariReloadingHandler completion);
  void makeUnsaved(UserList list, CatalogueEdit edit, std::function<void()> report);
  std::vector<std::function<void()>> takeReports(const SavedLists& saved);
  void reportAdded(const Rule& rule, std::string_view packageIdentifier);
  void report(const std::function<void(const Rule&, const Package&)>& hook, const Rule& rule,
              std::string_view packageIdentifier);
  bool take(std::optional<LoadedPackages> changed, UserList list);
  RefreshResult takeChanges(ChangedLists changed);

  Platform& platform_;
  PersistentStore& store_;
  NSUserDefaults& defaults_;
  Executor& writeQueue_;
  ReloadRequest reload_;
  LocalChangeHooks hooks_;
  CatalogueFiles files_;
  Published<Catalogue> published_{Catalogue()};
  std::optional<BlockerPreferenceManager> preferenceManager_;

  SharedPackages preinstalled_ = share({});
  UserPackages userPackages_;
  KnownFiles known_;
  std::vector<UnsavedEdit> unsaved_;
  /// Whoever is called back later asks whether the manager is still there.
  std::shared_ptr<void> lifetime_ = std::make_shared<char>();
};

}  // namespace orvane
