#include "BlockerKit/PersistentStore/SharedDefaults.h"

#include "BlockerKit/PersistentStore/PersistentStore.h"

namespace orvane {

NSUserDefaults& sharedUserDefaults(Platform& platform) {
  auto* suite = platform.userDefaultsSuite(PersistentStore::applicationGroup);
  return suite == nullptr ? platform.standardUserDefaults : *suite;
}

}  // namespace orvane
