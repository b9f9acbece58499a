#include "BlockerKit/Catalogue/CatalogueFiles.h"

#include <utility>

#include <fmt/format.h>

#include "BlockerKit/PersistentStore/ConfigurablePackages.h"
#include "BlockerKit/PersistentStore/SetAside.h"

namespace orvane {
namespace {

PackageType typeOf(UserList list) {
  return list == UserList::configurable ? PackageType::ConfigurablePackages
                                        : PackageType::CustomPackages;
}

}  // namespace

void replay(std::span<const UnsavedEdit> unsaved, UserList list, EditablePackages& packages) {
  for (const auto& edit : unsaved) {
    if (edit.list == list) perform(edit.edit, packages);
  }
}

CatalogueFiles::CatalogueFiles(Platform& platform, PersistentStore& store)
    : platform_(platform), store_(store) {}

/// To be asked before a file is read: a change in between then only costs another reading. Nothing
/// for a file that is there but cannot be read.
KnownFile CatalogueFiles::fileOf(PackageType type) {
  auto found = store_.fingerprint(type);
  if (found) return std::move(*found).value_or("");
  platform_.systemLog.print(found.error().localizedDescription);
  return std::nullopt;
}

/// A file that cannot be read says nothing new.
bool CatalogueFiles::isChanged(PackageType type, const KnownFile& known) {
  const auto now = fileOf(type);
  return now && now != known;
}

LoadedPackages CatalogueFiles::read(UserList list) {
  auto file = fileOf(typeOf(list));
  if (list == UserList::configurable) return {store_.readConfigurablePackages(), std::move(file)};
  return {store_.readCustomPackages(), std::move(file)};
}

std::optional<LoadedPackages> CatalogueFiles::readAgain(PackageType type) {
  auto file = fileOf(type);
  if (!file) return std::nullopt;
  auto read = store_.readPackages(type, /*expectsList=*/true);
  const bool isUnreadable = !read && !file->empty();
  if (isUnreadable) return std::nullopt;
  if (type == PackageType::ConfigurablePackages) {
    return LoadedPackages{completedConfigurablePackages(std::move(read)), std::move(file)};
  }
  return LoadedPackages{std::move(read).value_or(std::vector<Package>()), std::move(file)};
}

void CatalogueFiles::recoverPreinstalled() {
  constexpr auto form = PackageFileForm::packageList;
  const auto bundled = platform_.mainBundle.pathForResource("PreinstalledPackages", "json");
  if (!bundled) return;
  const auto shared = store_.pathToSafariJSON().parent_path() / bundled->filename();
  if (!isDamaged(platform_, shared, form) || isDamaged(platform_, *bundled, form)) return;
  store_.copyPreinstalledPackagesFromBundleToSharedContainer();
}

void CatalogueFiles::readIfChanged(UserList list, const KnownFile& known, ChangedLists& changed) {
  const auto type = typeOf(list);
  const auto now = fileOf(type);
  if (!now) changed.isIncomplete = true;
  if (!now || now == known) return;
  store_.settleIdentifiers(type);
  changed[list] = readAgain(type);
}

std::optional<ChangedLists> CatalogueFiles::readChanged(const KnownFiles& known) {
  const auto container = store_.pathToSafariJSON().parent_path();
  if (!platform_.fileManager.fileExists(container)) {
    platform_.systemLog.print(
        fmt::format("The folder '{}' with the packages is missing.", container.string()));
    return std::nullopt;
  }
  ChangedLists changed;
  const auto preinstalled = fileOf(PackageType::PreinstalledPackages);
  if (!preinstalled || preinstalled != known.preinstalled) {
    recoverPreinstalled();
    changed.preinstalled = readAgain(PackageType::PreinstalledPackages);
  }
  changed.isIncomplete = !preinstalled;
  readIfChanged(UserList::configurable, known.configurable, changed);
  readIfChanged(UserList::custom, known.custom, changed);
  return changed;
}

bool CatalogueFiles::isUpToDate(const KnownFiles& known) {
  return !isChanged(PackageType::ConfigurablePackages, known.configurable) &&
         !isChanged(PackageType::CustomPackages, known.custom);
}

bool CatalogueFiles::saveList(UserList list, EditablePackages& packages,
                              std::span<const UnsavedEdit> unsaved, KnownFile& known) {
  const auto type = typeOf(list);
  if (isChanged(type, known)) {
    if (auto read = readAgain(type)) {
      packages = EditablePackages(std::move(read->packages));
      replay(unsaved, list, packages);
    }
  }
  const bool isWritten = store_.writePackages(packages.get(), type);
  known = fileOf(type);
  return isWritten;
}

SavedLists CatalogueFiles::save(UserPackages& packages, std::span<const UnsavedEdit> unsaved,
                                KnownFiles& known) {
  const auto lock = store_.lockPackageFiles();
  if (!lock) {
    platform_.systemLog.print(lock.error().localizedDescription);
    return {};
  }
  const bool savedConfigurable =
      saveList(UserList::configurable, packages.configurable, unsaved, known.configurable);
  const bool savedCustom = saveList(UserList::custom, packages.custom, unsaved, known.custom);
  return {savedConfigurable, savedCustom};
}

}  // namespace orvane
