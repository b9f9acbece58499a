#include "Linux/SQLite/KeyValueTransaction.h"

#include <fmt/format.h>

#include "Linux/SQLite/EncodedEntries.h"
#include "Linux/SQLite/PropertyListEncoding.h"

namespace orvane {
namespace {

Expected<void> checkName(std::string_view name) {
  if (isStorable(name)) return {};
  return tl::unexpected(
      NSError{propertyListErrorDomain, 1, "A key or name is not text that can be kept"});
}

}  // namespace

/// Values and names are refused without a word about the key that they were meant for.
void KeyValueTransaction::keepErrorOf(const Expected<void>& result, std::string_view key) {
  if (result) return;
  error_ = result.error();
  if (error_->domain == propertyListErrorDomain && isStorable(key)) {
    error_->localizedDescription =
        fmt::format("Cannot set '{}': {}", key, error_->localizedDescription);
  }
}

template <typename Result>
Result KeyValueTransaction::kept(Expected<Result> result) {
  if (result) return *std::move(result);
  error_ = result.error();
  return Result();
}

std::vector<std::string> KeyValueTransaction::keys() {
  return error_ ? std::vector<std::string>() : kept(tables_.keys());
}

KeyValueTransaction::Value KeyValueTransaction::value(std::string_view key) {
  return error_ ? std::nullopt : kept(tables_.value(key));
}

std::shared_ptr<const KeyValueEntries> KeyValueTransaction::entries(std::string_view key) {
  const auto found = error_ ? std::nullopt : kept(tables_.find(key));
  const bool isDictionary = found && found->kind == KeyKind::Dictionary;
  auto entries = !isDictionary                  ? nullptr
                 : counted_.contains(found->id) ? kept(tables_.entries(*found))
                                                : kept(tables_.committedEntries(*found));
  return entries ? std::move(entries) : std::make_shared<const EncodedEntries>();
}

KeyValueTransaction::Value KeyValueTransaction::entry(std::string_view key, std::string_view name) {
  return error_ ? std::nullopt : kept(tables_.entry(key, name));
}

void KeyValueTransaction::setValue(std::string_view key, const Value& value) {
  if (error_) return;
  if (!value) {
    keepErrorOf(remove(key), key);
  } else if (const auto* dictionary = value->as<Dictionary>()) {
    keepErrorOf(setDictionary(key, *dictionary), key);
  } else {
    keepErrorOf(setPlainValue(key, *value), key);
  }
}

void KeyValueTransaction::setEntry(std::string_view key, std::string_view name,
                                   const Value& value) {
  if (error_) return;
  keepErrorOf(value ? putEntry(key, name, *value) : removeEntry(key, name), key);
}

Expected<bool> KeyValueTransaction::commit() {
  if (error_) return tl::unexpected(*error_);
  if (counted_.empty()) return false;
  if (const auto result = tables_.commit(); !result) return tl::unexpected(result.error());
  return true;
}

Expected<void> KeyValueTransaction::remove(std::string_view key) {
  return tables_.find(key).and_then([&](const std::optional<Key>& found) -> Expected<void> {
    if (!found || found->kind == KeyKind::Absent) return {};
    return change(*found, KeyKind::Absent, std::nullopt);
  });
}

Expected<void> KeyValueTransaction::setPlainValue(std::string_view key,
                                                  const PropertyListValue& value) {
  const auto bytes = encode(value);
  if (!bytes) return tl::unexpected(bytes.error());
  const auto found = foundOrAdded(key);
  if (!found) return tl::unexpected(found.error());
  if (found->kind == KeyKind::Value) {
    const auto isThere = tables_.holds(*found, *bytes);
    if (!isThere) return tl::unexpected(isThere.error());
    if (*isThere) return {};
  }
  return change(*found, KeyKind::Value, *bytes);
}

/// Writes the entries that differ.
Expected<void> KeyValueTransaction::setDictionary(std::string_view key,
                                                  const Dictionary& dictionary) {
  const auto found = dictionaryAt(key);
  if (!found) return tl::unexpected(found.error());
  auto changed = removeEntriesNotIn(*found, dictionary);
  if (!changed) return tl::unexpected(changed.error());
  for (const auto& [name, value] : dictionary) {
    if (auto result = checkName(name); !result) return result;
    const auto bytes = encode(value);
    if (!bytes) return tl::unexpected(bytes.error());
    const auto differs = tables_.setEntry(*found, name, *bytes);
    if (!differs) return tl::unexpected(differs.error());
    *changed |= *differs;
  }
  return *changed ? countChange(*found) : Expected<void>();
}

Expected<void> KeyValueTransaction::putEntry(std::string_view key, std::string_view name,
                                             const PropertyListValue& value) {
  if (auto result = checkName(name); !result) return result;
  const auto bytes = encode(value);
  if (!bytes) return tl::unexpected(bytes.error());
  const auto found = dictionaryAt(key);
  if (!found) return tl::unexpected(found.error());
  const auto differs = tables_.setEntry(*found, name, *bytes);
  if (!differs) return tl::unexpected(differs.error());
  return *differs ? countChange(*found) : Expected<void>();
}

Expected<void> KeyValueTransaction::removeEntry(std::string_view key, std::string_view name) {
  const auto found = tables_.find(key);
  if (!found) return tl::unexpected(found.error());
  if (!*found || (*found)->kind != KeyKind::Dictionary) return {};
  const auto wasThere = tables_.removeEntry(**found, name);
  if (!wasThere) return tl::unexpected(wasThere.error());
  return *wasThere ? countChange(**found) : Expected<void>();
}

/// The dictionary under the key, an empty one if it has none yet.
Expected<KeyValueTables::Key> KeyValueTransaction::dictionaryAt(std::string_view key) {
  auto found = foundOrAdded(key);
  if (!found || found->kind == KeyKind::Dictionary) return found;
  if (const auto result = change(*found, KeyKind::Dictionary, std::nullopt); !result) {
    return tl::unexpected(result.error());
  }
  return found;
}

/// True when there were any.
Expected<bool> KeyValueTransaction::removeEntriesNotIn(const Key& key,
                                                       const Dictionary& dictionary) {
  const auto names = tables_.entryNames(key);
  if (!names) return tl::unexpected(names.error());
  bool removed = false;
  for (const auto& name : *names) {
    if (dictionary.contains(name)) continue;
    if (auto result = tables_.removeEntry(key, name); !result) return result;
    removed = true;
  }
  return removed;
}

Expected<void> KeyValueTransaction::change(const Key& key, KeyKind kind,
                                           const std::optional<Data>& value) {
  if (key.kind == KeyKind::Dictionary) {
    if (auto result = tables_.removeEntries(key); !result) return result;
  }
  if (auto result = countChange(key); !result) return result;
  return tables_.set(key, kind, value);
}

Expected<void> KeyValueTransaction::countChange(const Key& key) {
  if (!counted_.insert(key.id).second) return {};
  return tables_.count(key);
}

Expected<KeyValueTables::Key> KeyValueTransaction::foundOrAdded(std::string_view key) {
  const auto found = tables_.find(key);
  if (!found) return tl::unexpected(found.error());
  if (*found) return **found;
  if (const auto result = checkName(key); !result) return tl::unexpected(result.error());
  auto added = tables_.add(key);
  if (added) counted_.insert(added->id);
  return added;
}

}  // namespace orvane
