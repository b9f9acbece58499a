#include "BlockerKit/PersistentStore/PlaceholderBlocker.h"

namespace orvane {

Blocker placeholderBlocker() {
  return {.trigger = {.urlFilter = ".*", .caseSensitive = true},
          .action = *Action::make(ActionType::Hide, "orvane-placeholder.matches-no-element")};
}

}  // namespace orvane
