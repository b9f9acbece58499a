#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Platform/SafariServices/SFSafariExtensionHandler.h"

namespace orvane::test {

/// An extension that remembers what the browser calls of it, and says of its toolbar item what a
/// test wants.
class RecordingHandler final : public SFSafariExtensionHandler {
 public:
  void toolbarItemClickedInWindow(SFSafariWindow& window) override { clicks.push_back(&window); }
  void validateToolbarItemInWindow(SFSafariWindow& window,
                                   const ValidationHandler& handler) override {
    validations.push_back(&window);
    handler(isEnabled, badge);
  }
  SFSafariExtensionViewController& popoverViewController() override { return controller; }
  void contextMenuItemSelectedWithCommand(std::string_view command, SFSafariPage& page,
                                          const UserInfo& userInfo) override {
    EXPECT_EQ(userInfo, std::nullopt);
    commands.emplace_back(command, &page);
  }
  void messageReceivedWithName(std::string_view /*name*/, std::shared_ptr<SFSafariPage> /*page*/,
                               const UserInfo& /*userInfo*/) override {
    ADD_FAILURE() << "nobody sends messages here";
  }

  class Controller final : public SFSafariExtensionViewController {
   public:
    NSView& view() override { return view_; }
    void viewDidLoad() override {}
    void viewWillAppear() override {}

   private:
    NSView view_;
  };

  bool isEnabled = true;
  std::string badge;
  Controller controller;
  std::vector<SFSafariWindow*> clicks;
  std::vector<SFSafariWindow*> validations;
  std::vector<std::pair<std::string, SFSafariPage*>> commands;
};

}  // namespace orvane::test
