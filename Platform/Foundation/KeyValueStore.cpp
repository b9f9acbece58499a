#include "Platform/Foundation/KeyValueStore.h"

namespace orvane {
namespace {

using Transaction = KeyValueDatabase::Transaction;

/// `result`, after what is wrong with it has gone to the log.
template <typename Result>
Result logged(Result result, LineOutput& systemLog) {
  if (!result) systemLog.print(result.error().localizedDescription);
  return result;
}

}  // namespace

KeyValueStore::KeyValueStore(KeyValueDatabase& database, LineOutput& systemLog)
    : database_(database), systemLog_(systemLog) {}

KeyValueStore::Value KeyValueStore::object(std::string_view key) {
  return read(key).value_or(std::nullopt);
}

Expected<KeyValueStore::Value> KeyValueStore::read(std::string_view key) {
  return logged(database_.value(key), systemLog_);
}

bool KeyValueStore::boolForKey(std::string_view key) {
  const auto value = object(key);
  const bool* found = value ? value->as<bool>() : nullptr;
  return found != nullptr && *found;
}

Expected<void> KeyValueStore::setObject(const PropertyListValue& value, std::string_view key) {
  const auto body = [&](Transaction& transaction) { transaction.setValue(key, value); };
  return logged(database_.transact(body), systemLog_);
}

Expected<void> KeyValueStore::removeObject(std::string_view key) {
  const auto body = [&](Transaction& transaction) { transaction.setValue(key, std::nullopt); };
  return logged(database_.transact(body), systemLog_);
}

Expected<void> KeyValueStore::change(std::string_view key,
                                     const std::function<Value(Value)>& edit) {
  const auto body = [&](Transaction& transaction) {
    transaction.setValue(key, edit(transaction.value(key)));
  };
  return logged(database_.transact(body), systemLog_);
}

KeyValueStore::Value KeyValueStore::entry(std::string_view key, std::string_view name) {
  return logged(database_.entry(key, name), systemLog_).value_or(std::nullopt);
}

Expected<void> KeyValueStore::setEntry(std::string_view key, std::string_view name,
                                       const Value& value) {
  const auto body = [&](Transaction& transaction) { transaction.setEntry(key, name, value); };
  return logged(database_.transact(body), systemLog_);
}

Expected<void> KeyValueStore::changeEntry(std::string_view key, std::string_view name,
                                          const std::function<Value(Value)>& edit) {
  const auto body = [&](Transaction& transaction) {
    transaction.setEntry(key, name, edit(transaction.entry(key, name)));
  };
  return logged(database_.transact(body), systemLog_);
}

Expected<void> KeyValueStore::transact(const std::function<void(Transaction&)>& body) {
  return logged(database_.transact(body), systemLog_);
}

bool KeyValueStore::synchronize() {
  return logged(database_.synchronize(), systemLog_).has_value();
}

}  // namespace orvane
