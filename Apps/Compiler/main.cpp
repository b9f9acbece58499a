#include <cstdio>
#include <string>

#include <fmt/format.h>
#include <sys/stat.h>
#include <webkit/webkit.h>

#include "Linux/Posix/PosixFileSystem.h"
#include "Linux/WebKitGTK/CompiledListDirectory.h"
#include "Linux/WebKitGTK/ListCompiler.h"

namespace {

using namespace orvane;

std::string compilerVersion() {
  return fmt::format("{}.{}.{}", webkit_get_major_version(), webkit_get_minor_version(),
                     webkit_get_micro_version());
}

bool isInForceAndIntact(CompiledListDirectory& directory, const std::string& name) {
  const auto current = directory.current();
  return current && current->name == name && current->compiler == compilerVersion() &&
         directory.checksumOf(name) == current->checksum;
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
  const auto name = CompiledListDirectory::nameFor(*json);
  if (isInForceAndIntact(directory, name)) return {};

  const auto previous = directory.current();
  directory.remove(name);
  auto compiled =
      ListCompiler(directory.folderOf(name)).compile(CompiledListDirectory::identifier, *json);
  if (!compiled) {
    directory.remove(name);
    return compiled;
  }
  const auto checksum = directory.checksumOf(name);
  if (!checksum) return tl::unexpected(NSError{"orvane", 1, "The compiled list cannot be read."});
  if (auto moved = directory.setCurrent({name, *checksum, compilerVersion()}); !moved) return moved;
  directory.removeAllBut(name, previous ? previous->name : name);
  return {};
}

}  // namespace

/// The reason of a failure is the standard output; standard error has the browser engine's own
/// noise.
int main(int argc, char** argv) {
  if (argc != 3) {
    fmt::print(stderr, "usage: orvane-compile LIST FOLDER\n");
    return 2;
  }
  ::umask(S_IRWXG | S_IRWXO);  // The browser's own store would make files that others can read.
  PosixFileSystem files;
  CompiledListDirectory directory(files, argv[2]);
  const auto result = compile(argv[1], directory);
  if (result) return 0;
  fmt::print("{}\n", result.error().localizedDescription);
  return 1;
}
