#pragma once

#include "Platform/Foundation/KeyValueDatabase.h"

namespace orvane::test {

/// Answers every operation, or every change, with an error while a test wants it to, and otherwise
/// passes it on.
class FailingKeyValueDatabase final : public KeyValueDatabase {
 public:
  /// `database` outlives this one.
  explicit FailingKeyValueDatabase(KeyValueDatabase& database) : database_(database) {}

  bool fails = false;
  /// What is there can be read, and nothing written.
  bool isFull = false;
  /// How often it was asked for.
  int synchronizations = 0;
  NSError error{"test", 5, "The disk is on fire"};

  Expected<std::optional<PropertyListValue>> value(std::string_view key) override {
    if (fails) return tl::unexpected(error);
    return database_.value(key);
  }
  Expected<std::optional<PropertyListValue>> entry(std::string_view key,
                                                   std::string_view name) override {
    if (fails) return tl::unexpected(error);
    return database_.entry(key, name);
  }
  Expected<void> transact(const std::function<void(Transaction&)>& body) override {
    if (fails) return tl::unexpected(error);
    if (!isFull) return database_.transact(body);
    bool wrote = false;
    (void)database_.transact([&](Transaction& transaction) {
      ReadOnly readOnly(transaction);
      body(readOnly);
      wrote = readOnly.wrote;
    });
    if (wrote) return tl::unexpected(error);
    return {};
  }
  Expected<void> synchronize() override {
    ++synchronizations;
    if (fails) return tl::unexpected(error);
    return database_.synchronize();
  }
  Expected<ChangeCount> changeCount(std::string_view key) override {
    if (fails) return tl::unexpected(error);
    return database_.changeCount(key);
  }
  Expected<std::uint64_t> foreignVersion() override {
    if (fails) return tl::unexpected(error);
    return database_.foreignVersion();
  }
  void setListener(std::function<void()> changed) override {
    database_.setListener(std::move(changed));
  }

 private:
  /// Drops what is written.
  class ReadOnly final : public Transaction {
   public:
    explicit ReadOnly(Transaction& transaction) : transaction_(transaction) {}

    std::vector<std::string> keys() override { return transaction_.keys(); }
    std::optional<PropertyListValue> value(std::string_view key) override {
      return transaction_.value(key);
    }
    std::shared_ptr<const KeyValueEntries> entries(std::string_view key) override {
      return transaction_.entries(key);
    }
    std::optional<PropertyListValue> entry(std::string_view key, std::string_view name) override {
      return transaction_.entry(key, name);
    }
    void setValue(std::string_view /*key*/,
                  const std::optional<PropertyListValue>& /*value*/) override {
      wrote = true;
    }
    void setEntry(std::string_view /*key*/, std::string_view /*name*/,
                  const std::optional<PropertyListValue>& /*value*/) override {
      wrote = true;
    }

    bool wrote = false;

   private:
    Transaction& transaction_;
  };

  KeyValueDatabase& database_;
};

}  // namespace orvane::test
