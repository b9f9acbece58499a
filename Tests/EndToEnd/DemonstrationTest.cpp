#include <algorithm>
#include <fstream>
#include <memory>

#include <cairo.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Apps/Demonstration/DemonstrationExpectations.h"
#include "Apps/Demonstration/TemporaryFolder.h"
#include "Linux/Posix/ProgramFolder.h"
#include "Tests/Support/ProgramRun.h"

namespace orvane {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* programName = "orvane-demonstration";
constexpr const char* compilerName = "orvane-compile";

std::size_t countOf(std::string_view word, std::string_view text) {
  std::size_t count = 0;
  for (auto at = text.find(word); at != text.npos; at = text.find(word, at + 1)) ++count;
  return count;
}

/// The line of the table about this thing.
std::string lineAbout(std::string_view rule, std::string_view thing, const std::string& output) {
  const auto start = output.find(fmt::format("\n{:<17} {} ", rule, thing));
  if (start == output.npos) return "";
  return output.substr(start + 1, output.find('\n', start + 1) - start - 1);
}

class Image {
 public:
  explicit Image(const std::filesystem::path& file)
      : surface_(cairo_image_surface_create_from_png(file.c_str()), cairo_surface_destroy) {}

  bool isReadable() const { return cairo_surface_status(surface_.get()) == CAIRO_STATUS_SUCCESS; }
  int width() const { return cairo_image_surface_get_width(surface_.get()); }
  int height() const { return cairo_image_surface_get_height(surface_.get()); }

  /// How many pixels between these columns have exactly this colour.
  std::size_t countOf(std::uint32_t colour, int fromColumn, int toColumn) const {
    std::size_t count = 0;
    const std::ptrdiff_t stride = cairo_image_surface_get_stride(surface_.get()) / 4;
    for (int row = 0; row < height(); ++row) {
      const auto* line = pixels() + row * stride;
      for (int column = fromColumn; column < toColumn; ++column) {
        if ((line[column] & 0xffffff) == colour) ++count;
      }
    }
    return count;
  }

 private:
  const std::uint32_t* pixels() const {
    return reinterpret_cast<const std::uint32_t*>(cairo_image_surface_get_data(surface_.get()));
  }

  std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface_;
};

class DemonstrationTest : public testing::Test {
 protected:
  const std::filesystem::path& folder() const { return folder_->path(); }

