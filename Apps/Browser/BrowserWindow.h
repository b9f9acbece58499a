#pragma once

#include <functional>
#include <memory>
#include <string>

#include <gtkmm.h>

#include "Apps/Browser/AddressEntry.h"
#include "Apps/Browser/ExtensionApplication.h"
#include "Apps/Browser/HeaderBar.h"
#include "Apps/Browser/MessageBar.h"
#include "Apps/Browser/TabStrip.h"
#include "Apps/Browser/ToolbarItem.h"
#include "Apps/Browser/WebEngine.h"
#include "Platform/Platform.h"

namespace orvane {

/// The window of the browser: its controls and its tabs, and what keys do. Main thread.
class BrowserWindow final : public TabOwner {
 public:
  struct Observer {
    std::function<void()> closed;
    std::function<void()> settingsRequested;
    std::function<void(Tab&, std::string_view message)> messageToPage;
    ToolbarItem::OpenPopover openPopover;
  };

  /// All arguments outlive the window.
  BrowserWindow(Platform& platform, const WebEngine& engine, SFSafariExtensionHandler& handler,
                Observer observer);
  ~BrowserWindow() override;

  Gtk::Window& window() { return window_; }
  TabStrip& tabs() { return tabs_; }
  AddressEntry& address() { return address_; }
  ToolbarItem& toolbarItem() { return toolbarItem_; }
  MessageBar& message() { return message_; }
  const std::shared_ptr<ExtensionWindow>& extensionWindow() const { return extensionWindow_; }

  void present() { window_.present(); }
  /// An empty tab with the keyboard in the address.
  void openEmptyTab();
  void openTab(const std::string& url) override;
  void closeTab(Tab& tab) override;

 private:
  void tabChanged(Tab& tab) override;
  void pageChanged(Tab& tab) override;
  Tab& openTabFor(Tab& opener) override;
  void openElsewhere(const std::string& url) override;
  void pageFillsScreen(Tab& tab) override;
  void hideElementChosen(Tab& tab) override;
  void sendToPage(Tab& tab, std::string_view message) override;

  Tab& addTab(WebKitWebView* opener, Tab* neighbour);
  void addKeys();
  void addActions();
  void enterAddress(const std::string& text);
  void frontChanged();
  void showFront();
  bool stop();
  /// Does it with the tab in front, if there is one.
  void withFront(const std::function<void(Tab&)>& action);

  Platform& platform_;
  const WebEngine& engine_;
  SFSafariExtensionHandler& handler_;
  Observer observer_;
  std::shared_ptr<ExtensionWindow> extensionWindow_;
  AddressEntry address_;
  ToolbarItem toolbarItem_;
  HeaderBar header_;
  Gtk::Window window_;
  Gtk::Box content_{Gtk::Orientation::VERTICAL};
  MessageBar message_;
  TabStrip tabs_;
  Tab* shown_ = nullptr;
};

}  // namespace orvane
