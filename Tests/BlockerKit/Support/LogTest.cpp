#include <ostream>

#include <gtest/gtest.h>

#include "BlockerKit/Support/Log.h"

namespace orvane {
namespace {

/// Notices when somebody turns it into text.
struct Loud {
  bool* formatted;
  [[maybe_unused]] friend std::ostream& operator<<(std::ostream& os, const Loud& loud) {
    *loud.formatted = true;
    return os;
  }
};

struct WithoutText {};

TEST(LogTest, WritesNothingWhateverTheValue) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  Log::print("text");
  Log::print(7);
  Log::print(std::string("text"));
  Log::print(nullptr);
  Log::print(WithoutText());
  Log::print("text", "file.cpp", "function", 12);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(LogTest, DoesNotEvenFormatTheValue) {
  bool formatted = false;
  Log::print(Loud{&formatted});
  EXPECT_FALSE(formatted);
}

}  // namespace
}  // namespace orvane
