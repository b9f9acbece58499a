#pragma once

#include <optional>
#include <set>
#include <string>

#include "BlockerKit/SyncManager/SyncManager.h"
#include "Tests/Simulation/CloudHistory.h"
#include "Tests/Simulation/Risk.h"

namespace orvane::test {

/// Watches what the fetched deletions of a machine do to the changes that wait there. A change is
/// forgotten when the deletion comes, and the package or rule is removed a little later.
class FetchedDeletions final : public TransactionWatch {
 public:
  FetchedDeletions(CloudHistory& history, const std::string& machine)
      : history_(history), machine_(machine) {}

  void begins(Transaction& transaction) override { before_ = stateOf(transaction); }
  void ends(Transaction& transaction) override {
    const auto after = stateOf(transaction);
    if (after.token != before_.token) {
      // A deletion that is forgotten with an earlier one: if the rule was made again in between and
      // is being saved, it is back.
      for (const auto& name : missing(before_.deleted, after.deleted)) {
        history_.forgottenDeletions.insert(name);
      }
      unapplied().merge(missing(before_.known, after.known));
    } else {
      // An edit that is queued, and removed from the machine that has made it.
      for (const auto& name : missing(after.added, before_.added)) {
        if (unapplied().contains(name)) history_.overtakenEdits[machine_].insert(name);
      }
    }
    Names pages;
    add(transaction.value(FetchedPages::key), pages);
    if (pages.empty()) unapplied().clear();
  }

 private:
  using Names = std::set<std::string>;
  struct State {
    std::optional<PropertyListValue> token;
    Names known;
    Names added;
    Names deleted;
  };

  Names& unapplied() { return history_.unappliedDeletions[machine_]; }

  static Names missing(const Names& names, const Names& from) {
    Names result;
    for (const auto& name : names) {
      if (!from.contains(name)) result.insert(name);
    }
    return result;
  }
  static void add(const std::optional<PropertyListValue>& value, Names& names) {
    if (!value) return;
    if (const auto* dictionary = value->as<PropertyListValue::Dictionary>()) {
      for (const auto& [name, entry] : *dictionary) names.insert(name);
    } else if (const auto texts = stringsOf(*value)) {
      names.insert(texts->begin(), texts->end());
    }
  }
  static State stateOf(Transaction& transaction) {
    State state;
    state.token = transaction.value(SyncManager::serverTokenKey);
    add(transaction.value(RecordMetadata::key), state.known);
    for (const auto kind : {RecordKind::rule, RecordKind::package}) {
      add(transaction.value(LocalChangesEdit::addedKey(kind)), state.added);
      add(transaction.value(LocalChangesEdit::deletedKey(kind)), state.deleted);
    }
    return state;
  }

  CloudHistory& history_;
  const std::string& machine_;
  State before_;
};

}  // namespace orvane::test
