#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "Linux/WebKitGTK/BrowserSettings.h"
#include "Platform/SafariServices/SFContentBlockerManager.h"

namespace orvane {

/// The content-blocker manager of the browser on this machine. Its queue is the default main
/// context. A reload runs the helper program that compiles the blocker list, so that neither this
/// process nor a browser waits for the compiler.
class ContentBlockerManager final : public SFContentBlockerManager {
 public:
  struct Locations {
    std::filesystem::path helper;         ///< the program that compiles
    std::filesystem::path blockerList;    ///< the JSON list that it compiles
    std::filesystem::path compiledLists;  ///< where the compiled lists are kept
  };

  ContentBlockerManager(BrowserSettings settings, Locations locations);
  /// Completions that have not been called by then never are.
  ~ContentBlockerManager() override;

  bool hasStateQuery() const override { return true; }
  void getStateOfContentBlocker(std::string_view identifier, StateCompletion completion) override;
  void reloadContentBlocker(std::string_view identifier, ReloadCompletion completion) override;

 private:
  BrowserSettings settings_;
  Locations locations_;
  /// Expires with the manager; whoever is to call a completion asks it first.
  std::shared_ptr<void> lifetime_;
};

}  // namespace orvane