  test::ProgramRun runHeadless(const std::filesystem::path& program,
                               std::vector<std::string> arguments = {}) const {
    std::vector<std::string> command{
        "env", "GSK_RENDERER=cairo",     "GTK_A11Y=none", "xvfb-run", "-a",
        "-s",  "-screen 0 1280x1024x24", program.string()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return test::runProgram(command, folder());
  }

  /// A copy of the program, with `helper` as its helper if it is not empty.
  std::filesystem::path copyWithHelper(const std::string& helper) const {
    const auto programs = folder() / "programs";
    std::filesystem::create_directory(programs);
    std::filesystem::copy(programFolder() / programName, programs / programName);
    if (helper.empty()) return programs / programName;
    std::ofstream(programs / compilerName) << "#!/bin/sh\n" << helper;
    std::filesystem::permissions(programs / compilerName, std::filesystem::perms::owner_all);
    return programs / programName;
  }

  /// Folders for temporary files that the program left behind.
  std::size_t leftovers() const {
    const std::filesystem::directory_iterator files(folder());
    return static_cast<std::size_t>(std::count_if(begin(files), end(files), [](auto& entry) {
      return entry.is_directory() && entry.path().filename().string().starts_with("orvane-");
    }));
  }

 private:
  std::unique_ptr<TemporaryFolder> folder_ = TemporaryFolder::make().value();
};

TEST_F(DemonstrationTest, TheBrowserDoesWhatTheListSays) {
  const auto run = runHeadless(programFolder() / programName);
  EXPECT_EQ(run.exitStatus, 0) << run.output;
  EXPECT_THAT(run.output, Not(HasSubstr("WRONG")));

  const auto expectations = demonstrationExpectations();
  EXPECT_EQ(countOf("as it should be", run.output), expectations.size());
  for (const auto& expectation : expectations) {
    const auto line = lineAbout(expectation.rule, expectation.thing, run.output);
    EXPECT_THAT(line, testing::MatchesRegex(fmt::format(".* {} +{} +as it should be",
                                                        nameOf(expectation.without),
                                                        nameOf(expectation.with))));
  }
  EXPECT_THAT(run.output, HasSubstr("With the list: 4 blocked, 1 hidden, 2 upgraded to https, "
                                    "1 stripped of cookies, 16 let through."));
  EXPECT_THAT(run.output, HasSubstr("23 without the list, 19 with it."));
  EXPECT_EQ(leftovers(), 0U);
}

TEST_F(DemonstrationTest, DrawsThePageWithAndWithoutTheList) {
  constexpr std::uint32_t offerColour = 0xffd43b;
  constexpr std::uint32_t trackerColour = 0x862e9c;
  constexpr std::uint32_t mastheadColour = 0x12314f;
  const auto run = runHeadless(programFolder() / programName, {"--picture", "two.png"});
  ASSERT_EQ(run.exitStatus, 0) << run.output;
  const Image image(folder() / "two.png");
  ASSERT_TRUE(image.isReadable());
  EXPECT_GE(image.width(), 1500);
  EXPECT_LE(image.width(), 2000);
  EXPECT_GE(image.height(), 800);
  const int middle = image.width() / 2;
  for (const auto colour : {offerColour, trackerColour}) {
    EXPECT_GT(image.countOf(colour, 0, middle), 5000U) << std::hex << colour;
    EXPECT_EQ(image.countOf(colour, middle, image.width()), 0U) << std::hex << colour;
  }
  EXPECT_GT(image.countOf(mastheadColour, 0, middle), 2000U);
  EXPECT_GT(image.countOf(mastheadColour, middle, image.width()), 2000U);
}

TEST_F(DemonstrationTest, NoticesABrowserWithAnotherList) {
  std::ofstream(folder() / "other.json")
      << R"([{"trigger":{"url-filter":"brightads"},"action":{"type":"block"}}])";
  const auto program = copyWithHelper(fmt::format("exec '{}' '{}' \"$2\"\n",
                                                  (programFolder() / compilerName).string(),
                                                  (folder() / "other.json").string()));
  const auto run = runHeadless(program);
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(lineAbout("Block by host", "advert banner of brightads.test", run.output),
              testing::EndsWith("as it should be"));
  EXPECT_THAT(lineAbout("Block by path", "sponsored.js of the newspaper itself", run.output),
              testing::EndsWith("WRONG: should be \"requested\" and \"not requested\""));
  EXPECT_THAT(lineAbout("Whitelisted site", "advert banner", run.output),
              testing::EndsWith("WRONG: should be \"requested\" and \"requested\""));
  EXPECT_THAT(run.output, HasSubstr("8 of 24 rows are WRONG."));
}

TEST_F(DemonstrationTest, SaysThatTheHelperIsMissing) {
  const auto run = runHeadless(copyWithHelper(""));
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.errors, HasSubstr("orvane-demonstration: The list cannot be compiled: "));
  EXPECT_THAT(run.errors, HasSubstr("/programs/orvane-compile"));
  EXPECT_EQ(leftovers(), 0U);
}

TEST_F(DemonstrationTest, SaysWhatTheHelperSays) {
  const auto run = runHeadless(copyWithHelper("echo 'No room on the disk.' >&2\nexit 1\n"));
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.errors, HasSubstr("orvane-demonstration: The list cannot be compiled: "
                                    "No room on the disk."));
  EXPECT_EQ(leftovers(), 0U);
}

TEST_F(DemonstrationTest, DoesNotWaitForEverForTheList) {
  const auto run = runHeadless(copyWithHelper("exit 0\n"), {"--time-limit", "6"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.errors,
              HasSubstr("orvane-demonstration: Loading the compiled list took longer than 6 s."));
  EXPECT_EQ(leftovers(), 0U);
}

TEST_F(DemonstrationTest, CleansUpWhenItIsInterruptedAmidTheSteps) {
  const auto run = runHeadless(copyWithHelper("kill -TERM $PPID\n"));
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.errors, HasSubstr(" was interrupted."));
  EXPECT_EQ(leftovers(), 0U);
}

TEST_F(DemonstrationTest, SaysThatThePictureCannotBeWritten) {
  const auto run = runHeadless(programFolder() / programName, {"--picture", "missing/two.png"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.errors, HasSubstr("The picture 'missing/two.png' cannot be written: "));
}

TEST_F(DemonstrationTest, SaysThatThereIsNoDisplay) {
  const auto run = test::runProgram(
      {"env", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY", (programFolder() / programName).string()},
      folder());
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.errors, HasSubstr("There is no display"));
}

}  // namespace
}  // namespace orvane
