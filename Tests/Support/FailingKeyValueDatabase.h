#pragma once

#include "Platform/Foundation/KeyValueDatabase.h"

namespace orvane::test {

/// Answers every operation with an error while a test wants it to, and otherwise passes it on.
class FailingKeyValueDatabase final : public KeyValueDatabase {
 public:
  /// `database` outlives this one.
  explicit FailingKeyValueDatabase(KeyValueDatabase& database) : database_(database) {}

  bool fails = false;
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
    return database_.transact(body);
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
  KeyValueDatabase& database_;
};

}  // namespace orvane::test
