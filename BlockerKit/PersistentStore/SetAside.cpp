#include "BlockerKit/PersistentStore/SetAside.h"

#include <string>

#include <fmt/chrono.h>

#include "BlockerKit/JSON/JSONCoverage.h"
#include "BlockerKit/JSON/RecordReader.h"
#include "BlockerKit/JSON/RecordWriter.h"

namespace orvane {
namespace {

class Silence final : public LineOutput {
 public:
  void print(std::string_view /*line*/) override {}
};

/// What is left of the records after they were read and written.
Expected<std::string> writtenBack(const JSONValue& json, PackageFileForm form) {
  Silence silence;
  const UUIDGenerator anyIdentifier = [] { return std::string(); };
  const RecordReader reader(silence, anyIdentifier);
  if (form == PackageFileForm::packageList) {
    return toJSON(std::span<const Package>(reader.packagesArrayValue(json)));
  }
  return toJSON(reader.package(json).value_or(Package()));
}

bool readsBackInFull(std::string contents, PackageFileForm form) {
  if (contents.empty()) return true;
  const auto document = JSONDocument::parse(std::move(contents));
  if (!document) return false;
  auto written = writtenBack(document->root(), form);
  if (!written) return false;
  const auto kept = JSONDocument::parse(std::move(*written));
  return kept && covers(kept->root(), document->root());
}

/// The name for what is set aside; `number` tells several of the same date apart.
std::filesystem::path asideName(const std::filesystem::path& path, FileDate date, int number) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
  return path.parent_path() /
         fmt::format("{}.set-aside-{:%Y-%m-%dT%H.%M.%SZ}{}{}", path.stem().string(), seconds,
                     number == 1 ? "" : fmt::format("-{}", number), path.extension().string());
}

/// Keeps what is at `path` under a name of its own, which is returned. `contents` is what could be
/// read of it.
Expected<std::filesystem::path> keep(NSFileManager& files, const std::filesystem::path& path,
                                     FileDate date, const Expected<std::string>& contents) {
  int number = 1;
  auto name = asideName(path, date, number);
  while (files.fileExists(name)) {
    // A replacement that failed after this step has kept the very same before.
    if (contents && files.contents(name) == contents) return name;
    name = asideName(path, date, ++number);
  }
  const auto kept = contents ? files.copyItem(path, name) : files.moveItem(path, name);
  if (!kept) return tl::unexpected(kept.error());
  return name;
}

}  // namespace

bool isDamaged(Platform& platform, const std::filesystem::path& path, PackageFileForm form) {
  if (!platform.fileManager.fileExists(path)) return false;
  auto contents = platform.fileManager.contents(path);
  return !contents || !readsBackInFull(std::move(*contents), form);
}

bool setAsideIfDamaged(Platform& platform, const std::filesystem::path& path,
                       PackageFileForm form) {
  auto& files = platform.fileManager;
  const auto attributes = files.attributesOfItem(path);
  if (!attributes) return true;
  const auto contents = files.contents(path);
  if (contents && readsBackInFull(*contents, form)) return true;
  const auto kept = keep(files, path, attributes->modificationDate.value_or(FileDate()), contents);
  if (!kept) {
    platform.systemLog.print(
        fmt::format("Could not set aside '{}', which cannot be read in full: {}", path.string(),
                    kept.error().localizedDescription));
    return false;
  }
  platform.systemLog.print(fmt::format("Set aside '{}', which cannot be read in full, as '{}'",
                                       path.string(), kept->string()));
  return true;
}

}  // namespace orvane
