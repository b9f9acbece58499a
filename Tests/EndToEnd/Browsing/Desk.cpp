#include "Tests/EndToEnd/Browsing/Desk.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <gtkmm/init.h>

#include "Apps/Demonstration/AsyncResult.h"
#include "Apps/Demonstration/MainLoop.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "Linux/GLib/GLibError.h"
#include "Linux/Posix/ProgramFolder.h"
#include "Linux/WebKitGTK/CompiledListDirectory.h"
#include "Tests/EndToEnd/Browsing/Hands.h"
#include "Tests/EndToEnd/VirtualDisplay.h"
#include "Tests/Support/ProgramRun.h"

namespace orvane::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* advertHost = "ad.doubleclick.net";
constexpr const char* pictureHost = "pictures.test";
/// No script of a page can disturb it.
constexpr const char* testWorld = "test";

constexpr const char* picture =
    R"(<svg xmlns="http://www.w3.org/2000/svg" width="120" height="60">)"
    R"(<rect width="120" height="60" fill="#7a9"/></svg>)";

/// The picking mode's one element stands beside the page's head and body.
constexpr const char* isPickerShown =
    "[...document.documentElement.children].some((e) => !/^(head|body)$/i.test(e.tagName))";

/// Empty when it cannot be read, as of a process that has just ended.
std::string contents(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

bool isCompanion(const fs::path& process, const std::string& home) {
  const auto command = contents(process / "cmdline");
  const auto program = command.substr(0, command.find('\0'));
  return fs::path(program).filename() == "orvane" &&
         contents(process / "environ").find(home) != std::string::npos;
}

/// The window of this program that is not `window`, if there is one on the screen.
GtkWidget* otherWindow(GtkWidget* window) {
  GListModel* windows = gtk_window_get_toplevels();
  GtkWidget* found = nullptr;
  for (guint i = 0; i < g_list_model_get_n_items(windows); ++i) {
    auto* other = GTK_WIDGET(g_list_model_get_item(windows, i));
    g_object_unref(other);
    if (other != window && gtk_widget_get_mapped(other) != FALSE) found = other;
  }
  return found;
}

bool isNumber(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

Desk::Desk() : internet_(LoopbackProxy::start().value()) {
  if (!VirtualDisplay::ofThisProcess().isReady()) {
    ADD_FAILURE() << "There is no virtual display.";
    std::abort();
  }
  Gtk::init_gtkmm_internals();
  for (const auto& [name, place] : {std::pair{"HOME", "."},
                                    {"XDG_DATA_HOME", "data"},
                                    {"XDG_CONFIG_HOME", "config"},
                                    {"XDG_STATE_HOME", "state"},
                                    {"XDG_CACHE_HOME", "cache"}}) {
    ::setenv(name, (home / place).c_str(), 1);
  }
  internet_->serve(advertHost, "/banner.svg",
                   {.contentType = "image/svg+xml", .body = picture, .headers = {}});
  internet_->serve(pictureHost, "/boat.svg",
                   {.contentType = "image/svg+xml", .body = picture, .headers = {}});
}

Desk::~Desk() {
  if (::testing::Test::HasFailure()) {
    for (const auto& line : systemLog_.lines) fmt::print("system log: {}\n", line);
  }
  endBrowser();
  for (const pid_t companion : companions()) ::kill(companion, SIGTERM);
  until("the companion ends", [this] { return companions().empty(); });
}

void Desk::serveNewspaper(const std::string& host) {
  const auto page = fmt::format(R"(<!DOCTYPE html><title>News</title><h1>News</h1>
<div id="house-banner" class="house-banner">Subscribe today</div>
<p>The ferry is late.</p>
<img id="advert" src="http://{}/banner.svg"><img id="boat" src="http://{}/boat.svg">)",
                                advertHost, pictureHost);
  internet_->serve(host, "/",
                   {.contentType = "text/html; charset=utf-8", .body = page, .headers = {}});
}

void Desk::startBrowser(ColorScheme colors, int width) {
  BrowserOptions options;
  options.colorScheme = colors;
  options.proxyURL = internet_->url();
  options.acceptsAnyCertificate = true;
  options.isEphemeral = true;
  browser_ = std::make_unique<Browser>(options, systemLog_, [] {});
  until("the window is on the screen", [this] { return gtk_widget_get_mapped(window()) != FALSE; });
  if (width == 0) return;
  gtk_window_set_default_size(GTK_WINDOW(window()), width, 700);
  until("the window is as wide as it is to be",
        [&] { return gtk_widget_get_width(window()) <= width; });
}

void Desk::endBrowser() { browser_.reset(); }

void Desk::until(const std::string& what, const std::function<bool()>& condition) {
  // What other processes do wakes no main loop.
  const guint ticks = g_timeout_add(
      10, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
  EXPECT_TRUE(runMainLoopUntil(condition, limit)) << "in vain until " << what;
  g_source_remove(ticks);
}

void Desk::open(const std::string& url) {
  browser_->window().tabs().front()->open(url);
  until(url + " is loaded", [&] {
    return webkit_web_view_is_loading(view()) == FALSE &&
           browser_->window().tabs().front()->url() == url;
  });
}

bool Desk::wasAsked(const std::string& host) const {
  return std::any_of(internet_->log().begin(), internet_->log().end(),
                     [&](const auto& request) { return request.host == host; });
}

int Desk::requests(const std::string& host, const std::string& path) const {
  return static_cast<int>(std::count_if(
      internet_->log().begin(), internet_->log().end(),
      [&](const auto& request) { return request.host == host && request.path == path; }));
}

bool Desk::showsAdvert() {
  until("the page's picture is there", [this] { return wasAsked(pictureHost); });
  until("the page is loaded", [this] {
    return webkit_web_view_is_loading(view()) == FALSE &&
           valueOnPage("document.readyState === 'complete'") == "true";
  });
  return wasAsked(advertHost);
}

std::string Desk::valueOnPage(const std::string& expression) {
  const AsyncResult answer;
  webkit_web_view_evaluate_javascript(view(), expression.c_str(), -1, testWorld, nullptr, nullptr,
                                      AsyncResult::callback, answer.callbackData());
  const auto result = answer.wait(expression, limit);
  if (!result) return result.error().localizedDescription;
  GError* error = nullptr;
  const GObjectPointer<JSCValue> value(
      webkit_web_view_evaluate_javascript_finish(view(), *result, &error));
  if (!value) return takenError(error).localizedDescription;
  gchar* json = jsc_value_to_json(value.get(), 0);
  std::string text = json == nullptr ? "undefined" : json;
  g_free(json);
  return text;
}

bool Desk::becomesOnPage(const std::string& expression) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (valueOnPage(expression) != "true") {
    if (std::chrono::steady_clock::now() > end) return false;
  }
  return true;
}

void Desk::waitUntilPageIsPainted() {
  valueOnPage(R"(globalThis.frames = 0;
      (function count() { if (++globalThis.frames < 4) requestAnimationFrame(count); })(); 1)");
  EXPECT_TRUE(becomesOnPage("globalThis.frames === 4"));
  waitForFrames(window());
}

void Desk::waitForPicker() {
  EXPECT_TRUE(becomesOnPage(isPickerShown)) << "no picking mode";
  gtk_widget_grab_focus(GTK_WIDGET(view()));
}

void Desk::waitForNoPicker() {
  EXPECT_TRUE(becomesOnPage(fmt::format("!({})", isPickerShown))) << "the picking mode stays";
}

void Desk::pointAtPage(const std::string& element) {
  const auto middle = [&](const char* start, const char* size) {
    return std::stod(valueOnPage(fmt::format(
        "((box) => box.{} + box.{} / 2)(({}).getBoundingClientRect())", start, size, element)));
  };
  const double x = middle("left", "width");
  const double y = middle("top", "height");
  pointAt(GTK_WIDGET(view()), x + 2, y);
  pointAt(GTK_WIDGET(view()), x, y);
  // The mode answers to the pointer in the next frame.
  valueOnPage("1");
}

void Desk::pickOnPage(const std::string& element) {
  pointAtPage(element);
  pressButton();
}

void Desk::waitForList() {
  const auto current = container() / "CompiledLists" / CompiledListDirectory::currentFileName;
  until("there is a compiled list", [&] { return std::filesystem::exists(current); });
  until("the list is in force",
        [this] { return browser_->contentBlocking().facts().isListInForce; });
}

void Desk::openPopover() {
  clickOnScreen(GTK_WIDGET(browser_->window().toolbarItem().gobj()));
  until("the popover is open", [this] { return isPopoverOpen(); });
}

void Desk::waitForFrames(GtkWidget* widget) {
  int frames = 0;
  const auto count = [](GtkWidget*, GdkFrameClock*, gpointer data) -> gboolean {
    return ++*static_cast<int*>(data) < 3 ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
  };
  gtk_widget_add_tick_callback(widget, +count, &frames, nullptr);
  until("the widget is on the screen", [&] { return frames >= 3; });
}

void Desk::clickOnScreen(GtkWidget* widget) {
  if (widget == nullptr) return;
  waitForFrames(widget);
  EXPECT_TRUE(clickOn(widget));
}

bool Desk::isPopoverOpen() {
  return browser_->extension().viewController().view().window() != nullptr;
}

void Desk::press(const std::string& button) {
  until("there is a button '" + button + "'", [&] { return hasButton(button); });
  clickOnScreen(buttonSaying(window(), button));
}

void Desk::pressKeys(const std::string& keys) { orvane::test::pressKeys(window(), keys); }

void Desk::type(const std::string& text) { orvane::test::type(window(), text); }

GtkWidget* Desk::openSettings() {
  pressKeys("ctrl+comma");
  until("the settings are open", [&] { return switchIn(otherWindow(window())) != nullptr; });
  return otherWindow(window());
}

void Desk::switchContentBlocker() {
  GtkWidget* theSwitch = switchIn(openSettings());
  const bool was = gtk_switch_get_active(GTK_SWITCH(theSwitch)) != FALSE;
  waitForFrames(theSwitch);
  EXPECT_TRUE(pointAt(theSwitch, gtk_widget_get_width(theSwitch) / 2.0,
                      gtk_widget_get_height(theSwitch) / 2.0));
  until("the new window has seen the pointer",
        [&] { return (gtk_widget_get_state_flags(theSwitch) & GTK_STATE_FLAG_PRELIGHT) != 0; });
  pressButton(1);
  until("the switch is the other way",
        [&] { return (gtk_switch_get_active(GTK_SWITCH(theSwitch)) != FALSE) != was; });
  orvane::test::pressKeys(theSwitch, "Escape");
  until("the settings are closed", [this] { return otherWindow(window()) == nullptr; });
}

void Desk::chooseHideElementFromContextMenu() {
  pointAt(GTK_WIDGET(view()), 50, 50);
  pressButton(3);
  until("the menu is open", [this] { return hasLabel("Hide Element…"); });
  clickOnScreen(labelSaying(window(), "Hide Element…"));
  until("the menu is closed", [this] { return !hasLabel("Hide Element…"); });
}

bool Desk::hasButton(const std::string& text) { return buttonSaying(window(), text) != nullptr; }

bool Desk::hasLabel(const std::string& text) { return labelSaying(window(), text) != nullptr; }

std::vector<pid_t> Desk::companions() const {
  std::vector<pid_t> found;
  for (const auto& process : fs::directory_iterator("/proc")) {
    const auto name = process.path().filename().string();
    if (isNumber(name) && isCompanion(process, home.path())) found.push_back(std::stoi(name));
  }
  return found;
}

void Desk::endCompanion(int signal) {
  until("the companion runs", [this] { return !companions().empty(); });
  for (const pid_t companion : companions()) ::kill(companion, signal);
  until("the companion has ended", [this] { return companions().empty(); });
}

void Desk::startAnotherCompanion() {
  const auto run = runProgram({programFolder() / "orvane", "--hidden"}, home.path());
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
}

std::vector<Rule> Desk::rules(ConfigurablePackageType type) {
  for (auto& package : browser_->extension().process().store().readConfigurablePackages()) {
    if (package.id == rawValue(type)) return std::move(package.rules);
  }
  return {};
}

std::filesystem::path Desk::container() const {
  return home / "data/orvane" / PersistentStore::applicationGroup;
}

}  // namespace orvane::test
