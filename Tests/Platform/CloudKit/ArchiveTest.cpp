#include <gtest/gtest.h>

#include "Platform/CloudKit/CKServerChangeToken.h"
#include "Platform/Foundation/NSKeyedArchiver.h"

namespace orvane::test {
namespace {

PropertyListValue::Data archiveOf(const std::string& value) {
  NSKeyedArchiver archiver("Thing");
  archiver.encode(value, "value");
  archiver.encode("", "empty");
  return archiver.finishEncoding();
}

TEST(Archive, isReadAsItWasWritten) {
  for (const auto& value :
       {std::string(), std::string("text"), std::string("\0\xff", 2), std::string(100'000, 'x')}) {
    const auto unarchiver = NSKeyedUnarchiver::forReading(archiveOf(value), "Thing");
    ASSERT_TRUE(unarchiver.has_value());
    EXPECT_EQ(unarchiver->decode("value"), value);
    EXPECT_EQ(unarchiver->decode("empty"), "");
    EXPECT_EQ(unarchiver->decode("absent"), std::nullopt);
  }
}

TEST(Archive, isTheSameForTheSameValues) { EXPECT_EQ(archiveOf("text"), archiveOf("text")); }

TEST(Archive, isNotReadAsAnObjectOfAnotherClass) {
  EXPECT_FALSE(NSKeyedUnarchiver::forReading(archiveOf("text"), "Other").has_value());
  EXPECT_FALSE(NSKeyedUnarchiver::forReading(archiveOf("text"), "").has_value());
}

TEST(Archive, isNotReadWhenAnyByteOfItIsAnother) {
  const auto whole = archiveOf("text");
  for (std::size_t index = 0; index < whole.size(); ++index) {
    auto damaged = whole;
    damaged[index] ^= std::byte{1};
    EXPECT_FALSE(NSKeyedUnarchiver::forReading(damaged, "Thing").has_value()) << index;
  }
}

TEST(Archive, isNotReadWhenItIsCutOrContinued) {
  const auto whole = archiveOf("text");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_FALSE(NSKeyedUnarchiver::forReading(std::span(whole).first(size), "Thing").has_value());
  }
  auto longer = whole;
  longer.push_back(std::byte{0});
  EXPECT_FALSE(NSKeyedUnarchiver::forReading(longer, "Thing").has_value());
}

TEST(ChangeToken, isKeptInAnArchive) {
  const CKServerChangeToken token{"epoch:17"};
  EXPECT_EQ(CKServerChangeToken::unarchived(token.archived()), token);
  EXPECT_EQ(CKServerChangeToken::unarchived(archiveOf("text")), std::nullopt);
  EXPECT_EQ(CKServerChangeToken::unarchived({}), std::nullopt);
}

}  // namespace
}  // namespace orvane::test
