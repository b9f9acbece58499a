#include "BlockerKit/Support/DisplayInformation.h"

#include <string>

namespace orvane {

void displayInformation(NSNotificationCenter& center, std::string_view message, bool warning) {
  center.post({.name = displayInformationNotification,
               .userInfo = {{"message", std::string(message)}, {"warning", warning}}});
}

}  // namespace orvane
