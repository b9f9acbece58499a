#include "Platform/CloudKit/KeyValueExchange.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace orvane {
namespace {

using Value = std::optional<PropertyListValue>;
using Dictionary = PropertyListValue::Dictionary;

constexpr const char* tokenName = "token";
/// What the state has for a key of the table.
constexpr const char* prefix = "key ";

struct LocalState {
  /// What differs from what both had last.
  CloudKeyValueChanges changes;
  std::optional<CKServerChangeToken> token;
};

CKError tableError(const NSError& error) {
  CKError result;
  result.localizedDescription = error.localizedDescription;
  return result;
}

LocalState stateOf(KeyValueDatabase::Transaction& table) {
  LocalState state;
  const auto kept = table.value(KeyValueExchange::stateKey);
  const auto* agreed = kept ? kept->as<Dictionary>() : nullptr;
  if (const auto token = table.entry(KeyValueExchange::stateKey, tokenName)) {
    if (const auto* text = token->as<std::string>()) state.token = CKServerChangeToken{*text};
  }
  for (const auto& key : table.keys()) {
    if (key == KeyValueExchange::stateKey) continue;
    const auto value = table.value(key);
    if (value != table.entry(KeyValueExchange::stateKey, prefix + key)) state.changes[key] = value;
  }
  if (agreed == nullptr) return state;
  const auto length = std::char_traits<char>::length(prefix);
  for (const auto& [name, value] : *agreed) {
    if (!name.starts_with(prefix)) continue;
    const auto key = name.substr(length);
    if (!table.value(key)) state.changes[key] = std::nullopt;
  }
  return state;
}

void agree(KeyValueDatabase::Transaction& table, const std::string& key, const Value& value) {
  table.setEntry(KeyValueExchange::stateKey, prefix + key, value);
}

/// What was changed here since it was read is newer than what has arrived.
void apply(KeyValueDatabase::Transaction& table, const LocalState& read,
           const CloudKeyValueChanges& sent, const CloudKeyValues& arrived) {
  for (const auto& [key, value] : sent) agree(table, key, value);
  for (const auto& [key, value] : arrived.changes) {
    const auto agreed = table.entry(KeyValueExchange::stateKey, prefix + key);
    const auto change = read.changes.find(key);
    const auto& expected = change == read.changes.end() ? agreed : change->second;
    if (table.value(key) == expected) table.setValue(key, value);
    agree(table, key, value);
  }
  table.setEntry(KeyValueExchange::stateKey, tokenName, PropertyListValue(arrived.token.value));
}

/// At the first meeting nothing is sent: what the cloud has counts.
CKResult<bool> exchangeOnce(KeyValueDatabase& table, CloudBackend& cloud, bool asksInAnyCase) {
  LocalState state;
  const auto read = table.transact([&](auto& transaction) { state = stateOf(transaction); });
  if (!read) return tl::unexpected(tableError(read.error()));
  if (state.changes.empty() && !asksInAnyCase) return false;
  const auto sent = state.token ? state.changes : CloudKeyValueChanges();
  const auto arrived = cloud.exchangeKeyValues(sent, state.token, CloudCall{});
  if (!arrived) return tl::unexpected(arrived.error());
  const bool isNew = !sent.empty() || !arrived->changes.empty() || arrived->token != state.token;
  if (!isNew) return false;
  const auto written =
      table.transact([&](auto& transaction) { apply(transaction, state, sent, *arrived); });
  if (!written) return tl::unexpected(tableError(written.error()));
  return !state.token.has_value();
}

CKResult<void> exchangeAll(KeyValueDatabase& table, CloudBackend& cloud, bool asksInAnyCase) {
  const auto first = exchangeOnce(table, cloud, asksInAnyCase);
  if (!first) return tl::unexpected(first.error());
  if (!*first) return {};
  const auto second = exchangeOnce(table, cloud, /*asksInAnyCase=*/false);
  if (!second) return tl::unexpected(second.error());
  return {};
}

}  // namespace

KeyValueExchange::KeyValueExchange(KeyValueDatabase& table, CloudBackend& cloud,
                                   Executor& cloudQueue, Executor& mainQueue, LineOutput& systemLog)
    : table_(table),
      cloud_(cloud),
      cloudQueue_(cloudQueue),
      mainQueue_(mainQueue),
      systemLog_(systemLog) {}

KeyValueExchange::~KeyValueExchange() { table_.setListener({}); }

void KeyValueExchange::start() {
  table_.setListener([this] { begin(Reach::table); });
  exchange();
}

void KeyValueExchange::exchange() { begin(Reach::cloud); }

void KeyValueExchange::begin(Reach reach) {
  if (isRunning_) {
    next_ = std::max(next_.value_or(reach), reach);
    return;
  }
  isRunning_ = true;
  cloudQueue_.post([&table = table_, &cloud = cloud_, &mainQueue = mainQueue_, reach, this,
                    lifetime = std::weak_ptr(lifetime_)] {
    const auto result = exchangeAll(table, cloud, reach == Reach::cloud);
    mainQueue.post([this, lifetime, result] {
      if (!lifetime.expired()) ended(result);
    });
  });
}

void KeyValueExchange::ended(const CKResult<void>& result) {
  isRunning_ = false;
  if (!result) {
    systemLog_.print("Preferences were not exchanged: " + result.error().localizedDescription);
    if (result.error().retryAfter && !std::exchange(isWaiting_, true)) {
      const std::chrono::duration<double> delay(*result.error().retryAfter);
      mainQueue_.postAfter(std::chrono::duration_cast<Executor::Duration>(delay),
                           [this, lifetime = std::weak_ptr(lifetime_)] {
                             if (lifetime.expired()) return;
                             isWaiting_ = false;
                             exchange();
                           });
    }
  }
  if (const auto next = std::exchange(next_, std::nullopt)) begin(*next);
}

}  // namespace orvane
