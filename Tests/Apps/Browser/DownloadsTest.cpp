#include <filesystem>
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>

#include "Tests/Apps/Browser/BrowserFixture.h"

namespace orvane::test {
namespace {

using ::testing::HasSubstr;

class Download : public BrowserTest {
 protected:
  std::filesystem::path folder() const { return folder_->path() / "Downloads"; }

  void download(const std::string& name) {
    serve("news.test", "/", "<title>News</title>");
    proxy_->serve("news.test", "/file",
                  {.contentType = "application/zip",
                   .body = "what is in it",
                   .headers = {{"Content-Disposition", "attachment; filename=\"" + name + "\""}}});
    startAt("http://news.test/");
    front().open("http://news.test/file");
    ASSERT_TRUE(becomes([&] { return !window().message().message().empty(); }));
  }
  static std::string contents(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
};

TEST_F(Download, isSavedAndSaid) {
  download("list.zip");
  EXPECT_EQ(window().message().message(), "“list.zip” was saved in " + folder().string() + ".");
  EXPECT_EQ(contents(folder() / "list.zip"), "what is in it");
  EXPECT_EQ(value(front(), "document.title"), "News") << "the page stays";
  EXPECT_FALSE(front().showsNotice());
}

TEST_F(Download, isSavedBesideAFileOfTheSameName) {
  std::filesystem::create_directory(folder());
  std::ofstream(folder() / "list.zip") << "mine";
  std::ofstream(folder() / "list 2.zip") << "mine too";
  download("list.zip");
  EXPECT_EQ(contents(folder() / "list.zip"), "mine");
  EXPECT_EQ(contents(folder() / "list 2.zip"), "mine too");
  EXPECT_EQ(contents(folder() / "list 3.zip"), "what is in it");
}

TEST_F(Download, staysInItsFolderAndIsNotHiddenThere) {
  download("../../.bashrc");
  ASSERT_TRUE(std::filesystem::exists(folder()));
  for (const auto& file : std::filesystem::recursive_directory_iterator(folder_->path())) {
    if (!file.is_regular_file() || contents(file.path()) != "what is in it") continue;
    EXPECT_EQ(file.path().parent_path(), folder());
    EXPECT_NE(file.path().filename().string().front(), '.');
  }
}

TEST_F(Download, thatCannotBeSavedIsSaid) {
  std::ofstream(folder()) << "in the place of the folder";
  download("list.zip");
  EXPECT_THAT(window().message().message(), HasSubstr("“list.zip” could not be saved: "));
}

}  // namespace
}  // namespace orvane::test
