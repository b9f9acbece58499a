#include "Platform/CloudKit/KeyValueExchange.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

namespace orvane {
namespace {

using Dictionary = PropertyListValue::Dictionary;
using Transaction = KeyValueDatabase::Transaction;
using Value = std::optional<PropertyListValue>;

constexpr const char* tokenName = "token";
/// What the state has for a key of the table.
constexpr std::string_view prefix = "key ";

struct LocalState {
  Dictionary table;
  /// What both had last.
  Dictionary agreed;
  std::optional<CKServerChangeToken> token;
};

CKError tableError(const NSError& error) {
  CKError result;
  result.localizedDescription = error.localizedDescription;
  return result;
}

Value valueIn(const Dictionary& values, const std::string& key) {
  const auto found = values.find(key);
  return found == values.end() ? std::nullopt : Value(found->second);
}

LocalState stateOf(Transaction& table) {
  LocalState state;
  for (const auto& key : table.keys()) {
    if (key == KeyValueExchange::stateKey) continue;
    if (auto value = table.value(key)) state.table.emplace(key, *std::move(value));
  }
  const auto kept = table.value(KeyValueExchange::stateKey);
  const auto* entries = kept ? kept->as<Dictionary>() : nullptr;
  if (entries == nullptr) return state;
  for (const auto& [name, value] : *entries) {
    if (name.starts_with(prefix)) state.agreed.emplace(name.substr(prefix.size()), value);
  }
  if (const auto token = valueIn(*entries, tokenName)) {
    if (const auto* text = token->as<std::string>()) state.token = CKServerChangeToken{*text};
  }
  return state;
}

/// What the cloud is still to get.
CloudKeyValueChanges changesIn(const LocalState& state) {
  CloudKeyValueChanges changes;
  for (const auto& [key, value] : state.table) {
    if (valueIn(state.agreed, key) != value) changes[key] = value;
  }
  for (const auto& [key, value] : state.agreed) {
    if (!state.table.contains(key)) changes[key] = std::nullopt;
  }
  return changes;
}

/// What the table is to take over. A change that the cloud is still to get stays, unless this is
/// the first time that they meet.
CloudKeyValueChanges newsIn(const CloudKeyValues& arrived, const LocalState& state) {
  const auto changes = changesIn(state);
  CloudKeyValueChanges news;
  for (const auto& [key, value] : arrived.changes) {
    const bool isWanted = arrived.isAll || !changes.contains(key);
    if (isWanted && valueIn(state.table, key) != value) news[key] = value;
  }
  return news;
}

void agree(Transaction& table, const std::string& key, const Value& value) {
  table.setEntry(KeyValueExchange::stateKey, std::string(prefix) + key, value);
}

/// What was changed here since it was read is newer than the news.
void apply(Transaction& table, const LocalState& read, const CloudKeyValueChanges& sent,
           const CloudKeyValues& arrived, const CloudKeyValueChanges& news) {
  for (const auto& [key, value] : news) {
    if (table.value(key) == valueIn(read.table, key)) table.setValue(key, value);
  }
  if (arrived.isAll) {
    for (const auto& [key, value] : read.agreed) agree(table, key, std::nullopt);
  }
  for (const auto& [key, value] : arrived.changes) agree(table, key, value);
  for (const auto& [key, value] : sent) agree(table, key, value);
  table.setEntry(KeyValueExchange::stateKey, tokenName, PropertyListValue(arrived.token.value));
}

CKResult<LocalState> read(const KeyValueExchange::Table& table) {
  LocalState state;
  const auto done =
      table.foreign.transact([&](auto& transaction) { state = stateOf(transaction); });
  if (!done) return tl::unexpected(tableError(done.error()));
  return state;
}

/// Sends the changes, takes what has arrived, and gives the state afterwards.
CKResult<LocalState> exchange(const KeyValueExchange::Table& table, CloudBackend& cloud,
                              const LocalState& state, const CloudKeyValueChanges& changes,
                              const CloudCall& call) {
  const auto arrived = cloud.exchangeKeyValues(changes, state.token, call);
  if (!arrived) return tl::unexpected(arrived.error());
  const bool isNew = !changes.empty() || !arrived->changes.empty() || arrived->token != state.token;
  if (!isNew) return state;
  const auto news = newsIn(*arrived, state);
  auto& connection = news.empty() ? table.own : table.foreign;
  LocalState after;
  const auto done = connection.transact([&](auto& transaction) {
    apply(transaction, state, changes, *arrived, news);
    after = stateOf(transaction);
  });
  if (!done) return tl::unexpected(tableError(done.error()));
  return after;
}

/// What the cloud refuses to take does not keep what others change away, and until the cloud is
/// known to be the one before nothing is sent that could go over what it has.
CKResult<void> exchangeAll(const KeyValueExchange::Table& table, CloudBackend& cloud,
                           bool asksInAnyCase, const CloudCall& call) {
  const auto state = read(table);
  if (!state) return tl::unexpected(state.error());
  if (changesIn(*state).empty() && !asksInAnyCase) return {};
  const auto received = exchange(table, cloud, *state, {}, call);
  if (!received) return tl::unexpected(received.error());
  const auto changes = changesIn(*received);
  if (changes.empty()) return {};
  const auto sent = exchange(table, cloud, *received, changes, call);
  if (!sent) return tl::unexpected(sent.error());
  return {};
}

}  // namespace

KeyValueExchange::KeyValueExchange(const Table& table, CloudBackend& cloud, Executor& cloudQueue,
                                   Executor& mainQueue, LineOutput& systemLog)
    : table_(table),
      cloud_(cloud),
      cloudQueue_(cloudQueue),
      mainQueue_(mainQueue),
      systemLog_(systemLog) {}

KeyValueExchange::~KeyValueExchange() { table_.foreign.setListener({}); }

void KeyValueExchange::start() {
  table_.foreign.setListener([this] { begin(Reach::table); });
  exchange();
}

void KeyValueExchange::exchange() { begin(Reach::cloud); }

void KeyValueExchange::begin(Reach reach) {
  if (isRunning_) {
    next_ = std::max(next_.value_or(reach), reach);
    return;
  }
  isRunning_ = true;
  cloudQueue_.post([table = table_, &cloud = cloud_, &mainQueue = mainQueue_, reach, this,
                    lifetime = std::weak_ptr(lifetime_)] {
    const CloudCall call{[lifetime] { return lifetime.expired(); }};
    const auto result = exchangeAll(table, cloud, reach == Reach::cloud, call);
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
