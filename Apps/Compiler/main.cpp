#include <cstdio>
#include <string>
#include <utility>

#include <fmt/format.h>
#include <sys/stat.h>
#include <webkit/webkit.h>

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/Lint/ContentBlockerLint.h"
#include "Linux/Posix/PosixFileSystem.h"
#include "Linux/WebKitGTK/CompiledListDirectory.h"
#include "Linux/WebKitGTK/ListCompiler.h"
#include "Platform/Foundation/ContentHash.h"

namespace {

using namespace orvane;

std::string compilerVersion() {
  return fmt::format("{}.{}.{}", webkit_get_major_version(), webkit_get_minor_version(),
                     webkit_get_micro_version());
}

bool isIntact(CompiledListDirectory& directory, const CompiledList& list) {
  return list.compiler == compilerVersion() && directory.checksumOf(list.folder) == list.checksum;
}

/// A line for each of the first entries of a list that the browser refuses: which it is, and why.
std::string refusedEntries(std::string json) {
  constexpr int mostLines = 10;
  const auto document = JSONDocument::parse(std::move(json));
  const auto entries = document ? document->root().array() : std::nullopt;
  if (!entries) return "";
  std::string lines;
  int count = 0;
  int number = 0;
  for (const auto entry : *entries) {
    ++number;
    for (const auto& finding : lintContentBlocker(JSONValue(entry)).findings) {
      if (finding.severity != Severity::Error || ++count > mostLines) continue;
      lines += fmt::format("\nEntry {} of the list: {}{}{}", number, finding.key,
                           finding.key.empty() ? "" : ": ", finding.reason);
    }
  }
  return lines;
}

/// Makes the list that `source` holds once the lock is ours the current one. Of several that run at
/// once the last to get the lock reads the newest list, so an older one never stays in force.
Expected<void> compile(const std::filesystem::path& source, CompiledListDirectory& directory) {
  if (auto created = directory.create(); !created) return created;
  PosixFileSystem files;
  const auto lock = directory.lock();
  if (!lock) return tl::unexpected(lock.error());
  const auto json = files.read(source);
  if (!json) return tl::unexpected(json.error());
  const auto hash = contentHash(*json);
  const auto previous = directory.current();
  if (previous && previous->source == hash && isIntact(directory, *previous)) return {};

  const auto folder = directory.newFolderFor(hash);
  auto made =
      ListCompiler(directory.pathOf(folder))
          .compile(CompiledListDirectory::identifier, *json)
          .and_then([&]() -> Expected<void> {
            const auto checksum = directory.checksumOf(folder);
            if (checksum) {
              return directory.setCurrent({hash, folder, *checksum, compilerVersion()});
            }
            return tl::unexpected(NSError{"orvane", 1, "The compiled list cannot be read."});
          });
  if (!made) {
    directory.remove(folder);
    auto error = std::move(made.error());
    error.localizedDescription += refusedEntries(*json);
    return tl::unexpected(std::move(error));
  }
  directory.removeAllBut(folder, previous ? previous->folder : folder);
  return {};
}

int run(const std::filesystem::path& list, const std::filesystem::path& folder) {
  PosixFileSystem files;
  CompiledListDirectory directory(files, folder);
  const auto result = compile(list, directory);
  if (result) return 0;
  fmt::print("{}\n", result.error().localizedDescription);
  return 1;
}

}  // namespace

/// The reason of a failure is the standard output; standard error has the browser engine's own
/// noise.
int main(int argc, char** argv) {
  if (argc != 3) {
    static_cast<void>(std::fputs("usage: orvane-compile LIST FOLDER\n", stderr));
    return 2;
  }
  ::umask(S_IRWXG | S_IRWXO);  // The browser's own store would make files that others can read.
  try {
    return run(argv[1], argv[2]);
  } catch (const std::exception& error) {
    static_cast<void>(std::puts(error.what()));
    return 1;
  }
}
