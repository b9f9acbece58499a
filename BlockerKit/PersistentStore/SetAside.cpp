#include "BlockerKit/PersistentStore/SetAside.h"

#include <string>

#include <fmt/chrono.h>

#include "BlockerKit/JSON/RecordReader.h"

namespace orvane {
namespace {

/// Notices whether the reader had something to say, which is when it drops something.
class Listener final : public LineOutput {
 public:
  void print(std::string_view /*line*/) override { heard = true; }
  bool heard = false;
};

bool readsBackInFull(std::string contents, PackageFileForm form) {
  if (contents.empty()) return true;
  const auto document = JSONDocument::parse(std::move(contents));
  if (!document) return false;
  Listener listener;
  const UUIDGenerator anyIdentifier = [] { return std::string(); };
  const RecordReader reader(listener, anyIdentifier);
  const bool hasForm = form == PackageFileForm::packageList ? document->root().array().has_value()
                                                            : document->root().object().has_value();
  if (!hasForm) return false;
  if (form == PackageFileForm::packageList) {
    reader.packagesArrayValue(document->root());
  } else {
    reader.package(document->root());
  }
  return !listener.heard;
}

std::filesystem::path freeNameFor(NSFileManager& files, const std::filesystem::path& path,
                                  FileDate date) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
  const auto base =
      fmt::format("{}.set-aside-{:%Y-%m-%dT%H.%M.%SZ}", path.stem().string(), seconds);
  auto candidate = path.parent_path() / (base + path.extension().string());
  for (int number = 2; files.fileExists(candidate); ++number) {
    candidate =
        path.parent_path() / fmt::format("{}-{}{}", base, number, path.extension().string());
  }
  return candidate;
}

}  // namespace

bool setAsideIfDamaged(Platform& platform, const std::filesystem::path& path,
                       PackageFileForm form) {
  auto& files = platform.fileManager;
  const auto attributes = files.attributesOfItem(path);
  if (!attributes) return true;
  auto contents = files.contents(path);
  if (contents && readsBackInFull(std::move(*contents), form)) return true;
  const auto name = freeNameFor(files, path, attributes->modificationDate.value_or(FileDate()));
  const auto moved = files.moveItem(path, name);
  if (!moved) {
    platform.systemLog.print(
        fmt::format("Could not set aside '{}', which cannot be read in full: {}", path.string(),
                    moved.error().localizedDescription));
    return false;
  }
  platform.systemLog.print(fmt::format("Set aside '{}', which cannot be read in full, as '{}'",
                                       path.string(), name.string()));
  return true;
}

}  // namespace orvane
