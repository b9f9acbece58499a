#include "Platform/Foundation/NSUbiquitousKeyValueStore.h"

#include <utility>

namespace orvane {

NSUbiquitousKeyValueStore::NSUbiquitousKeyValueStore(KeyValueDatabase& database,
                                                     LineOutput& systemLog,
                                                     NSNotificationCenter& notificationCenter)
    : KeyValueStore(database, systemLog),
      notificationCenter_(notificationCenter),
      looks_(systemLog) {}

NSUbiquitousKeyValueStore::~NSUbiquitousKeyValueStore() {
  if (isNotifying_) database_.setListener(nullptr);
}

void NSUbiquitousKeyValueStore::startNotifying() {
  if (isNotifying_) return;
  isNotifying_ = true;
  // Listening comes before the first look: a change after the look is then always told.
  database_.setListener([this] { notifyOfForeignChange(); });
  seen_ = foreignVersion();
}

void NSUbiquitousKeyValueStore::notifyOfForeignChange() {
  const auto version = foreignVersion();
  if (!version || version == std::exchange(seen_, version)) return;
  notificationCenter_.post({.name = NSUbiquitousKeyValueStoreDidChangeExternallyNotification,
                            .object = "NSUbiquitousKeyValueStore"});
}

std::optional<std::uint64_t> NSUbiquitousKeyValueStore::foreignVersion() {
  const auto version = database_.foreignVersion();
  looks_.note(version);
  return version ? std::optional(*version) : std::nullopt;
}

}  // namespace orvane
