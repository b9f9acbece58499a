#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "Platform/AppKit/NSWorkspace.h"
#include "Platform/Foundation/LineOutput.h"

namespace orvane {

/// Starts programs as processes of their own, which outlive this one and write to the diagnostic
/// log. URLs go to the user's default program for their scheme.
class Workspace final : public NSWorkspace {
 public:
  /// `programs` are the paths by bundle identifier; the log is kept in `stateFolder`. A program
  /// that is not to come to the front gets the argument "--hidden".
  Workspace(std::map<std::string, std::filesystem::path, std::less<>> programs,
            std::optional<std::filesystem::path> stateFolder, LineOutput& systemLog);

  bool launchApp(std::string_view bundleIdentifier, NSWorkspaceLaunchOptions options) override;
  bool openURL(const NSURL& url) override;

 private:
  std::map<std::string, std::filesystem::path, std::less<>> programs_;
  std::optional<std::filesystem::path> stateFolder_;
  LineOutput& systemLog_;
};

}  // namespace orvane
