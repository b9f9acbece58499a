#include <cmath>
#include <limits>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "BlockerKit/Support/Gzip.h"

namespace orvane {
namespace {

/// A stream of the text "hello", from another compressor.
constexpr std::string_view helloStream(
    "\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03\xcb\x48\xcd\xc9\xc9\x07\x00\x86\xa6\x10\x36\x05\x00"
    "\x00\x00",
    25);

/// Bytes that do not compress, the same ones for the same length.
std::string noise(std::size_t length) {
  std::string bytes;
  std::uint32_t state = 1;
  for (std::size_t index = 0; index < length; ++index) {
    state = state * 1664525U + 1013904223U;
    bytes.push_back(static_cast<char>(state >> 24U));
  }
  return bytes;
}

std::string roundTrip(std::string_view data) {
  return gunzippedData(gzippedData(data).value()).value();
}

TEST(GzipTest, TheMagicIsTheFirstTwoBytes) {
  EXPECT_TRUE(isGzippedData("\x1F\x8B"));
  EXPECT_TRUE(isGzippedData("\x1F\x8B\x08 and more"));
  EXPECT_FALSE(isGzippedData(""));
  EXPECT_FALSE(isGzippedData("\x8B\x1F"));
  EXPECT_FALSE(isGzippedData(" \x1F\x8B"));
  EXPECT_FALSE(isGzippedData("\x1F\x8C"));
}

TEST(GzipTest, OneByteIsNeverGzipData) {
  for (int byte = 0; byte < 256; ++byte) {
    EXPECT_FALSE(isGzippedData(std::string(1, static_cast<char>(byte)))) << byte;
  }
}

TEST(GzipTest, CompressingGzipDataReturnsThem) {
  const auto compressed = gzippedData("hello").value();
  EXPECT_EQ(gzippedData(compressed), compressed);
  EXPECT_EQ(gzippedDataWithCompressionLevel(compressed, 1.0F), compressed);
  EXPECT_EQ(gzippedData("\x1F\x8B only the magic"), "\x1F\x8B only the magic");
}

TEST(GzipTest, CompressingNothingReturnsNothingButNoFailure) {
  EXPECT_EQ(gzippedData(""), "");
  EXPECT_EQ(gzippedDataWithCompressionLevel("", 0.5F), "");
}

TEST(GzipTest, DecompressingPlainDataReturnsThem) {
  EXPECT_EQ(gunzippedData(""), "");
  EXPECT_EQ(gunzippedData("plain"), "plain");
  EXPECT_EQ(gunzippedData("\x1F"), "\x1F");
  EXPECT_EQ(gunzippedData("\x78\x9C a header of another wrapper"),
            "\x78\x9C a header of another wrapper");
}

TEST(GzipTest, WhatIsCompressedIsGzipData) {
  EXPECT_TRUE(isGzippedData(gzippedData("hello").value()));
}

TEST(GzipTest, ReadsWhatAnotherCompressorWrote) { EXPECT_EQ(gunzippedData(helloStream), "hello"); }

TEST(GzipTest, BytesBehindTheStreamAreLeftOut) {
  EXPECT_EQ(gunzippedData(std::string(helloStream) + "behind"), "hello");
}

TEST(GzipTest, DataOfEverySizeAroundTheStepsOfTheBufferSurvive) {
  for (const std::size_t step : {16384U, 32768U, 49152U}) {
    for (std::size_t length = step - 40; length <= step + 8; ++length) {
      EXPECT_EQ(roundTrip(noise(length)), noise(length)) << length;
    }
  }
}

TEST(GzipTest, DataThatCompressWellSurvive) {
  const std::string zeros(8'000'000, '\0');
  const auto compressed = gzippedData(zeros).value();
  EXPECT_LT(compressed.size(), zeros.size() / 100);
  EXPECT_EQ(gunzippedData(compressed), zeros);
}

TEST(GzipTest, TheLevelGoesFromNoCompressionToTheBest) {
  std::string text;
  for (int line = 0; line < 3000; ++line) text += "line " + std::to_string(line * line) + "\n";
  const auto sizeAt = [&](float level) {
    return gzippedDataWithCompressionLevel(text, level).value().size();
  };
  EXPECT_GT(sizeAt(0.0F), text.size());
  EXPECT_LT(sizeAt(0.1F), text.size());
  EXPECT_LT(sizeAt(1.0F), sizeAt(0.1F));
}

TEST(GzipTest, TheLevelIsRoundedToNinths) {
  const auto text = noise(300) + noise(300) + std::string(300, 'a');
  const auto at = [&](float level) { return gzippedDataWithCompressionLevel(text, level).value(); };
  EXPECT_EQ(at(0.05F), at(0.0F));
  EXPECT_NE(at(0.06F), at(0.0F));
  EXPECT_EQ(at(0.96F), at(1.0F));
  EXPECT_EQ(at(0.98F), at(1.0F));
}

TEST(GzipTest, ANegativeLevelIsTheDefault) {
  std::string text;
  for (int line = 0; line < 3000; ++line) text += "line " + std::to_string(line * line) + "\n";
  const auto at = [&](float level) { return gzippedDataWithCompressionLevel(text, level); };
  EXPECT_EQ(gzippedData(text), at(-1.0F));
  EXPECT_EQ(at(-0.01F), at(-1.0F));
  EXPECT_EQ(at(-1000.0F), at(-1.0F));
  EXPECT_EQ(at(-1.0F), at(6.0F / 9.0F));
  EXPECT_NE(at(-1.0F), at(0.0F));
}

TEST(GzipTest, ALevelBeyondTheBestIsAFailure) {
  EXPECT_EQ(gzippedDataWithCompressionLevel("hello", 1.1F), std::nullopt);
  EXPECT_EQ(gzippedDataWithCompressionLevel("hello", 1e30F), std::nullopt);
  EXPECT_EQ(gzippedDataWithCompressionLevel("hello", std::numeric_limits<float>::infinity()),
            std::nullopt);
  EXPECT_EQ(gzippedDataWithCompressionLevel("hello", std::nanf("")), std::nullopt);
}

TEST(GzipTest, AStreamThatIsCutOffAnywhereGivesNothing) {
  const auto compressed = gzippedData(noise(2000)).value();
  for (std::size_t length = 2; length < compressed.size(); ++length) {
    EXPECT_EQ(gunzippedData(std::string_view(compressed).substr(0, length)), std::nullopt)
        << length;
  }
}

TEST(GzipTest, ADamagedStreamGivesNothing) {
  const auto damagedAt = [](std::size_t position) {
    std::string stream(helloStream);
    stream[position] = static_cast<char>(stream[position] ^ 0x41);
    return gunzippedData(stream);
  };
  EXPECT_EQ(damagedAt(2), std::nullopt);                       // the method
  EXPECT_EQ(damagedAt(helloStream.size() - 8), std::nullopt);  // the checksum
  EXPECT_EQ(damagedAt(helloStream.size() - 4), std::nullopt);  // the length
  EXPECT_EQ(damagedAt(12), std::nullopt);                      // the data
}

RC_GTEST_PROP(GzipProperties, AnyBytesSurviveAtAnyLevel, ()) {
  const auto bytes = *rc::gen::container<std::string>(rc::gen::arbitrary<char>());
  const auto level = static_cast<float>(*rc::gen::inRange(-2, 19)) / 18.0F;
  const auto compressed = gzippedDataWithCompressionLevel(bytes, level);
  RC_ASSERT(compressed.has_value());
  if (isGzippedData(bytes)) {
    RC_ASSERT(compressed == bytes);
  } else {
    RC_ASSERT(bytes.empty() || isGzippedData(*compressed));
    RC_ASSERT(gunzippedData(*compressed) == bytes);
  }
}

RC_GTEST_PROP(GzipProperties, AnyLongRunsSurvive, ()) {
  const auto runs = *rc::gen::container<std::vector<std::pair<char, std::uint16_t>>>(
      rc::gen::arbitrary<std::pair<char, std::uint16_t>>());
  // The first byte keeps the data from being gzip data by chance.
  std::string bytes = "x";
  for (const auto& [byte, length] : runs) bytes.append(length, byte);
  RC_ASSERT(roundTrip(bytes) == bytes);
}

RC_GTEST_PROP(GzipProperties, AnyBytesBehindTheMagicDecompressOrGiveNothing, ()) {
  const auto bytes = *rc::gen::container<std::string>(rc::gen::arbitrary<char>());
  // No stream that random bytes make has a checksum that fits.
  RC_ASSERT(gunzippedData("\x1F\x8B" + bytes) == std::nullopt);
  RC_ASSERT(gunzippedData("\x1F\x8B\x08" + bytes) == std::nullopt);
}

}  // namespace
}  // namespace orvane
