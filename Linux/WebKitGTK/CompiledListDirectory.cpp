#include "Linux/WebKitGTK/CompiledListDirectory.h"

#include <cerrno>
#include <utility>

#include <fmt/format.h>

#include "Platform/Foundation/ContentHash.h"

namespace orvane {
namespace {

constexpr std::string_view formatLine = "orvane compiled list 1\n";

/// Takes the line "KEY VALUE\n" from the front of `text`.
std::optional<std::string> takeLine(std::string_view& text, std::string_view key) {
  if (!text.starts_with(key) || text.substr(key.size(), 1) != " ") return std::nullopt;
  text.remove_prefix(key.size() + 1);
  const auto end = text.find('\n');
  if (end == std::string_view::npos) return std::nullopt;
  std::string value(text.substr(0, end));
  text.remove_prefix(end + 1);
  return value;
}

bool isHash(std::string_view text) {
  return text.size() == 32 && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/// A hash, a full stop and a number.
bool isFolderName(std::string_view name) {
  return name.size() > 33 && isHash(name.substr(0, 32)) && name[32] == '.' &&
         name.find_first_not_of("0123456789", 33) == std::string_view::npos;
}

std::optional<CompiledList> listNamedBy(std::string_view text) {
  if (!text.starts_with(formatLine)) return std::nullopt;
  text.remove_prefix(formatLine.size());
  auto source = takeLine(text, "source");
  auto folder = takeLine(text, "folder");
  auto checksum = takeLine(text, "checksum");
  auto compiler = takeLine(text, "compiler");
  if (!source || !isHash(*source) || !folder || !isFolderName(*folder)) return std::nullopt;
  if (!checksum || !compiler) return std::nullopt;
  return CompiledList{std::move(*source), std::move(*folder), std::move(*checksum),
                      std::move(*compiler)};
}

}  // namespace

CompiledListDirectory::CompiledListDirectory(FileSystem& fileSystem, std::filesystem::path path)
    : fileSystem_(fileSystem), path_(std::move(path)) {}

Expected<void> CompiledListDirectory::create() { return fileSystem_.createDirectories(path_); }

std::filesystem::path CompiledListDirectory::pathOf(const std::string& folder) const {
  return path_ / folder;
}

std::string CompiledListDirectory::newFolderFor(const std::string& source) const {
  for (int number = 1;; ++number) {
    auto name = fmt::format("{}.{}", source, number);
    std::error_code error;
    if (!std::filesystem::exists(pathOf(name), error)) return name;
  }
}

Expected<std::optional<CompiledList>> CompiledListDirectory::readCurrent() {
  const auto file = path_ / currentFileName;
  const auto contents = fileSystem_.read(file);
  if (contents) {
    if (auto list = listNamedBy(*contents)) return list;
    return tl::unexpected(
        NSError{"orvane", 1, fmt::format("'{}' names no compiled list.", file.string())});
  }
  if (contents.error().domain == NSPOSIXErrorDomain && contents.error().code == ENOENT) {
    return std::nullopt;
  }
  return tl::unexpected(contents.error());
}

std::optional<CompiledList> CompiledListDirectory::current() {
  return readCurrent().value_or(std::nullopt);
}

Expected<void> CompiledListDirectory::setCurrent(const CompiledList& list) {
  const auto text = fmt::format("{}source {}\nfolder {}\nchecksum {}\ncompiler {}\n", formatLine,
                                list.source, list.folder, list.checksum, list.compiler);
  return fileSystem_.replace(path_ / currentFileName, text, std::nullopt);
}

std::optional<std::string> CompiledListDirectory::checksumOf(const std::string& folder) {
  const auto contents =
      fileSystem_.read(pathOf(folder) / fmt::format("ContentRuleList-{}", identifier));
  if (!contents) return std::nullopt;
  return contentHash(*contents);
}

void CompiledListDirectory::remove(const std::string& folder) {
  std::error_code ignored;  // What cannot be removed now is tried again after the next compile.
  std::filesystem::remove_all(pathOf(folder), ignored);
}

void CompiledListDirectory::removeAllBut(const std::string& current, const std::string& previous) {
  std::error_code error;
  std::filesystem::directory_iterator entry(path_, error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    const std::string name = entry->path().filename();
    if (isFolderName(name) && name != current && name != previous) remove(name);
  }
}

Expected<std::shared_ptr<void>> CompiledListDirectory::lock() {
  return fileSystem_.lock(path_ / "lock");
}

}  // namespace orvane
