#include "Apps/Browser/ExtensionPage.h"

#include "Apps/Browser/Tab.h"

namespace orvane {

void ExtensionPage::getPagePropertiesWithCompletionHandler(PropertiesCompletion completion) {
  mainQueue_.post([page = shared_from_this(), completion = std::move(completion)] {
    completion(page->properties());
  });
}

void ExtensionPage::dispatchMessageToScriptWithName(std::string_view name) {
  if (tab_ != nullptr) tab_->sendToPage(name);
}

std::optional<SFSafariPageProperties> ExtensionPage::properties() const {
  if (tab_ == nullptr) return std::nullopt;
  return SFSafariPageProperties(NSURL::fromString(tab_->documentURL()));
}

}  // namespace orvane
