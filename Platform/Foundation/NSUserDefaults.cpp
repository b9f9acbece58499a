#include "Platform/Foundation/NSUserDefaults.h"

#include <cstdint>
#include <optional>
#include <string>

namespace orvane {

struct NSUserDefaults::Observation::Observed {
  std::string key;
  std::function<void()> changed;
  /// The key's count that the observer knows of; unknown while the database could not be read.
  std::optional<KeyValueDatabase::ChangeCount> seen;
};

namespace {

/// How often to tell an observer that knows of `seen`, now that the count is `now`. When another
/// file is in the place of the one known, or an older copy in the same file, nothing tells how
/// often the value changed; the observer is then told once, for a needless look is better than a
/// missed one.
std::uint64_t callsFor(const std::optional<KeyValueDatabase::ChangeCount>& seen,
                       const KeyValueDatabase::ChangeCount& now) {
  if (!seen) return now.count == 0 ? 0 : 1;
  return now.file != seen->file || now.count < seen->count ? 1 : now.count - seen->count;
}

}  // namespace

NSUserDefaults::NSUserDefaults(KeyValueDatabase& database, LineOutput& systemLog)
    : KeyValueStore(database, systemLog), looks_(std::make_shared<LookLog>(systemLog)) {}

NSUserDefaults::~NSUserDefaults() {
  if (isListening_) database_.setListener(nullptr);
}

std::unique_ptr<NSUserDefaults::Observation> NSUserDefaults::addObserver(
    std::string_view key, std::function<void()> changed) {
  // Listening comes before the first look at the count: a change after the look is then always
  // told.
  if (!isListening_) database_.setListener([this] { tellObservers(); });
  isListening_ = true;
  auto observed = std::make_shared<Observation::Observed>();
  observed->key = key;
  observed->changed = std::move(changed);
  const auto count = database_.changeCount(key);
  looks_->note(count);
  if (count) observed->seen = *count;
  std::erase_if(observed_, [](const auto& known) { return known.expired(); });
  observed_.push_back(observed);
  return std::unique_ptr<Observation>(new Observation(std::move(observed)));
}

void NSUserDefaults::tellObservers() {
  // A callback may add and end observations, or destroy this object.
  const auto observed = observed_;
  auto& database = database_;
  const auto looks = looks_;
  for (const auto& candidate : observed) {
    std::uint64_t calls = 0;
    if (const auto observer = candidate.lock()) {
      const auto count = database.changeCount(observer->key);
      looks->note(count);
      if (!count) continue;
      calls = callsFor(std::exchange(observer->seen, *count), *count);
    }
    for (; calls > 0; --calls) {
      const auto observer = candidate.lock();
      if (!observer) break;
      observer->changed();
    }
  }
}

}  // namespace orvane
