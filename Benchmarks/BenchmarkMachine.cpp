#include "Benchmarks/BenchmarkMachine.h"

#include "BlockerKit/Catalogue/Catalogue.h"
#include "BlockerKit/Catalogue/EnabledBlockers.h"
#include "Platform/Foundation/FatalError.h"

namespace orvane::benchmarks {
namespace {

void require(bool success, std::string_view what, int line = __builtin_LINE()) {
  if (!success) fatalError(what, "Benchmarks", line);
}

}  // namespace

BenchmarkMachine::BenchmarkMachine(const Scenario& scenario)
    : scenario_(scenario),
      container_(folder_ / PersistentStore::applicationGroup),
      fileManager_(fileSystem_, {folder_.path(), {folder_ / "Documents"}}),
      bundle_(fileManager_, folder_ / "bundle"),
      platform_(test::withFiles(rest_.platform, fileManager_, bundle_)) {
  PersistentStore store(platform_);
  require(store.writePackages(scenario.preinstalled, PackageType::PreinstalledPackages) &&
              store.writePackages(scenario.configurable, PackageType::ConfigurablePackages) &&
              store.writePackages(scenario.custom, PackageType::CustomPackages),
          "The packages cannot be written");
  ruleCount_ = blockers(store).size();
  rebuild();
  list_ = read(container_ / "tmp.json");
}

void BenchmarkMachine::rebuild() {
  PersistentStore store(platform_);
  require(store.writeBlockersToSafariJSONFile(blockers(store)), "The list cannot be written");
}

std::vector<Blocker> BenchmarkMachine::blockers(PersistentStore& store) const {
  const auto catalogue =
      Catalogue{.preinstalled = share(store.readPreinstalledPackages())}.loaded(store);
  return enabledBlockers(catalogue.packages(), {}, scenario_.disabledRuleIDs);
}

std::vector<std::filesystem::path> BenchmarkMachine::packageFiles() const {
  return {container_ / "PreinstalledPackages.json", container_ / "ConfigurablePackages.json",
          container_ / "CustomPackages.json"};
}

std::string BenchmarkMachine::read(const std::filesystem::path& path) {
  auto contents = fileSystem_.read(path);
  require(contents.has_value(), "A file cannot be read");
  return std::move(*contents);
}

void BenchmarkMachine::replace(const std::filesystem::path& path, std::string_view contents) {
  require(fileSystem_.replace(path, contents, std::nullopt).has_value(),
          "A file cannot be written");
}

}  // namespace orvane::benchmarks
