#pragma once

#include <cstddef>
#include <functional>

#include "BlockerKit/Catalogue/SafariReloadingResult.h"

namespace orvane {

/// What a reload did, for the companion's status.
struct ReloadReport {
  /// False when the settings that the list depends on could not be read, which `result` tells; then
  /// nothing was written, and the browser was not asked.
  bool isListBuilt = true;
  bool isPaused = false;
  /// In the list that was written; none when blocking is paused.
  std::size_t blockerCount = 0;
  /// Whether the list is in its file. When it is not, the browser has read the earlier one.
  bool isWritten = false;
  /// The browser's answer.
  SafariReloadingResult result;

  friend bool operator==(const ReloadReport&, const ReloadReport&) = default;
};

/// Called on the main queue for each reload that the browser has answered, and for each whose list
/// could not be built, before the handler of
/// the reload. May be empty.
using ReloadObserver = std::function<void(const ReloadReport&)>;

}  // namespace orvane
