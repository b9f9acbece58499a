#include <cerrno>

#include <gtest/gtest.h>

#include "Platform/Foundation/NSFileManager.h"
#include "Tests/Support/InMemoryFileSystem.h"

namespace orvane::test {
namespace {

using std::filesystem::path;
using Operation = InMemoryFileSystem::Operation;

class NSFileManagerTest : public testing::Test {
 protected:
  InMemoryFileSystem fileSystem;
  NSFileManager files{fileSystem, {"/data", {"/earlier", "/home/Documents"}}};
};

TEST_F(NSFileManagerTest, TheContainerOfAGroupIsMadeWhenItIsMissing) {
  ASSERT_FALSE(files.fileExists("/data/group"));
  EXPECT_EQ(files.containerURLForSecurityApplicationGroupIdentifier("group"), "/data/group");
  EXPECT_TRUE(files.fileExists("/data/group"));
  EXPECT_EQ(files.containerURLForSecurityApplicationGroupIdentifier("group"), "/data/group");
}

TEST_F(NSFileManagerTest, AContainerThatCannotBeMadeIsAbsent) {
  fileSystem.failAt(Operation::createDirectories, "/data/group");
  EXPECT_EQ(files.containerURLForSecurityApplicationGroupIdentifier("group"), std::nullopt);
  EXPECT_EQ(files.containerURLForSecurityApplicationGroupIdentifier("other"), "/data/other");
}

TEST_F(NSFileManagerTest, WithoutAPlaceForContainersThereIsNone) {
  NSFileManager homeless(fileSystem, {std::nullopt, {}});
  EXPECT_EQ(homeless.containerURLForSecurityApplicationGroupIdentifier("group"), std::nullopt);
  EXPECT_TRUE(homeless.documentDirectories().empty());
}

TEST_F(NSFileManagerTest, DocumentDirectoriesAreMadeAndKeepTheirOrder) {
  EXPECT_EQ(files.documentDirectories(), (std::vector<path>{"/earlier", "/home/Documents"}));
  EXPECT_TRUE(files.fileExists("/earlier"));
  EXPECT_TRUE(files.fileExists("/home/Documents"));
}

TEST_F(NSFileManagerTest, ADocumentDirectoryThatCannotBeMadeIsListedAllTheSame) {
  fileSystem.failAt(Operation::createDirectories, "/earlier");
  EXPECT_EQ(files.documentDirectories(), (std::vector<path>{"/earlier", "/home/Documents"}));
  EXPECT_FALSE(files.fileExists("/earlier"));
  EXPECT_TRUE(files.fileExists("/home/Documents"));
}

TEST_F(NSFileManagerTest, AFileHoldsWhatItWasCreatedWithAndTheCurrentDate) {
  fileSystem.put("/f", "old", 1);
  fileSystem.now = atSecond(77);
  ASSERT_TRUE(files.createFile("/f", "new"));
  EXPECT_EQ(files.contents("/f"), "new");
  EXPECT_EQ(files.attributesOfItem("/f")->modificationDate, atSecond(77));
  EXPECT_EQ(files.attributesOfItem("/f")->size, 3U);
  EXPECT_FALSE(files.attributesOfItem("/f")->isDirectory);
}

TEST_F(NSFileManagerTest, AFolderIsThereTooAndSaysSo) {
  ASSERT_TRUE(files.createDirectoryWithIntermediateDirectories("/a/b/c"));
  EXPECT_TRUE(files.fileExists("/a/b"));
  EXPECT_TRUE(files.attributesOfItem("/a/b/c")->isDirectory);
  EXPECT_TRUE(files.createDirectoryWithIntermediateDirectories("/a/b/c"));
}

TEST_F(NSFileManagerTest, AMissingFileIsTheErrorOfTheFileSystem) {
  EXPECT_FALSE(files.fileExists("/f"));
  for (const auto& error : {files.contents("/f").error(), files.attributesOfItem("/f").error(),
                            files.moveItem("/f", "/g").error(), files.copyItem("/f", "/g").error(),
                            files.replaceItemWithCopy("/f", "/g").error()}) {
    EXPECT_EQ(error.domain, NSPOSIXErrorDomain);
    EXPECT_EQ(error.code, ENOENT);
  }
  EXPECT_TRUE(fileSystem.files.empty());
}

TEST_F(NSFileManagerTest, MovingTakesTheFileAwayFromItsOldName) {
  fileSystem.put("/f", "text", 5);
  ASSERT_TRUE(files.moveItem("/f", "/g"));
  EXPECT_FALSE(files.fileExists("/f"));
  EXPECT_EQ(files.contents("/g"), "text");
  EXPECT_EQ(files.attributesOfItem("/g")->modificationDate, atSecond(5));
}

TEST_F(NSFileManagerTest, ACopyHasTheContentsAndTheDateOfItsOriginal) {
  fileSystem.put("/f", "text", 5);
  ASSERT_TRUE(files.copyItem("/f", "/g"));
  EXPECT_EQ(files.contents("/g"), "text");
  EXPECT_EQ(files.attributesOfItem("/g")->modificationDate, atSecond(5));
  EXPECT_EQ(files.contents("/f"), "text");
}

TEST_F(NSFileManagerTest, ACopyOfAFileWithoutADateIsOfNow) {
  fileSystem.putUndated("/f", "text");
  fileSystem.now = atSecond(9);
  ASSERT_TRUE(files.copyItem("/f", "/g"));
  EXPECT_EQ(files.attributesOfItem("/g")->modificationDate, atSecond(9));
}

TEST_F(NSFileManagerTest, CopyingOntoAFileIsAnErrorAndChangesNothing) {
  fileSystem.put("/f", "text", 5);
  fileSystem.put("/g", "other", 6);
  const auto copied = files.copyItem("/f", "/g");
  ASSERT_FALSE(copied.has_value());
  EXPECT_EQ(copied.error(),
            (NSError{NSPOSIXErrorDomain, EEXIST, "There is already a file at '/g'."}));
  EXPECT_EQ(files.contents("/g"), "other");
}

TEST_F(NSFileManagerTest, ReplacingWithACopyTakesTheFilesPlace) {
  fileSystem.put("/f", "text", 5);
  fileSystem.put("/g", "other", 6);
  ASSERT_TRUE(files.replaceItemWithCopy("/f", "/g"));
  EXPECT_EQ(files.contents("/g"), "text");
  EXPECT_EQ(files.attributesOfItem("/g")->modificationDate, atSecond(5));
}

TEST_F(NSFileManagerTest, AFailedReplacementLeavesTheOldFile) {
  fileSystem.put("/f", "text", 5);
  fileSystem.put("/g", "other", 6);
  fileSystem.failAt(Operation::replace, "/g");
  EXPECT_EQ(files.replaceItemWithCopy("/f", "/g").error().localizedDescription, "ordered failure");
  fileSystem.failAt(Operation::read, "/f");
  EXPECT_EQ(files.replaceItemWithCopy("/f", "/h").error().localizedDescription, "ordered failure");
  fileSystem.stopFailing();
  EXPECT_EQ(files.contents("/g"), "other");
  EXPECT_FALSE(files.fileExists("/h"));
}

}  // namespace
}  // namespace orvane::test
