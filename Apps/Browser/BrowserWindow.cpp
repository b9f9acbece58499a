#include "Apps/Browser/BrowserWindow.h"

#include <array>
#include <utility>

#include <fmt/format.h>

#include "Apps/Browser/Address.h"
#include "Apps/Browser/Controls.h"
#include "SafariExtension/Extension/SafariExtensionHandler.h"

namespace orvane {
namespace {

constexpr int width = 1100;
constexpr int height = 800;
constexpr int narrowWidth = 600;

}  // namespace

BrowserWindow::BrowserWindow(Platform& platform, const WebEngine& engine,
                             SFSafariExtensionHandler& handler, Observer observer)
    : platform_(platform),
      engine_(engine),
      handler_(handler),
      observer_(std::move(observer)),
      extensionWindow_(std::make_shared<ExtensionWindow>(platform.mainQueue,
                                                         [this] {
                                                           const auto* front = tabs_.front();
                                                           return front == nullptr
                                                                      ? nullptr
                                                                      : front->extensionTab();
                                                         })),
      address_(platform.mainQueue,
               {.entered = [this](const std::string& text) { enterAddress(text); },
                .left = [this] { withFront([](Tab& tab) { tab.focus(); }); }}),
      toolbarItem_(platform.mainQueue, handler, extensionWindow_, observer_.openPopover),
      header_(address_, toolbarItem_,
              {.back = [this] { withFront([](Tab& tab) { tab.goBack(); }); },
               .forward = [this] { withFront([](Tab& tab) { tab.goForward(); }); },
               .reloadOrStop =
                   [this] {
                     if (!stop()) withFront([](Tab& tab) { tab.reload(); });
                   }}),
      tabs_({.frontChanged = [this] { frontChanged(); },
             .closeRequested = [this](Tab& tab) { closeTab(tab); },
             .newTabRequested = [this] { openEmptyTab(); }}) {
  content_.append(message_);
  content_.append(tabs_.widget());
  window_.set_titlebar(header_);
  window_.set_child(content_);
  window_.set_title("Orvane");
  window_.set_icon_name("orvane");
  window_.set_default_size(width, height);
  window_.signal_close_request().connect(
      [this] {
        observer_.closed();
        return true;
      },
      false);
  window_.property_default_width().signal_changed().connect(
      [this] { header_.setNarrow(window_.property_default_width().get_value() < narrowWidth); });
  addActions();
  addKeys();
}

BrowserWindow::~BrowserWindow() { extensionWindow_->windowEnds(); }

void BrowserWindow::openEmptyTab() {
  addTab(nullptr, nullptr);
  address_.focus();
}

void BrowserWindow::openTab(const std::string& url) { addTab(nullptr, tabs_.front()).open(url); }

Tab& BrowserWindow::openTabFor(Tab& opener) { return addTab(opener.view(), &opener); }

Tab& BrowserWindow::addTab(WebKitWebView* opener, Tab* neighbour) {
  auto made =
      std::make_unique<Tab>(*this, engine_, platform_.mainQueue, platform_.makeUUID(), opener);
  auto& tab = *made;
  tabs_.add(std::move(made), neighbour);
  toolbarItem_.setNeedsValidation();
  return tab;
}

/// The tab may be at work: it ends later.
void BrowserWindow::closeTab(Tab& tab) {
  if (shown_ == &tab) shown_ = nullptr;
  tab.close();
  platform_.mainQueue.post([ending = std::shared_ptr<Tab>(tabs_.take(tab))] {});
  toolbarItem_.setNeedsValidation();
  if (tabs_.size() == 0) window_.close();
}

void BrowserWindow::tabChanged(Tab& tab) {
  tabs_.update(tab);
  if (tabs_.front() == &tab) showFront();
}

void BrowserWindow::pageChanged(Tab& /*tab*/) { toolbarItem_.setNeedsValidation(); }

void BrowserWindow::openElsewhere(const std::string& url) {
  message_.ask(fmt::format("The page wants to open “{}” in another program.", url), "Open",
               [this, url] {
                 const auto parsed = NSURL::fromString(url);
                 if (parsed && platform_.workspace.openURL(*parsed)) return;
                 message_.show(fmt::format("No program of this computer opens “{}”.", url));
               });
}

void BrowserWindow::pageFillsScreen(Tab& tab) {
  const auto url = NSURL::fromString(tab.documentURL());
  message_.show(fmt::format("{} fills the screen. Escape ends it.",
                            url && url->host() ? *url->host() : "The page"));
}

void BrowserWindow::hideElementChosen(Tab& tab) {
  handler_.contextMenuItemSelectedWithCommand(SafariExtensionHandler::selectorModeCommand,
                                              *tab.page(), std::nullopt);
}

void BrowserWindow::sendToPage(Tab& tab, std::string_view message) {
  observer_.messageToPage(tab, message);
}

void BrowserWindow::enterAddress(const std::string& text) {
  const auto url = urlOfAddress(text);
  if (!url) {
    return message_.show(text.empty()
                             ? "Enter the address of a page, such as example.org."
                             : fmt::format("“{}” is not an address. An address is, for example, "
                                           "example.org or https://example.org/page.",
                                           text));
  }
  message_.hide();
  withFront([&](Tab& tab) {
    address_.showOtherPage(*url);
    tab.open(*url);
  });
}

void BrowserWindow::frontChanged() {
  toolbarItem_.setNeedsValidation();
  showFront();
}

void BrowserWindow::showFront() {
  const auto* front = tabs_.front();
  if (front == nullptr) return;
  if (std::exchange(shown_, tabs_.front()) != front) {
    message_.hide();
    address_.showOtherPage(front->url());
  }
  address_.showAddress(front->url());
  address_.showProgress(front->progress(), front->isLoading());
  address_.showSecurity(front->isSecure());
  header_.update(*front);
  window_.set_title(front->title());
}

bool BrowserWindow::stop() {
  auto* front = tabs_.front();
  if (front == nullptr || !front->isLoading()) return false;
  front->stop();
  return true;
}

void BrowserWindow::withFront(const std::function<void(Tab&)>& action) {
  if (auto* front = tabs_.front()) action(*front);
}

void BrowserWindow::addActions() {
  const auto actions = Gio::SimpleActionGroup::create();
  const auto withTab = [this](void (Tab::*action)()) {
    return [this, action] { withFront([action](Tab& tab) { (tab.*action)(); }); };
  };
  actions->add_action("new-tab", [this] { openEmptyTab(); });
  actions->add_action("find", [this] { withFront([](Tab& tab) { tab.findBar().open(); }); });
  actions->add_action("zoom-in", withTab(&Tab::zoomIn));
  actions->add_action("zoom-out", withTab(&Tab::zoomOut));
  actions->add_action("zoom-reset", withTab(&Tab::resetZoom));
  actions->add_action("settings", [this] { observer_.settingsRequested(); });
  actions->add_action("quit", [this] { window_.close(); });
  window_.insert_action_group("browser", actions);
}

void BrowserWindow::addKeys() {
  const auto always = [](std::function<void()> action) {
    return [action = std::move(action)] {
      action();
      return true;
    };
  };
  const auto withTab = [this, always](void (Tab::*action)()) {
    return always([this, action] { withFront([action](Tab& tab) { (tab.*action)(); }); });
  };
  std::vector<Shortcut> shortcuts{
      {"<Control>t", always([this] { openEmptyTab(); })},
      {"<Control>w|<Control>F4",
       always([this] { withFront([this](Tab& tab) { closeTab(tab); }); })},
      {"<Control>Tab|<Control>Page_Down", always([this] { tabs_.moveFront(1); })},
      {"<Control><Shift>Tab|<Control><Shift>ISO_Left_Tab|<Control>Page_Up",
       always([this] { tabs_.moveFront(-1); })},
      {"<Control>l|F6|<Alt>d", always([this] { address_.focus(); })},
      {"<Alt>Left", withTab(&Tab::goBack)},
      {"<Alt>Right", withTab(&Tab::goForward)},
      {"<Control>r|F5", withTab(&Tab::reload)},
      {"<Control>f", always([this] { withFront([](Tab& tab) { tab.findBar().open(); }); })},
      {"<Control>plus|<Control>equal|<Control>KP_Add", withTab(&Tab::zoomIn)},
      {"<Control>minus|<Control>KP_Subtract", withTab(&Tab::zoomOut)},
      {"<Control>0|<Control>KP_0", withTab(&Tab::resetZoom)},
      {"<Control><Shift>e", always([this] { toolbarItem_.click(); })},
      {"<Control>comma", always([this] { observer_.settingsRequested(); })},
      {"<Control>q", always([this] { window_.close(); })},
  };
  static constexpr std::array<const char*, 9> numbers{"<Control>1", "<Control>2", "<Control>3",
                                                      "<Control>4", "<Control>5", "<Control>6",
                                                      "<Control>7", "<Control>8", "<Control>9"};
  for (std::size_t index = 0; index < numbers.size(); ++index) {
    shortcuts.push_back({numbers[index], always([this, index] {
                           if (auto* tab = tabs_.at(index)) tabs_.bringToFront(*tab);
                         })});
  }
  addShortcuts(window_, shortcuts);
  // Whatever has the keyboard may have its own use for it: the page, the picking of an element.
  addShortcuts(window_, {{"Escape", [this] { return stop(); }}}, Gtk::PropagationPhase::BUBBLE);
}

}  // namespace orvane
