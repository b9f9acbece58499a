#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Apps/Browser/ColorScheme.h"
#include "Platform/AppKit/NSWorkspace.h"

namespace orvane {

struct BrowserOptions {
  /// A tab for each is opened at the start; without any there is one empty tab.
  std::vector<std::string> urls;
  /// The proxy that everything goes through; empty for the one that the desktop says.
  std::string proxyURL;
  /// Only for a proxy of this machine that stands for the whole Internet.
  bool acceptsAnyCertificate = false;
  /// Nothing of what pages store outlives the browser.
  bool isEphemeral = false;
  /// Absent for the choice of the desktop.
  std::optional<ColorScheme> colorScheme;
  /// Starts other programs; the machine's own way to do so when null. Outlives the browser.
  NSWorkspace* workspace = nullptr;
};

}  // namespace orvane
