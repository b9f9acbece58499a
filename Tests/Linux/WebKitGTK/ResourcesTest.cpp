#include <map>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/JSON/RecordReader.h"
#include "BlockerKit/JSON/RecordWriter.h"
#include "Linux/Posix/PosixFileSystem.h"
#include "Linux/WebKitGTK/ListCompiler.h"
#include "Tests/Support/RecordingOutput.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using ::testing::IsEmpty;

const std::filesystem::path resources = ORVANE_RESOURCES;
const std::vector<std::string> categories{"block-ads",      "block-trackers", "block-annoyances",
                                          "block-comments", "block-adult",    "block-international",
                                          "block-custom"};

class Resources : public ::testing::Test {
 protected:
  JSONDocument parse(const std::string& name) {
    return *JSONDocument::parse(*PosixFileSystem().read(resources / name));
  }

  std::vector<Package> packages() {
    std::vector<Package> result;
    for (const auto& category : categories) {
      const auto document = parse(category + ".json");
      result.push_back(*reader.package(document.root()));
    }
    return result;
  }

  RecordingOutput dropped;
  UUIDGenerator makeUUID = [] { return std::string("made"); };
  RecordReader reader{dropped, makeUUID};
};

TEST_F(Resources, categoriesAreReadInFullUnderTheirOwnNames) {
  const auto read = packages();
  for (std::size_t index = 0; index < categories.size(); ++index) {
    EXPECT_EQ(read[index].id, categories[index]);
    EXPECT_NE(read[index].name, "");
  }
  EXPECT_THAT(dropped.lines, IsEmpty());
}

TEST_F(Resources, preinstalledPackagesAreTheCategories) {
  const auto document = parse("PreinstalledPackages.json");
  EXPECT_EQ(reader.packagesArrayValue(document.root()), packages());
}

TEST_F(Resources, configurableAndCustomPackagesAreNotAmongThem) {
  EXPECT_FALSE(std::filesystem::exists(resources / "ConfigurablePackages.json"));
  EXPECT_FALSE(std::filesystem::exists(resources / "CustomPackages.json"));
}

TEST_F(Resources, holdAtLeastFiveHundredRulesWithAnIdAndANameEach) {
  std::size_t count = 0;
  for (const auto& package : packages()) {
    std::set<std::string> ids;
    std::set<std::string> names;
    for (const auto& rule : package.rules) {
      EXPECT_TRUE(ids.insert(rule.id).second) << package.id << ": " << rule.id;
      EXPECT_TRUE(names.insert(rule.name).second) << package.id << ": " << rule.name;
      EXPECT_GT(rule.name.size(), rule.name.find(' ')) << "a name is a phrase: " << rule.name;
      EXPECT_NE(rule.id, "made");
      ++count;
    }
  }
  EXPECT_GE(count, 500U);
}

TEST_F(Resources, noHostStandsTwiceInACategory) {
  constexpr std::string_view beginning = R"(^[^:/]+://([^/:]+\.)?)";
  constexpr std::string_view end = "[/:]";
  std::size_t hosts = 0;
  for (const auto& package : packages()) {
    std::set<std::pair<std::string, ActionType>> seen;
    for (const auto& rule : package.rules) {
      const std::string& filter = rule.blocker.trigger.urlFilter;
      if (!filter.starts_with(beginning) || !filter.ends_with(end)) continue;
      ++hosts;
      EXPECT_TRUE(seen.emplace(filter, rule.blocker.action.type()).second)
          << package.id << ": " << filter;
    }
  }
  EXPECT_GE(hosts, 400U) << "the form of host rules is not what this test takes it for";
}

TEST_F(Resources, everyRuleIsAcceptedByTheBrowser) {
  TemporaryDirectory store;
  ListCompiler compiler(store.path());
  for (const auto& package : packages()) {
    std::vector<Blocker> blockers;
    for (const auto& rule : package.rules) blockers.push_back(rule.blocker);
    const auto compiled = compiler.compile(package.id, *toJSON(std::span<const Blocker>(blockers)));
    EXPECT_TRUE(compiled) << package.id << ": " << compiled.error().localizedDescription;
    for (const auto& rule : package.rules) {
      // The compiler drops a rule with an invalid selector in silence, unless it is the only one.
      if (rule.blocker.action.type() != ActionType::Hide) continue;
      const auto alone =
          compiler.compile("alone", *toJSON(std::span<const Blocker>(&rule.blocker, 1)));
      EXPECT_TRUE(alone) << rule.id << ": " << alone.error().localizedDescription;
    }
  }
}

}  // namespace
}  // namespace orvane::test
