#include <fstream>

#include <sys/stat.h>

#include "BlockerKit/JSON/RecordWriter.h"
#include "Linux/Posix/PosixFileSystem.h"
#include "Tests/BlockerKit/PersistentStore/StoreFixture.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

/// A store on real files, in a folder of its own.
class MalformedPackageFile : public ::testing::Test {
 protected:
  std::filesystem::path container() {
    return folder / "groups" / PersistentStore::applicationGroup;
  }
  std::filesystem::path file() { return container() / "CustomPackages.json"; }

  void put(const std::string& text) {
    std::filesystem::create_directories(container());
    std::ofstream(file(), std::ios::binary) << text;
  }
  std::string get() {
    std::ifstream stream(file(), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  /// The contents of what was set aside.
  std::vector<std::string> asideContents() {
    std::vector<std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator(container())) {
      if (entry.path().string().find(".set-aside-") == std::string::npos) continue;
      std::ifstream stream(entry.path(), std::ios::binary);
      result.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }
    return result;
  }

  TemporaryDirectory folder;
  PosixFileSystem files;
  NSFileManager fileManager{files, {folder / "groups", {folder / "documents"}}};
  NSBundle bundle{fileManager, folder / "bundle"};
  TestPlatform rest;
  Platform platform = withFiles(rest.platform, fileManager, bundle);
  PersistentStore store{platform};
};

const std::vector<Package> packages{
    {"p", "N", {{"r", "R", {{.urlFilter = "x"}, *Action::make(ActionType::Hide, "div")}}}}};

TEST_F(MalformedPackageFile, truncatedAnywhereIsReadWithoutDamageAndNotLostWhenReplaced) {
  const auto whole = *toJSON(std::span<const Package>(packages));
  for (std::size_t length = 1; length < whole.size(); ++length) {
    const auto text = whole.substr(0, length);
    put(text);
    EXPECT_TRUE(store.readCustomPackages().empty()) << length;
    EXPECT_EQ(get(), text);
  }
  ASSERT_TRUE(store.writePackages(packages, PackageType::CustomPackages));
  EXPECT_EQ(get(), whole);
  EXPECT_EQ(asideContents(), std::vector{whole.substr(0, whole.size() - 1)});
}

TEST_F(MalformedPackageFile, ofEveryKindReadsAsNothingAndKeepsItsBytes) {
  const std::vector<std::string> texts{
      std::string(2000, '['),
      "[" + std::string(5000, '[') + std::string(5000, ']') + "]",
      R"({"id":1})",
      "\"text\"",
      "1e400",
      "[1234567890123456789012345678901234567890]",
      "[\"\xC3\x28\"]",
      "[\"\\ud800\"]",
      std::string("[]\0", 3),
      std::string(64, '\0'),
      "[] trailing",
      "[{},]",
      "// comment\n[]",
      "nul",
  };
  for (const auto& text : texts) {
    put(text);
    EXPECT_TRUE(store.readCustomPackages().empty()) << text.substr(0, 40);
    EXPECT_EQ(get(), text);
  }
}

TEST_F(MalformedPackageFile, wrongTypesInsideAreReadLeniently) {
  put(R"([1,null,"x",[],{"id":7,"name":[],"rules":{}},{"rules":[1,null,{"content":3},)"
      R"({"content":{"trigger":[],"action":{}}},)"
      R"({"content":{"trigger":{"url-filter":5},"action":{"type":"block"}}}]}])");
  const auto read = store.readCustomPackages();
  ASSERT_EQ(read.size(), 6U);
  for (const auto& package : read) {
    EXPECT_TRUE(package.id.starts_with("UUID-")) << package.id;
    EXPECT_TRUE(package.rules.empty());
  }
}

TEST_F(MalformedPackageFile, directoryInItsPlaceReadsAsNothingAndIsSetAside) {
  std::filesystem::create_directories(file() / "kept");
  EXPECT_TRUE(store.readCustomPackages().empty());
  EXPECT_TRUE(std::filesystem::is_directory(file() / "kept"));

  EXPECT_TRUE(store.writePackages(packages, PackageType::CustomPackages));
  EXPECT_EQ(store.readCustomPackages(), packages);
  EXPECT_EQ(rest.systemLog.lines.size(), 1U);
}

TEST_F(MalformedPackageFile, pipeInItsPlaceDoesNotHoldTheReader) {
  std::filesystem::create_directories(container());
  ASSERT_EQ(::mkfifo(file().c_str(), 0600), 0);
  EXPECT_TRUE(store.readCustomPackages().empty());
}

}  // namespace
}  // namespace orvane::test
