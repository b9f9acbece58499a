#pragma once

#include <memory>

#include "Platform/Foundation/Executor.h"
#include "Platform/SafariServices/SFSafariPage.h"

namespace orvane {

class Tab;

/// A tab's page as the extension knows it; the same for as long as the tab lives. Main queue.
class ExtensionPage final : public SFSafariPage,
                            public std::enable_shared_from_this<ExtensionPage> {
 public:
  /// `mainQueue` outlives the page.
  ExtensionPage(Executor& mainQueue, Tab& tab) : mainQueue_(mainQueue), tab_(&tab) {}

  /// To be called before the tab ends.
  void tabEnds() { tab_ = nullptr; }

  void getPagePropertiesWithCompletionHandler(PropertiesCompletion completion) override;
  void dispatchMessageToScriptWithName(std::string_view name) override;

 private:
  std::optional<SFSafariPageProperties> properties() const;

  Executor& mainQueue_;
  Tab* tab_;
};

}  // namespace orvane
