#include "Apps/Companion/SyncStatus.h"

#include <chrono>
#include <variant>

namespace orvane {
namespace {

using Dictionary = PropertyListValue::Dictionary;

constexpr const char* accountKey = "account";
constexpr const char* lastPushKey = "lastPush";
constexpr const char* lastFetchKey = "lastFetch";
constexpr const char* lastErrorKey = "lastError";
constexpr const char* nextRetryKey = "nextRetry";
constexpr const char* fetchesKey = "fetches";
constexpr const char* failuresKey = "failures";

std::int64_t now() {
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::seconds>(sinceEpoch).count();
}

std::string textUnder(const char* key, const Dictionary& dictionary) {
  const auto found = dictionary.find(key);
  const auto* text = found == dictionary.end() ? nullptr : found->second.as<std::string>();
  return text == nullptr ? std::string() : *text;
}

std::optional<std::int64_t> numberUnder(const char* key, const Dictionary& dictionary) {
  const auto found = dictionary.find(key);
  const auto* number = found == dictionary.end() ? nullptr : found->second.as<std::int64_t>();
  return number == nullptr ? std::nullopt : std::optional(*number);
}

void countUp(const char* key, Dictionary& status) {
  status.insert_or_assign(key, numberUnder(key, status).value_or(0) + 1);
}

/// Writes an event into the status.
struct Note {
  Dictionary& status;

  void operator()(const SyncAccountEvent& event) const {
    status.insert_or_assign(accountKey, event.status);
  }
  void operator()(const SyncPushEvent& /*event*/) const {
    status.insert_or_assign(lastPushKey, now());
    succeeded();
  }
  void operator()(const SyncFetchEvent& /*event*/) const {
    status.insert_or_assign(lastFetchKey, now());
    countUp(fetchesKey, status);
    succeeded();
  }
  void operator()(const SyncFailureEvent& event) const {
    status.insert_or_assign(lastErrorKey, event.description);
    countUp(failuresKey, status);
  }
  void operator()(const SyncRetryEvent& event) const {
    const auto delay = std::chrono::ceil<std::chrono::seconds>(event.delay);
    status.insert_or_assign(nextRetryKey, now() + delay.count());
  }
  void succeeded() const {
    status.erase(lastErrorKey);
    status.erase(nextRetryKey);
  }
};

}  // namespace

SyncStatus syncStatus(NSUserDefaults& defaults) {
  const auto value = defaults.object(syncStatusKey);
  const auto* status = value ? value->as<Dictionary>() : nullptr;
  if (status == nullptr) return {};
  return {.account = textUnder(accountKey, *status),
          .lastPush = numberUnder(lastPushKey, *status),
          .lastFetch = numberUnder(lastFetchKey, *status),
          .lastError = textUnder(lastErrorKey, *status),
          .nextRetry = numberUnder(nextRetryKey, *status),
          .fetches = numberUnder(fetchesKey, *status).value_or(0),
          .failures = numberUnder(failuresKey, *status).value_or(0)};
}

void SyncStatusRecorder::note(const SyncEvent& event) {
  const auto edit = [&](KeyValueStore::Value value) -> KeyValueStore::Value {
    const auto* earlier = value ? value->as<Dictionary>() : nullptr;
    auto status = earlier == nullptr ? Dictionary() : *earlier;
    std::visit(Note{status}, event);
    return status;
  };
  // After a failure, which is on the system log, the status is an earlier one.
  (void)defaults_.change(syncStatusKey, edit);
}

}  // namespace orvane
