#include "Apps/Browser/ExtensionApplication.h"

namespace orvane {

void ExtensionTab::getActivePageWithCompletionHandler(PageCompletion completion) {
  mainQueue_.post([page = page_, completion = std::move(completion)] { completion(page.lock()); });
}

void ExtensionWindow::getActiveTabWithCompletionHandler(TabCompletion completion) {
  mainQueue_.post([window = shared_from_this(), completion = std::move(completion)] {
    completion(window->activeTab_ ? window->activeTab_() : nullptr);
  });
}

void ExtensionApplication::setWindow(std::shared_ptr<SFSafariWindow> window,
                                     std::function<void()> validate) {
  front_->window = std::move(window);
  front_->validate = std::move(validate);
}

void ExtensionApplication::getActiveWindowWithCompletionHandler(WindowCompletion completion) {
  mainQueue_.post(
      [front = front_, completion = std::move(completion)] { completion(front->window); });
}

void ExtensionApplication::setToolbarItemsNeedUpdate() {
  if (front_->validate) front_->validate();
}

}  // namespace orvane
