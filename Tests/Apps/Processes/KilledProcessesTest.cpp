#include <algorithm>
#include <chrono>
#include <cstring>
#include <map>
#include <random>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/JSON/JSONDocument.h"
#include "Tests/Apps/Processes/Acknowledgements.h"
#include "Tests/Apps/Processes/Extension.h"
#include "Tests/Apps/Processes/UserHome.h"
#include "Tests/Linux/SQLite/RawDatabase.h"

namespace orvane::test {
namespace {

/// Processes that change rules and packages, and the companion, each killed and started anew in
/// turn.
class KilledProcesses : public ::testing::Test {
 protected:
  struct Writer {
    std::string command;
    std::string name;
    std::unique_ptr<ChildProcess> process;
  };

  void start(Writer& writer) {
    writer.name = writer.command + std::to_string(++started);
    writer.process = std::make_unique<ChildProcess>(
        std::vector<std::string>{ORVANE_PROGRAMS "/orvane-extension-client", writer.command,
                                 home.log(), writer.name},
        ChildProcess::Options{.log = home.log(), .hasOutput = true});
  }

  /// Until a moment that differs from call to call.
  void spin(int most) {
    const std::chrono::microseconds duration(std::uniform_int_distribution(0, most)(random));
    const auto end = std::chrono::steady_clock::now() + duration;
    while (std::chrono::steady_clock::now() < end) {
    }
  }

  /// Kills it at work, and keeps the number of the last change that it acknowledged.
  void kill(Writer& writer) {
    std::int32_t last = -1;
    ASSERT_EQ(::read(writer.process->output(), &last, sizeof last),
              static_cast<ssize_t>(sizeof last))
        << writer.name << " has failed: " << home.get(home.log());
    spin(3000);
    writer.process->kill();
    const auto rest = writer.process->rest();
    ASSERT_EQ(rest.size() % sizeof last, 0U);
    if (!rest.empty()) std::memcpy(&last, &rest[rest.size() - sizeof last], sizeof last);
    acknowledged[writer.command][writer.name] = last;
  }

  void expectValidFiles() {
    for (const auto* name :
         {"PreinstalledPackages.json", "ConfigurablePackages.json", "CustomPackages.json"}) {
      const auto path = home.container() / name;
      if (std::filesystem::exists(path)) {
        EXPECT_TRUE(JSONDocument::parse(home.get(path))) << path;
      }
    }
    EXPECT_THAT(extension.process.store().damagedUserFiles(), ::testing::IsEmpty());
    bool isValid = true;
    if (std::filesystem::exists(home.list())) home.urlFilters(&isValid);
    EXPECT_TRUE(isValid);
    EXPECT_TRUE(home.isEnforcedListIntact());
    for (const auto* name : {"UserDefaults.sqlite", "UbiquitousKeyValueStore.sqlite"}) {
      EXPECT_EQ(RawDatabase(home.container() / name).run("PRAGMA integrity_check"), "ok") << name;
    }
  }

  /// Of each process every acknowledged rule is there, and at the most one more.
  void expectEveryRule() {
    const auto filters = home.urlFilters();
    const std::set<std::string> rules(filters.begin(), filters.end());
    EXPECT_EQ(rules.size(), filters.size()) << "none is there twice";
    for (const auto& [name, last] : acknowledged["add-rules"]) {
      for (std::int32_t number = 0; number <= last; ++number) {
        EXPECT_TRUE(rules.contains(nameOfChange(name, number))) << name << " " << number;
      }
      EXPECT_FALSE(rules.contains(nameOfChange(name, last + 2))) << name;
    }
  }

  /// Of each process the packages that are off are those after its acknowledged changes, or after
  /// one more.
  void expectEverySwitch() {
    const auto disabled = extension.preferences().disabledPackageIDs();
    for (const auto& [name, last] : acknowledged["switch-packages"]) {
      std::set<std::string> own;
      for (const auto& package : disabled) {
        if (package.starts_with(name + "-")) own.insert(package);
      }
      EXPECT_TRUE(own == switchedOff(name, last) || own == switchedOff(name, last + 1))
          << name << " after " << last << " has " << own.size();
    }
  }
  static std::set<std::string> switchedOff(const std::string& name, std::int32_t last) {
    std::set<std::string> packages;
    for (std::int32_t number = 0; number <= last; ++number) {
      const auto [package, isDisabled] = switchOf(name, number);
      if (isDisabled) {
        packages.insert(package);
      } else {
        packages.erase(package);
      }
    }
    return packages;
  }

  static constexpr unsigned seed = 20261121;
  std::mt19937 random{seed};
  UserHome home{UserHome::bestCompiler};
  Extension extension{home.log()};
  int started = 0;
  std::map<std::string, std::map<std::string, std::int32_t>> acknowledged;
};

TEST_F(KilledProcesses, leaveValidFilesWithAllThatTheyHaveAcknowledged) {
  RecordProperty("seed", static_cast<int>(seed));
  SCOPED_TRACE("seed " + std::to_string(seed));
  constexpr int kills = 200;
  Writer writers[] = {
      {"add-rules", "", nullptr}, {"switch-packages", "", nullptr}, {"add-rules", "", nullptr}};
  constexpr int inTurn = std::size(writers) + 1;
  for (auto& writer : writers) start(writer);
  auto companion = home.startCompanion();
  for (int killed = 0; killed < kills; ++killed) {
    const auto turn = static_cast<std::size_t>(killed % inTurn);
    if (turn == std::size(writers)) {
      spin(10'000);
      EXPECT_FALSE(companion->hasEnded());
      companion->kill();
      companion = home.startCompanion();
    } else {
      kill(writers[turn]);
      if (HasFatalFailure()) return;
      start(writers[turn]);
    }
    if (killed % 20 == 0) expectValidFiles();
  }
  for (auto& writer : writers) writer.process->kill();
  companion->kill();
  expectValidFiles();
  expectEverySwitch();
  EXPECT_GT(acknowledged["add-rules"].size(), 90U);
  EXPECT_GT(acknowledged["switch-packages"].size(), 45U);

  const auto last = home.startCompanion();
  extension.makeARoundTrip();
  EXPECT_TRUE(home.browserHasTheList());
  EXPECT_EQ(extension.status("error"), "");
  expectEveryRule();
  expectValidFiles();
}

}  // namespace
}  // namespace orvane::test
