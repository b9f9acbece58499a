#pragma once

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {

/// A store on a machine in memory.
class StoreTest : public ::testing::Test {
 protected:
  using Operation = InMemoryFileSystem::Operation;

  static std::string shared(const std::string& file) {
    return std::string(TestPlatform::container) + "/" + file;
  }
  static std::string documents(const std::string& file) {
    return std::string(TestPlatform::documents) + "/" + file;
  }
  static std::string bundle(const std::string& file) {
    return std::string(TestPlatform::bundle) + "/" + file;
  }

  static std::string packageJSON(const std::string& id, const std::string& rules = "") {
    return R"({"id":")" + id + R"(","name":"N","rules":[)" + rules + "]}";
  }
  static std::string ruleJSON(const std::string& id, const std::string& urlFilter = "x") {
    return R"({"id":")" + id + R"(","name":"","content":{"trigger":{"url-filter":")" + urlFilter +
           R"("},"action":{"type":"block"}}})";
  }
  static Rule blockRule(const std::string& id, const std::string& urlFilter = "x") {
    return {id, "", {{.urlFilter = urlFilter}, *Action::make(ActionType::Block)}};
  }

  static std::vector<std::string> ids(const std::vector<Package>& packages) {
    std::vector<std::string> result;
    for (const auto& package : packages) result.push_back(package.id);
    return result;
  }

  InMemoryFileSystem& files() { return machine.fileSystem; }
  const std::string& contents(const std::string& path) { return files().file(path).contents; }

  TestPlatform machine;
  PersistentStore store{machine.platform};
};

}  // namespace orvane::test
