#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include <fmt/format.h>

#include "BlockerKit/JSON/RecordReader.h"
#include "BlockerKit/JSON/RecordWriter.h"
#include "BlockerKit/PersistentStore/ConfigurablePackages.h"
#include "BlockerKit/PersistentStore/CopyFile.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "Platform/Foundation/ContentHash.h"
#include "Platform/Foundation/FatalError.h"

namespace orvane {
namespace {

constexpr const char* source = "BlockerKit/PersistentStore";

constexpr std::array standardTypes{PackageType::blockAds, PackageType::blockTrackers,
                                   PackageType::blockAnnoyances, PackageType::blockComments,
                                   PackageType::blockAdult};

std::string fileName(PackageType type) { return std::string(rawValue(type)); }

void append(std::vector<Package>& catalogue, std::vector<Package>::iterator first,
            std::vector<Package>::iterator last) {
  catalogue.insert(catalogue.end(), std::make_move_iterator(first), std::make_move_iterator(last));
}

[[noreturn]] void invalidFilePath(std::string_view what, int line = __builtin_LINE()) {
  fatalError(fmt::format("Invalid filepath for {}", what), source, line);
}

PackageFileForm formOf(bool expectsList) {
  return expectsList ? PackageFileForm::packageList : PackageFileForm::onePackage;
}

}  // namespace

/// The places where a package file may be.
struct PersistentStore::Candidates {
  std::optional<std::filesystem::path> bundle;
  std::filesystem::path shared;
  std::filesystem::path documents;
};

PersistentStore::PersistentStore(Platform& platform) : platform_(platform) {}

const std::optional<std::filesystem::path>& PersistentStore::sharedContainerURL() {
  std::call_once(sharedContainer_.once, [this] {
    sharedContainer_.path =
        platform_.fileManager.containerURLForSecurityApplicationGroupIdentifier(applicationGroup);
  });
  return sharedContainer_.path;
}

const std::optional<std::filesystem::path>& PersistentStore::documentsDirectoryURL() {
  std::call_once(documentsDirectory_.once, [this] {
    const auto directories = platform_.fileManager.documentDirectories();
    if (!directories.empty()) documentsDirectory_.path = directories.back();
  });
  return documentsDirectory_.path;
}

std::optional<std::filesystem::path> PersistentStore::sharePackagesDocumentsPath() {
  std::call_once(sharePackagesDocuments_.once, [this] {
    const auto& documents = documentsDirectoryURL();
    if (documents) sharePackagesDocuments_.path = *documents / "Rules.orvanepkg";
  });
  return sharePackagesDocuments_.path;
}

std::filesystem::path PersistentStore::sharedPath(PackageType type) {
  const auto& container = sharedContainerURL();
  if (!container) invalidFilePath(caseName(type));
  return *container / fileName(type);
}

std::optional<std::filesystem::path> PersistentStore::bundlePath(PackageType type) {
  const std::filesystem::path name(fileName(type));
  return platform_.mainBundle.pathForResource(name.stem().string(),
                                              name.extension().string().substr(1));
}

PersistentStore::Candidates PersistentStore::candidates(PackageType type) {
  auto bundle = bundlePath(type);
  auto shared = sharedPath(type);
  const auto& documents = documentsDirectoryURL();
  if (!documents) invalidFilePath(caseName(type));
  return {std::move(bundle), std::move(shared), *documents / fileName(type)};
}

std::optional<FileDate> PersistentStore::modificationDate(const std::filesystem::path& path) {
  const auto attributes = platform_.fileManager.attributesOfItem(path);
  if (!attributes) return std::nullopt;
  if (!attributes->modificationDate) {
    platform_.standardOutput.print(
        fmt::format("No modification date for file at path {}", path.string()));
  }
  return attributes->modificationDate;
}

/// The candidate with the newest date; of several with that date the shared one, which saves a
/// copy, or else the first.
std::optional<std::filesystem::path> PersistentStore::newest(const Candidates& candidates) {
  const auto inBundle =
      candidates.bundle ? modificationDate(*candidates.bundle) : std::optional<FileDate>();
  const auto shared = modificationDate(candidates.shared);
  const auto inDocuments = modificationDate(candidates.documents);
  const auto date = std::max({inBundle, shared, inDocuments});
  if (!date) return std::nullopt;
  if (shared == date) return candidates.shared;
  return inBundle == date ? candidates.bundle : candidates.documents;
}

/// Puts the newest copy into the shared container. False when there is none anywhere.
bool PersistentStore::refresh(PackageType type, const Candidates& candidates,
                              PackageFileForm form) {
  const auto winner = newest(candidates);
  if (!winner) return false;
  if (*winner != candidates.shared) {
    platform_.standardOutput.print(fmt::format("Copying from {} to Shared Container {}",
                                               winner->string(), candidates.shared.string()));
    copyFile(platform_, *winner, candidates.shared, /*overwrite=*/true, form);
  }
  platform_.standardOutput.print(fmt::format("{} is in Shared Container.", rawValue(type)));
  return true;
}

Expected<std::optional<std::string>> PersistentStore::fingerprint(PackageType type) {
  const auto newestCopy = newest(candidates(type));
  if (!newestCopy) return std::optional<std::string>();
  return platform_.fileManager.contents(*newestCopy).map([](const std::string& contents) {
    return std::optional(contentHash(contents));
  });
}

std::optional<std::vector<Package>> PersistentStore::readPackages(PackageType type,
                                                                  bool expectsList) {
  return readPackages(type, expectsList, platform_.makeUUID);
}

std::optional<std::vector<Package>> PersistentStore::readPackages(PackageType type,
                                                                  bool expectsList,
                                                                  const UUIDGenerator& makeUUID) {
  const auto places = candidates(type);
  if (!refresh(type, places, formOf(expectsList))) return std::nullopt;
  return parse(places.shared, expectsList, makeUUID);
}

std::optional<std::vector<Package>> PersistentStore::parse(const std::filesystem::path& path,
                                                           bool expectsList,
                                                           const UUIDGenerator& makeUUID) {
  auto contents = platform_.fileManager.contents(path);
  if (!contents || contents->empty()) return std::nullopt;
  const auto document = JSONDocument::parse(std::move(*contents));
  if (!document) return std::nullopt;
  const RecordReader reader(platform_.standardOutput, makeUUID);
  if (expectsList) return reader.packagesArrayValue(document->root());
  auto package = reader.package(document->root());
  if (!package) return std::nullopt;
  std::vector<Package> result;
  result.push_back(std::move(*package));
  return result;
}

std::vector<Package> PersistentStore::readStandardPackages() {
  std::vector<Package> packages;
  for (const auto type : standardTypes) {
    auto read = readPackages(type, /*expectsList=*/false);
    if (read && !read->empty()) {
      packages.push_back(std::move(read->front()));
    } else {
      platform_.standardOutput.print(fmt::format("{} doesn't exist on disk.", caseName(type)));
    }
  }
  return packages;
}

std::vector<Package> PersistentStore::readPreinstalledPackages() {
  return readPackages(PackageType::PreinstalledPackages, /*expectsList=*/true)
      .value_or(std::vector<Package>());
}

std::vector<Package> PersistentStore::readCustomPackages() {
  return readPackages(PackageType::CustomPackages, /*expectsList=*/true)
      .value_or(std::vector<Package>());
}

std::vector<Package> PersistentStore::readConfigurablePackages() {
  return completedConfigurablePackages(
      readPackages(PackageType::ConfigurablePackages, /*expectsList=*/true));
}

std::vector<Package> PersistentStore::readAllPackages() {
  auto configurable = readConfigurablePackages();
  if (configurable.empty()) fatalError("There are no configurable packages", source);
  auto catalogue = readPreinstalledPackages();
  append(catalogue, configurable.begin() + 1, configurable.end());
  auto custom = readCustomPackages();
  append(catalogue, custom.begin(), custom.end());
  append(catalogue, configurable.begin(), configurable.begin() + 1);
  return catalogue;
}

Expected<std::shared_ptr<void>> PersistentStore::lockPackageFiles() {
  const auto& container = sharedContainerURL();
  if (!container) invalidFilePath("the lock");
  return platform_.fileManager.lock(*container / "PackageFiles.lock");
}

void PersistentStore::settleIdentifiers(PackageType type) {
  const auto lock = lockPackageFiles();
  if (!lock) {
    platform_.systemLog.print(lock.error().localizedDescription);
    return;
  }
  bool madeSome = false;
  const UUIDGenerator observed = [&] {
    madeSome = true;
    return platform_.makeUUID();
  };
  auto packages = readPackages(type, /*expectsList=*/true, observed);
  if (!madeSome) return;
  if (type == PackageType::ConfigurablePackages) packages = completedConfigurablePackages(packages);
  writePackages(*packages, type);
}

void PersistentStore::settleIdentifiers() {
  settleIdentifiers(PackageType::ConfigurablePackages);
  settleIdentifiers(PackageType::CustomPackages);
}

std::vector<std::filesystem::path> PersistentStore::damagedUserFiles() {
  std::vector<std::filesystem::path> damaged;
  for (const auto type : {PackageType::ConfigurablePackages, PackageType::CustomPackages}) {
    auto path = sharedPath(type);
    if (isDamaged(platform_, path, PackageFileForm::packageList))
      damaged.push_back(std::move(path));
  }
  return damaged;
}

bool PersistentStore::store(const std::filesystem::path& path, const Expected<std::string>& json,
                            PackageFileForm form) {
  if (!json) {
    platform_.standardOutput.print(fmt::format("Could not encode packages for {}: {}",
                                               path.string(), json.error().localizedDescription));
    return false;
  }
  // What is replaced by itself loses nothing, and that is seen much faster than damage.
  const auto present = platform_.fileManager.contents(path);
  const bool isSame = present && *present == *json;
  if (!isSame && !setAsideIfDamaged(platform_, path, form)) return false;
  const auto created = platform_.fileManager.createFile(path, *json);
  if (!created) platform_.systemLog.print(created.error().localizedDescription);
  return created.has_value();
}

bool PersistentStore::writePackage(const Package& package, PackageType collection) {
  const auto path = sharedPath(collection);
  if (!store(path, toJSON(package), PackageFileForm::onePackage)) return false;
  platform_.standardOutput.print(fmt::format("Wrote {} package to {}", package.id, path.string()));
  return true;
}

bool PersistentStore::writeList(std::span<const Package> packages,
                                const std::filesystem::path& path) {
  if (!store(path, toJSON(packages), PackageFileForm::packageList)) return false;
  platform_.standardOutput.print(
      fmt::format("Wrote {} packages to {}", packages.size(), path.string()));
  return true;
}

bool PersistentStore::writePackages(std::span<const Package> packages, PackageType collection) {
  return writeList(packages, sharedPath(collection));
}

bool PersistentStore::writePackageForSharing(
    const Package& package, const std::optional<std::filesystem::path>& preferredSavePath) {
  if (!preferredSavePath) {
    platform_.standardOutput.print("path is nil");
    return false;
  }
  return writeList(std::span(&package, 1), *preferredSavePath);
}

void PersistentStore::copyPreinstalledPackagesFromBundleToSharedContainer() {
  constexpr auto type = PackageType::PreinstalledPackages;
  const auto bundle = bundlePath(type);
  if (!bundle || !sharedContainerURL()) invalidFilePath(rawValue(type));
  copyFile(platform_, *bundle, sharedPath(type), /*overwrite=*/true, PackageFileForm::packageList);
}

std::optional<std::vector<Package>> PersistentStore::downloadPreinstalledPackagesFromRemoteURL(
    std::string_view url) {
  auto contents = platform_.urlLoader.contents(url);
  if (!contents) {
    platform_.systemLog.print(contents.error().localizedDescription);
    return std::nullopt;
  }
  if (contents->empty()) return std::nullopt;
  const auto document = JSONDocument::parse(std::move(*contents));
  if (!document) return std::nullopt;
  auto package =
      RecordReader(platform_.standardOutput, platform_.makeUUID).package(document->root());
  if (!package) return std::nullopt;
  return std::vector<Package>{std::move(*package)};
}

}  // namespace orvane
