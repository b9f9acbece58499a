#include "BlockerKit/PersistentStore/CopyFile.h"
#include "Tests/BlockerKit/PersistentStore/StoreFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;

class CopyingAFile : public StoreTest {
 protected:
  CopyingAFile() { files().put(from, "[]", 5); }

  void copy(bool overwrite) {
    copyFile(machine.platform, from, to, overwrite, PackageFileForm::packageList);
  }
  std::string failure(const std::string& reason) {
    return "Error copying '" + from + "' to '" + to + "': " + reason;
  }

  const std::string from = "/source/CustomPackages.json";
  const std::string to = "/far/away/CustomPackages.json";
};

TEST_F(CopyingAFile, makesTheFoldersOfTheDestination) {
  copy(/*overwrite=*/true);
  EXPECT_EQ(contents(to), "[]");
  EXPECT_EQ(files().file(to).date, atSecond(5));
  EXPECT_THAT(machine.standardOutput.lines, ElementsAre("Copied '" + from + "' to '" + to + "'"));
}

TEST_F(CopyingAFile, folderThatCannotBeMadeIsAnError) {
  files().failAt(Operation::createDirectories, "/far/away");
  copy(/*overwrite=*/true);
  EXPECT_FALSE(files().has(to));
  EXPECT_THAT(machine.standardOutput.lines, ElementsAre(failure("ordered failure")));
}

TEST_F(CopyingAFile, withoutOverwritingAFileAtTheDestinationIsAnError) {
  files().put(to, "[ ]", 1);
  copy(/*overwrite=*/false);
  EXPECT_EQ(contents(to), "[ ]");
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre(failure("There is already a file at '" + to + "'.")));
}

TEST_F(CopyingAFile, withoutOverwritingACopyToAFreePlaceSucceeds) {
  copy(/*overwrite=*/false);
  EXPECT_EQ(contents(to), "[]");
}

TEST_F(CopyingAFile, missingSourceIsAnError) {
  files().files.clear();
  copy(/*overwrite=*/true);
  EXPECT_THAT(machine.standardOutput.lines, ElementsAre(failure("no such file: " + from)));
}

}  // namespace
}  // namespace orvane::test
