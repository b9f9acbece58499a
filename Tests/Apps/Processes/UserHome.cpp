#include "Tests/Apps/Processes/UserHome.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <fmt/format.h>
#include <sys/stat.h>

#include "BlockerKit/JSON/JSONDocument.h"
#include "Linux/Posix/CloudAccount.h"
#include "Linux/WebKitGTK/CompiledListDirectory.h"
#include "Platform/Foundation/ContentHash.h"

namespace orvane::test {
namespace {

namespace fs = std::filesystem;

std::string rule(const std::string& id) {
  return fmt::format(R"({{"id":"{0}","name":"","content":{{"trigger":{{"url-filter":"{0}"}},)"
                     R"("action":{{"type":"block"}}}}}})",
                     id);
}

std::string preinstalledPackages(int rules) {
  std::string ads;
  for (int number = 1; number <= rules; ++number) {
    ads += (ads.empty() ? "" : ",") + rule(fmt::format("ads-{}", number));
  }
  return fmt::format(R"([{{"id":"block-ads","name":"Ads","rules":[{}]}},)"
                     R"({{"id":"block-trackers","name":"Trackers","rules":[{}]}}])",
                     ads, rule("trackers-1"));
}

/// A program finds its resources and its helper by its own path, so a symbolic link would not do.
void install(const fs::path& program, const fs::path& place) {
  std::error_code error;
  fs::create_hard_link(program, place, error);
  if (error) fs::copy_file(program, place);
}

}  // namespace

UserHome::UserHome(Compiler compiler, int rules) : compiler_(compiler) {
  for (const auto* name : {"programs/bin", "programs/share/orvane", "control"}) {
    fs::create_directories(folder / name);
  }
  install(ORVANE_PROGRAMS "/orvane", program());
  installCompiler();
  put(folder / "programs/share/orvane/PreinstalledPackages.json", preinstalledPackages(rules));
  for (const auto& [name, place] : {std::pair{"HOME", ""},
                                    {"XDG_DATA_HOME", "data"},
                                    {"XDG_CONFIG_HOME", "config"},
                                    {"XDG_STATE_HOME", "state"}}) {
    ::setenv(name, (folder / place).c_str(), 1);
  }
  const auto noServer = "host=" + folder.path().string();
  ::setenv(CloudAccount::environmentVariable, noServer.c_str(), 1);
}

void UserHome::installCompiler() const {
  const auto place = folder / "programs/bin/orvane-compile";
#ifdef ORVANE_COMPILER
  if (compiler_ == Compiler::real) return install(ORVANE_COMPILER, place);
#endif
  put(place, fmt::format(R"(#!/bin/sh
control='{}'
mkdir -p "$2"
exec 9>"$2/lock"
flock 9
if [ -s "$control/refusal" ]; then cat "$control/refusal"; exit 1; fi
cp "$1" "$control/enforced.$$" && mv "$control/enforced.$$" "$control/enforced"
)",
                         (folder / "control").string()));
  fs::permissions(place, fs::perms(0755));
}

std::unique_ptr<ChildProcess> UserHome::startCompanion(std::function<void()> prepare) const {
  return std::make_unique<ChildProcess>(
      std::vector<std::string>{program(), "--hidden"},
      ChildProcess::Options{.log = log(), .prepare = std::move(prepare)});
}

void UserHome::put(const fs::path& path, const std::string& text) const {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

std::string UserHome::get(const fs::path& path) { return files_.read(path).value_or(""); }

void UserHome::setContentBlockerEnabled(bool enabled) const {
  put(settings(),
      fmt::format("[Content Blockers]\ncom.tessaly.BlockerMac.BlockerMacExtension={}\n", enabled));
}

void UserHome::setRefusal(const std::string& text) const { put(control("refusal"), text); }

std::shared_ptr<void> UserHome::holdCompiler() {
  fs::create_directories(container() / "CompiledLists");
  return *files_.lock(container() / "CompiledLists/lock");
}

bool UserHome::somebodyWaitsForTheCompiler() {
  struct stat status {};
  if (::stat((container() / "CompiledLists/lock").c_str(), &status) != 0) return false;
  std::ifstream locks("/proc/locks");
  for (std::string line; std::getline(locks, line);) {
    const bool isOurs = line.find(fmt::format(":{} ", status.st_ino)) != line.npos;
    if (isOurs && line.find("-> FLOCK") != line.npos) return true;
  }
  return false;
}

std::vector<std::string> UserHome::urlFilters(bool* isValid) {
  std::vector<std::string> result;
  const auto document = JSONDocument::parse(get(list()));
  const auto blockers = document ? document->root().array() : std::nullopt;
  if (isValid != nullptr) *isValid = blockers.has_value();
  if (!blockers) return result;
  for (const auto blocker : *blockers) {
    result.push_back(JSONValue(blocker)["trigger"]["url-filter"].stringValue());
  }
  return result;
}

/// The hash of the list that the browser enforces.
std::string UserHome::enforcedHash() {
  if (compiler_ == Compiler::scripted) return contentHash(get(control("enforced")));
  CompiledListDirectory directory(files_, container() / "CompiledLists");
  const auto current = directory.current();
  return current && isEnforcedListIntact() ? current->source : "";
}

bool UserHome::browserHasTheList() {
  const auto text = get(list());
  return !text.empty() && enforcedHash() == contentHash(text);
}

bool UserHome::isEnforcedListIntact() {
  if (compiler_ == Compiler::scripted) {
    const auto text = get(control("enforced"));
    return text.empty() || JSONDocument::parse(text).has_value();
  }
  CompiledListDirectory directory(files_, container() / "CompiledLists");
  if (!fs::exists(directory.path() / CompiledListDirectory::currentFileName)) return true;
  const auto current = directory.current();
  return current && current->checksum == directory.checksumOf(current->folder);
}

int UserHome::linesWith(const std::string& text) {
  std::istringstream lines(get(log()));
  int count = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.find(text) != line.npos) ++count;
  }
  return count;
}

}  // namespace orvane::test
