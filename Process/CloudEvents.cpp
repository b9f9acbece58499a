#include "Process/CloudEvents.h"

#include <utility>

namespace orvane {

CloudEvents::CloudEvents(Platform& platform, SyncManager& syncManager,
                         std::function<void()> keyValuesChanged)
    : platform_(platform),
      syncManager_(syncManager),
      keyValuesChanged_(std::move(keyValuesChanged)) {
  platform_.cloud.setListener([this, lifetime = std::weak_ptr(lifetime_)](const CloudEvent& event) {
    platform_.mainQueue.post([this, lifetime, event] {
      if (!lifetime.expired()) tell(event);
    });
  });
}

CloudEvents::~CloudEvents() { platform_.cloud.setListener({}); }

void CloudEvents::tell(const CloudEvent& event) {
  switch (event.kind) {
    case CloudEvent::Kind::zoneChanged:
      if (!isWaiting_) passOn({event.subscriptionID});
      break;
    case CloudEvent::Kind::keyValuesChanged:
      keyValuesChanged_();
      break;
    case CloudEvent::Kind::accountChanged:
      platform_.notificationCenter.post({.name = CKAccountChanged});
      break;
  }
}

void CloudEvents::passOn(const CKNotification& notification) {
  isWaiting_ = syncManager_.isBusy();
  if (!isWaiting_) return syncManager_.handleNotification(notification, nullptr);
  platform_.mainQueue.postAfter(patience,
                                [this, lifetime = std::weak_ptr(lifetime_), notification] {
                                  if (!lifetime.expired()) passOn(notification);
                                });
}

}  // namespace orvane
