#include <fstream>

#include <gtest/gtest.h>

#include "Linux/Posix/PosixFileSystem.h"
#include "Linux/WebKitGTK/CompiledListDirectory.h"
#include "Platform/Foundation/ContentHash.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

class CompiledLists : public ::testing::Test {
 protected:
  CompiledLists() { EXPECT_TRUE(directory.create()); }

  void putCurrent(const std::string& text) { std::ofstream(folder / "lists/current") << text; }
  void putList(const std::string& name, const std::string& bytes) {
    std::filesystem::create_directories(directory.pathOf(name));
    std::ofstream(directory.pathOf(name) / "ContentRuleList-orvane") << bytes;
  }

  TemporaryDirectory folder;
  PosixFileSystem files;
  CompiledListDirectory directory{files, folder / "lists"};
  const std::string hash = contentHash("a");
  const std::string a = hash + ".1";
  const std::string b = hash + ".2";
  const std::string c = contentHash("c") + ".10";
};

TEST_F(CompiledLists, sourceIsKnownByItsHash) {
  EXPECT_EQ(hash.size(), 32U);
  EXPECT_EQ(hash, contentHash("a"));
  EXPECT_NE(hash, contentHash("b"));
}

TEST_F(CompiledLists, newFolderHasANameThatNoFolderHas) {
  EXPECT_EQ(directory.newFolderFor(hash), a);
  putList(a, "bytes");
  EXPECT_EQ(directory.newFolderFor(hash), b);
}

TEST_F(CompiledLists, noneIsCurrentAtFirst) { EXPECT_EQ(directory.current(), std::nullopt); }

TEST_F(CompiledLists, currentListIsKept) {
  const CompiledList list{hash, a, "0123", "2.50.6"};
  ASSERT_TRUE(directory.setCurrent(list));
  EXPECT_EQ(directory.current(), list);
  EXPECT_EQ(files.read(folder / "lists/current"), "orvane compiled list 1\nsource " + hash +
                                                      "\nfolder " + a +
                                                      "\nchecksum 0123\ncompiler 2.50.6\n");
}

TEST_F(CompiledLists, fileThatMakesNoSenseNamesNoList) {
  const auto whole = "orvane compiled list 1\nsource " + hash + "\nfolder " + a +
                     "\nchecksum 0123\ncompiler 2.50.6\n";
  for (std::size_t length = 0; length < whole.size(); ++length) {
    putCurrent(whole.substr(0, length));
    EXPECT_EQ(directory.current(), std::nullopt) << length;
  }
  for (const std::string& wrong :
       {std::string("../../../etc"), std::string(), hash, hash + ".", hash + ".x", hash + "/1"}) {
    putCurrent("orvane compiled list 1\nsource " + hash + "\nfolder " + wrong +
               "\nchecksum 0\ncompiler 1\n");
    EXPECT_EQ(directory.current(), std::nullopt) << wrong;
  }
  putCurrent("orvane compiled list 2" + whole.substr(22));
  EXPECT_EQ(directory.current(), std::nullopt);
}

TEST_F(CompiledLists, onlyTheAbsenceOfTheFileSaysThatThereIsNoList) {
  const auto none = directory.readCurrent();
  ASSERT_TRUE(none);
  EXPECT_EQ(*none, std::nullopt);
  putCurrent("garbage");
  EXPECT_EQ(directory.readCurrent().error().localizedDescription,
            "'" + (folder / "lists/current").string() + "' names no compiled list.");
  std::filesystem::remove(folder / "lists/current");
  std::filesystem::create_directory(folder / "lists/current");
  EXPECT_EQ(directory.readCurrent().error().code, EISDIR);
  EXPECT_EQ(directory.current(), std::nullopt);
}

TEST_F(CompiledLists, checksumIsThatOfTheCompiledFile) {
  EXPECT_EQ(directory.checksumOf(a), std::nullopt);
  putList(a, "bytes");
  const auto checksum = directory.checksumOf(a);
  ASSERT_TRUE(checksum);
  putList(a, "bytez");
  EXPECT_NE(directory.checksumOf(a), checksum);
}

TEST_F(CompiledLists, removalSparesTheTwoNamedOnesAndWhateverIsNoList) {
  for (const auto& name : {a, b, c}) putList(name, "bytes");
  ASSERT_TRUE(directory.setCurrent({hash, a, "0", "1"}));
  std::filesystem::create_directory(folder / "lists/mine");
  directory.removeAllBut(a, b);
  EXPECT_TRUE(directory.checksumOf(a));
  EXPECT_TRUE(directory.checksumOf(b));
  EXPECT_FALSE(std::filesystem::exists(directory.pathOf(c)));
  EXPECT_TRUE(std::filesystem::exists(folder / "lists/mine"));
  EXPECT_TRUE(directory.current());
}

}  // namespace
}  // namespace orvane::test
