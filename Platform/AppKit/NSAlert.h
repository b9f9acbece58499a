#pragma once

#include <functional>
#include <string>
#include <vector>

namespace orvane {

enum class NSAlertStyle { warning = 0, informational = 1, critical = 2 };

struct NSAlert {
  NSAlertStyle alertStyle = NSAlertStyle::warning;
  /// The title.
  std::string messageText;
  std::string informativeText;
  /// The base name of the icon's image among the program's resources.
  std::string icon;
  std::vector<std::string> buttonTitles;

  friend bool operator==(const NSAlert&, const NSAlert&) = default;
};

/// Shows an alert before everything else of the program until the user dismisses it, and then calls
/// `completion`. Returns at once. Main queue.
using RunAlertModal = std::function<void(const NSAlert& alert, std::function<void()> completion)>;

}  // namespace orvane
