#include "BlockerKit/SyncManager/CloudIdentity.h"

#include "BlockerKit/SyncManager/LocalChangesQueue.h"
#include "BlockerKit/SyncManager/RecordMetadata.h"
#include "BlockerKit/SyncManager/SyncManager.h"

namespace orvane {

bool beginWithCloud(NSUserDefaults& defaults, const std::string& identity) {
  const auto begin = [&](KeyValueDatabase::Transaction& transaction) {
    const auto earlier = transaction.value(cloudIdentityKey);
    if (earlier == PropertyListValue(identity)) return;
    transaction.setValue(cloudIdentityKey, identity);
    if (!earlier) return;
    for (const auto* key : {SyncManager::zoneSavedKey, SyncManager::zoneSubscriptionIDKey,
                            SyncManager::serverTokenKey, RecordMetadata::key,
                            LocalChangesQueue::existingDataMarkedAsAddedKey}) {
      transaction.setValue(key, std::nullopt);
    }
  };
  return defaults.transact(begin).has_value();
}

}  // namespace orvane
