#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <gtkmm/button.h>
#include <gtkmm/window.h>

#include "Apps/Browser/ExtensionPopover.h"
#include "Process/Process.h"
#include "Tests/Support/MainLoop.h"
#include "Tests/Support/RecordingExtension.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {

/// Reports that went out; a test answers them.
struct RecordingReports {
  std::vector<Report> reports;
  std::vector<ReportCompletion> completions;

  PostReport post = [this](const Report& report, ReportCompletion completion) {
    reports.push_back(report);
    completions.push_back(std::move(completion));
  };
};

/// A browser window with a button, and the extension on a machine in memory.
struct PopoverScene {
  explicit PopoverScene(const std::optional<std::string>& url = "https://www.example.com/news") {
    if (url) controller.setCurrentURL(NSURL::fromString(*url));
    window.set_default_size(500, 700);
    button.set_halign(Gtk::Align::CENTER);
    button.set_valign(Gtk::Align::START);
    window.set_child(button);
    window.present();
    loop.runUntil([this] { return button.get_mapped(); });
  }

  static std::filesystem::path interfaceFile() {
    return std::filesystem::path(ORVANE_RESOURCES) / "SafariExtensionViewController.ui";
  }

  MainLoop loop;
  TestPlatform machine;
  RecordingExtensionHost host{*machine.mainQueue};
  RecordingReports reports;
  Process process{machine.platform};
  SafariExtensionViewController controller{
      machine.platform,
      host.host,
      process.store(),
      process.defaults(),
      process.dataManager(),
      process.perSiteRules(),
      [this](const Report& report, ReportCompletion completion) {
        reports.post(report, std::move(completion));
      }};
  Gtk::Window window;
  Gtk::Button button{"Orvane"};
};

}  // namespace orvane::test
