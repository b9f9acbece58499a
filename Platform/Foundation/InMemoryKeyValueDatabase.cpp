#include "Platform/Foundation/InMemoryKeyValueDatabase.h"

#include <atomic>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orvane {
namespace {

using Dictionary = PropertyListValue::Dictionary;
using Value = std::optional<PropertyListValue>;

struct Key {
  Value value;
  std::uint64_t changeCount = 0;
};

using Keys = std::map<std::string, Key, std::less<>>;

Value valueIn(const Keys& keys, std::string_view key) {
  const auto found = keys.find(key);
  return found == keys.end() ? std::nullopt : found->second.value;
}

Value entryIn(const Keys& keys, std::string_view key, std::string_view name) {
  const auto found = keys.find(key);
  if (found == keys.end() || !found->second.value) return std::nullopt;
  const auto* dictionary = found->second.value->as<Dictionary>();
  if (dictionary == nullptr) return std::nullopt;
  const auto entry = dictionary->find(std::string(name));
  return entry == dictionary->end() ? std::nullopt : Value(entry->second);
}

}  // namespace

class InMemoryKeyValueDatabase::Storage {
 public:
  std::mutex mutex;
  Keys keys;
  std::vector<InMemoryKeyValueDatabase*> connections;
};

struct InMemoryKeyValueDatabase::Listener {
  explicit Listener(std::function<void()> function) : changed(std::move(function)) {}

  const std::function<void()> changed;
  /// A call is on its way, and will come behind the commits until then.
  std::atomic<bool> isTold = false;
};

/// Works on the storage itself, whose mutex is held.
class InMemoryKeyValueDatabase::Edits final : public Transaction {
 public:
  explicit Edits(Keys& keys) : keys_(keys) {}

  std::vector<std::string> keys() override {
    std::vector<std::string> names;
    for (const auto& [name, key] : keys_) {
      if (key.value) names.push_back(name);
    }
    return names;
  }

  Value value(std::string_view key) override { return valueIn(keys_, key); }

  void setValue(std::string_view key, const Value& value) override {
    if (valueIn(keys_, key) == value) return;
    changed(key).value = value;
  }

  std::shared_ptr<const KeyValueEntries> entries(std::string_view key) override {
    const auto value = valueIn(keys_, key);
    const auto* dictionary = value ? value->as<Dictionary>() : nullptr;
    return entriesOf(dictionary == nullptr ? Dictionary() : *dictionary);
  }

  Value entry(std::string_view key, std::string_view name) override {
    return entryIn(keys_, key, name);
  }

  void setEntry(std::string_view key, std::string_view name, const Value& value) override {
    if (entryIn(keys_, key, name) == value) return;
    auto& whole = changed(key).value;
    if (!whole || whole->as<Dictionary>() == nullptr) whole = Dictionary();
    auto& dictionary = std::get<Dictionary>(whole->variant);
    if (value) {
      dictionary.insert_or_assign(std::string(name), *value);
    } else {
      dictionary.erase(std::string(name));
    }
  }

  bool changedAnything() const { return !changed_.empty(); }

 private:
  Key& changed(std::string_view key) {
    auto& found = keys_[std::string(key)];
    if (changed_.emplace(key).second) ++found.changeCount;
    return found;
  }

  Keys& keys_;
  std::set<std::string, std::less<>> changed_;
};

std::shared_ptr<InMemoryKeyValueDatabase::Storage> InMemoryKeyValueDatabase::makeStorage() {
  return std::make_shared<Storage>();
}

InMemoryKeyValueDatabase::InMemoryKeyValueDatabase(std::shared_ptr<Storage> storage,
                                                   Executor& mainQueue)
    : storage_(std::move(storage)), mainQueue_(mainQueue) {
  const std::lock_guard lock(storage_->mutex);
  storage_->connections.push_back(this);
}

InMemoryKeyValueDatabase::~InMemoryKeyValueDatabase() {
  const std::lock_guard lock(storage_->mutex);
  std::erase(storage_->connections, this);
}

Expected<std::optional<PropertyListValue>> InMemoryKeyValueDatabase::value(std::string_view key) {
  const std::lock_guard lock(storage_->mutex);
  return valueIn(storage_->keys, key);
}

Expected<std::optional<PropertyListValue>> InMemoryKeyValueDatabase::entry(std::string_view key,
                                                                           std::string_view name) {
  const std::lock_guard lock(storage_->mutex);
  return entryIn(storage_->keys, key, name);
}

Expected<void> InMemoryKeyValueDatabase::transact(const std::function<void(Transaction&)>& body) {
  const std::lock_guard lock(storage_->mutex);
  Edits edits(storage_->keys);
  body(edits);
  if (!edits.changedAnything()) return {};
  for (auto* connection : storage_->connections) {
    if (connection != this) ++connection->foreignVersion_;
    connection->tellLocked();
  }
  return {};
}

Expected<void> InMemoryKeyValueDatabase::synchronize() { return {}; }

Expected<KeyValueDatabase::ChangeCount> InMemoryKeyValueDatabase::changeCount(
    std::string_view key) {
  const std::lock_guard lock(storage_->mutex);
  const auto found = storage_->keys.find(key);
  if (found == storage_->keys.end()) return ChangeCount();
  return ChangeCount{.count = found->second.changeCount};
}

Expected<std::uint64_t> InMemoryKeyValueDatabase::foreignVersion() {
  const std::lock_guard lock(storage_->mutex);
  return foreignVersion_;
}

void InMemoryKeyValueDatabase::setListener(std::function<void()> changed) {
  auto listener = changed ? std::make_shared<Listener>(std::move(changed)) : nullptr;
  // The earlier one is destroyed once the lock is released.
  const std::lock_guard lock(storage_->mutex);
  listener_.swap(listener);
}

/// Posts while the storage is locked, so that the connection and its queue cannot go away
/// meanwhile; a queue never runs a task inside the call that posts it.
void InMemoryKeyValueDatabase::tellLocked() {
  if (!listener_ || listener_->isTold.exchange(true)) return;
  mainQueue_.post([weak = std::weak_ptr(listener_)] {
    const auto listener = weak.lock();
    if (!listener) return;
    // What is committed from now on may be missed by this call, so it is told again.
    listener->isTold = false;
    listener->changed();
  });
}

}  // namespace orvane
