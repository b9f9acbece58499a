#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

#include "Apps/Browser/Browser.h"
#include "Apps/Demonstration/LoopbackProxy.h"
#include "Tests/Support/RecordingOutput.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {

/// A user with a home folder and a screen, the real browser in this process, the real companion,
/// and an Internet of this machine. What the user does is done with a real pointer and real keys. A
/// step that takes too long fails the test.
class Desk {
 public:
  static constexpr auto limit = std::chrono::seconds(20);

  Desk();
  Desk(const Desk&) = delete;
  Desk& operator=(const Desk&) = delete;
  /// Ends the browser, and the companion if it runs.
  ~Desk();

  LoopbackProxy& internet() { return *internet_; }
  Browser& browser() { return *browser_; }
  WebKitWebView* view() { return browser_->window().tabs().front()->view(); }
  GtkWidget* window() { return GTK_WIDGET(browser_->window().window().gobj()); }

  /// A page of the site, with an advert of an advertising company, a banner of its own, and a
  /// picture that nobody minds.
  void serveNewspaper(const std::string& host);

  /// The window is `width` points wide; 0 leaves it as it comes.
  void startBrowser(ColorScheme colors = ColorScheme::light, int width = 0);
  void endBrowser();
  /// Waits until the list of the companion is in force; it makes one when the browser starts.
  void waitForList();
  void open(const std::string& url);
  /// What is asked of the network from now on.
  void forgetRequests() { internet_->clearLog(); }
  /// Whether anything was fetched from the host.
  bool wasAsked(const std::string& host) const;
  /// How often that was fetched.
  int requests(const std::string& host, const std::string& path) const;

  /// Whether the advert and the picture of the page that is open now were fetched since
  /// `forgetRequests()`: waits until the page has all it is to get.
  bool showsAdvert();

  /// The value of an expression on the page, as JSON.
  std::string valueOnPage(const std::string& expression);
  bool becomesOnPage(const std::string& expression);
  bool isTrueOnPage(const std::string& expression) { return valueOnPage(expression) == "true"; }

  void waitUntilPageIsPainted();

  void waitForPicker();
  void waitForNoPicker();
  /// Points at the middle of the element that the expression finds, and clicks once the picking
  /// mode shows what would go.
  void pickOnPage(const std::string& element);
  void pointAtPage(const std::string& element);
  void chooseHideElementFromContextMenu();

  /// Waits until what GTK has laid out is on the screen, which takes some frames.
  void waitForFrames(GtkWidget* widget);
  void until(const std::string& what, const std::function<bool()>& condition);

  void openPopover();
  bool isPopoverOpen();
  /// Presses the button that says this, as soon as there is one.
  void press(const std::string& button);
  /// With the keyboard wherever it is in the window.
  void pressKeys(const std::string& keys);
  void type(const std::string& text);
  /// Opens the settings, presses the switch of the content blocker, and closes them.
  void switchContentBlocker();
  /// The window of the settings.
  GtkWidget* openSettings();
  bool hasButton(const std::string& text);
  bool hasLabel(const std::string& text);

  /// The companions that run for this user.
  std::vector<pid_t> companions() const;
  void endCompanion(int signal);
  /// Starts one more companion by hand, which finds the other and ends.
  void startAnotherCompanion();
  /// The rules of a configurable package as they are on disk.
  std::vector<Rule> rules(ConfigurablePackageType type);
  std::filesystem::path container() const;

  TemporaryDirectory home;

 private:
  void clickOnScreen(GtkWidget* widget);

  std::unique_ptr<LoopbackProxy> internet_;
  RecordingOutput systemLog_;
  std::unique_ptr<Browser> browser_;
};

}  // namespace orvane::test
