#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Platform/Foundation/Published.h"

namespace orvane::test {
namespace {

TEST(PublishedTest, AReaderGetsTheLatestValue) {
  Published<int> published(1);
  EXPECT_EQ(*published.get(), 1);
  published.set(2);
  EXPECT_EQ(*published.get(), 2);
}

TEST(PublishedTest, AReaderKeepsTheValueThatItGot) {
  Published<std::vector<int>> published({1, 2});
  const auto read = published.get();
  published.set({3});
  EXPECT_EQ(*read, (std::vector<int>{1, 2}));
}

TEST(PublishedTest, ReadersShareOneValue) {
  const Published<int> published(1);
  EXPECT_EQ(published.get(), published.get());
}

/// Reads, when it is destroyed, what holds it.
struct Reader {
  explicit Reader(Published<std::shared_ptr<Reader>>& published) : published_(published) {}
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  ~Reader() { foundEmpty = *published_.get() == nullptr; }

  static inline bool foundEmpty = false;

 private:
  Published<std::shared_ptr<Reader>>& published_;
};

TEST(PublishedTest, TheOldValueMayReadTheNewOneWhenItIsDestroyed) {
  Published<std::shared_ptr<Reader>> published(nullptr);
  published.set(std::make_shared<Reader>(published));
  published.set(nullptr);
  EXPECT_TRUE(Reader::foundEmpty);
}

TEST(PublishedTest, ReadersInThreadsSeeWholeValuesThatNeverGoBack) {
  constexpr int last = 5000;
  Published<std::vector<int>> published(std::vector<int>(50, 0));
  std::atomic<int> torn = 0;
  std::atomic<int> wentBack = 0;
  const auto readUntilLast = [&] {
    int latest = 0;
    while (latest != last) {
      const auto value = published.get();
      const bool isWhole =
          value->size() == 50 && std::count(value->begin(), value->end(), value->front()) == 50;
      if (!isWhole) ++torn;
      if (value->front() < latest) ++wentBack;
      latest = value->front();
    }
  };
  std::vector<std::thread> readers;
  for (int reader = 0; reader < 3; ++reader) readers.emplace_back(readUntilLast);
  for (int number = 1; number <= last; ++number) published.set(std::vector<int>(50, number));
  for (auto& reader : readers) reader.join();
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(wentBack, 0);
}

}  // namespace
}  // namespace orvane::test
