#include <cerrno>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Linux/Posix/PosixFileSystem.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

class PosixFiles : public ::testing::Test {
 protected:
  static mode_t modeOf(const std::filesystem::path& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return status.st_mode & 0777U;
  }
  std::size_t entries() const {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(folder.path()), {}));
  }

  TemporaryDirectory folder;
  PosixFileSystem files;
};

TEST_F(PosixFiles, replacedFileReadsBackByteForByte) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes.push_back(static_cast<char>(byte));
  ASSERT_TRUE(files.replace(folder / "f", "old, and longer than nothing", std::nullopt));
  ASSERT_TRUE(files.replace(folder / "f", bytes, std::nullopt));
  EXPECT_EQ(files.read(folder / "f"), bytes);
  EXPECT_EQ(entries(), 1U) << "no intermediate file is left";
}

TEST_F(PosixFiles, filesAndFoldersBelongToTheUserAlone) {
  ASSERT_TRUE(files.createDirectories(folder / "a/b"));
  ASSERT_TRUE(files.replace(folder / "a/b/f", "x", std::nullopt));
  EXPECT_EQ(modeOf(folder / "a"), 0700U);
  EXPECT_EQ(modeOf(folder / "a/b"), 0700U);
  EXPECT_EQ(modeOf(folder / "a/b/f"), 0600U);
}

TEST_F(PosixFiles, givenModificationDateIsKeptToTheNanosecond) {
  const FileDate date{std::chrono::nanoseconds(1234567890123456789)};
  ASSERT_TRUE(files.replace(folder / "f", "x", date));
  EXPECT_EQ(files.attributes(folder / "f")->modificationDate, date);
  const FileDate early{std::chrono::nanoseconds(-1)};
  ASSERT_TRUE(files.replace(folder / "f", "x", early));
  EXPECT_EQ(files.attributes(folder / "f")->modificationDate, early);
}

TEST_F(PosixFiles, attributesTellSizeAndKind) {
  ASSERT_TRUE(files.replace(folder / "f", "12345", std::nullopt));
  EXPECT_EQ(files.attributes(folder / "f")->size, 5U);
  EXPECT_FALSE(files.attributes(folder / "f")->isDirectory);
  EXPECT_TRUE(files.attributes(folder.path())->isDirectory);
  EXPECT_EQ(files.attributes(folder / "missing").error().code, ENOENT);
}

TEST_F(PosixFiles, errorsNameTheOperationThePathAndTheReason) {
  const auto missing = folder / "missing";
  EXPECT_EQ(files.read(missing).error(),
            (NSError{NSPOSIXErrorDomain, ENOENT,
                     "Cannot open '" + missing.string() + "': No such file or directory"}));
  EXPECT_EQ(files.read(folder.path()).error().code, EISDIR);
  EXPECT_EQ(files.replace(folder / "no/such/folder", "x", std::nullopt).error().code, ENOENT);
  EXPECT_EQ(files.rename(missing, folder / "g").error().code, ENOENT);
}

TEST_F(PosixFiles, pipeIsNoFileAndDoesNotHoldTheReader) {
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(files.read(folder / "pipe").error().code, EINVAL);
}

TEST_F(PosixFiles, directoryIsNotReplacedByAFile) {
  ASSERT_TRUE(files.createDirectories(folder / "d"));
  EXPECT_FALSE(files.replace(folder / "d", "x", std::nullopt));
  EXPECT_EQ(entries(), 1U) << "no intermediate file is left";
}

TEST_F(PosixFiles, foldersAreMadeOnceAndAFileInTheWayIsAnError) {
  EXPECT_TRUE(files.createDirectories(folder / "a/b/c"));
  EXPECT_TRUE(files.createDirectories(folder / "a/b/c"));
  EXPECT_TRUE(files.createDirectories(folder / "a/b/c/"));
  ASSERT_TRUE(files.replace(folder / "f", "x", std::nullopt));
  EXPECT_FALSE(files.createDirectories(folder / "f"));
  EXPECT_FALSE(files.createDirectories(folder / "f/below"));
}

TEST_F(PosixFiles, renameReplaces) {
  ASSERT_TRUE(files.replace(folder / "f", "new", std::nullopt));
  ASSERT_TRUE(files.replace(folder / "g", "old", std::nullopt));
  ASSERT_TRUE(files.rename(folder / "f", folder / "g"));
  EXPECT_EQ(files.read(folder / "g"), "new");
  EXPECT_EQ(entries(), 1U);
}

TEST_F(PosixFiles, linkIsReplacedAndItsTargetLeftAlone) {
  ASSERT_TRUE(files.replace(folder / "target", "target", std::nullopt));
  std::filesystem::create_symlink(folder / "target", folder / "link");
  ASSERT_TRUE(files.replace(folder / "link", "new", std::nullopt));
  EXPECT_EQ(files.read(folder / "target"), "target");
  EXPECT_EQ(files.read(folder / "link"), "new");
}

TEST_F(PosixFiles, whatAKilledWriterLeftIsWrittenOver) {
  std::ofstream(folder / ".f.new") << std::string(100'000, 'x');
  ASSERT_TRUE(files.replace(folder / "f", "short", std::nullopt));
  EXPECT_EQ(files.read(folder / "f"), "short");
  EXPECT_EQ(entries(), 1U);
}

}  // namespace
}  // namespace orvane::test
