#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Linux/Posix/PosixFileSystem.h"
#include "Tests/Apps/Processes/ChildProcess.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {

/// A user with a home folder of its own, in which the companion is installed with a small catalogue
/// of pre-installed packages. This process and its children become processes of that user.
///
/// The cloud is away, so that no list is written but for what these processes do.
///
/// The browser's compiler is the real one, or else a script that keeps the list it was given as the
/// one that is enforced, and takes the same lock for that.
class UserHome {
 public:
  enum class Compiler { scripted, real };

#ifdef ORVANE_COMPILER
  static constexpr auto bestCompiler = Compiler::real;
#else
  static constexpr auto bestCompiler = Compiler::scripted;
#endif

  /// With a pre-installed package "block-ads" of `rules` rules "ads-1", "ads-2" and so on, whose
  /// URL filters are their names, and a "block-trackers" with "trackers-1".
  explicit UserHome(Compiler compiler, int rules = 2);

  /// Kept open for writing by nobody, so that a program can be made there and run at once.
  std::filesystem::path program() const { return folder / "programs/bin/orvane"; }
  std::filesystem::path container() const { return folder / "data/orvane" / group; }
  std::filesystem::path list() const { return container() / "tmp.json"; }
  std::filesystem::path settings() const { return folder / "config/orvane/browser.ini"; }
  std::filesystem::path log() const { return folder / "log.txt"; }

  /// Starts `orvane --hidden`.
  std::unique_ptr<ChildProcess> startCompanion(std::function<void()> prepare = nullptr) const;

  void put(const std::filesystem::path& path, const std::string& text) const;
  std::string get(const std::filesystem::path& path);
  void setContentBlockerEnabled(bool enabled) const;

  /// Of the scripted compiler: what it says when it refuses the next lists; nothing to accept them.
  void setRefusal(const std::string& text) const;
  /// While the result lives no list is compiled.
  std::shared_ptr<void> holdCompiler();
  bool somebodyWaitsForTheCompiler();

  /// The "url-filter" of every entry of the blocker list; `isValid` is false when it is no list.
  std::vector<std::string> urlFilters(bool* isValid = nullptr);
  /// Whether the browser enforces the blocker list as it is now.
  bool browserHasTheList();
  /// Whether what the browser enforces, if anything, is undamaged.
  bool isEnforcedListIntact();

  /// How many lines of what the companion and others have said contain that text.
  int linesWith(const std::string& text);

  static constexpr const char* group = "Q4XR7T2M9V.com.tessaly.Blocker";
  TemporaryDirectory folder;

 private:
  void installCompiler() const;
  std::filesystem::path control(const char* name) const { return folder / "control" / name; }
  std::string enforcedHash();

  Compiler compiler_;
  PosixFileSystem files_;
};

}  // namespace orvane::test
