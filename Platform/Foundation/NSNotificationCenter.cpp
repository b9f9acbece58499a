#include "Platform/Foundation/NSNotificationCenter.h"

#include <utility>

namespace orvane {

struct NSNotificationCenter::Observation::Entry {
  std::string name;
  Callback callback;
};

NSNotificationCenter::Observation NSNotificationCenter::addObserver(std::string_view name,
                                                                    Callback callback) {
  auto entry = std::make_shared<Observation::Entry>(
      Observation::Entry{std::string(name), std::move(callback)});
  const std::lock_guard lock(mutex_);
  std::erase_if(entries_, [](const auto& known) { return known.expired(); });
  entries_.push_back(entry);
  return Observation(std::move(entry));
}

void NSNotificationCenter::post(const NSNotification& notification) {
  std::vector<std::weak_ptr<Observation::Entry>> entries;
  {
    const std::lock_guard lock(mutex_);
    entries = entries_;
  }
  for (const auto& candidate : entries) {
    const auto entry = candidate.lock();
    if (entry && entry->name == notification.name) entry->callback(notification);
  }
}

}  // namespace orvane
