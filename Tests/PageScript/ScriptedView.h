#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <webkit/webkit.h>

#include "Apps/Demonstration/LoopbackProxy.h"
#include "Apps/Demonstration/TemporaryFolder.h"
#include "Linux/GLib/GObjectPointer.h"
#include "Linux/WebKitGTK/PageScript.h"

namespace orvane::test {

/// Where a script of a test runs: with the scripts of the page, with the page script, or in a world
/// where neither of them can disturb it.
enum class World { Page, Script, Test };

/// What a script returns in the page that `view` shows, as JSON. It is the body of an asynchronous
/// function. One that fails, or that takes too long, fails the test.
std::string runIn(WebKitWebView* view, const std::string& body, World world);

/// Whether an expression becomes true there in time.
bool becomesIn(WebKitWebView* view, const std::string& expression, World world);

/// A window with a real web view that has the page script, the whole Internet behind it, and real
/// keys and a real pointer. Its pages are those that a test serves. A step that fails, or that
/// takes too long, fails the test.
class ScriptedView {
 public:
  /// `early` runs in the world of the page script, before it.
  explicit ScriptedView(const std::string& early = "");
  ScriptedView(const ScriptedView&) = delete;
  ScriptedView& operator=(const ScriptedView&) = delete;
  ~ScriptedView();

  WebKitWebView* view() const { return view_; }
  GtkWindow* window() const { return window_; }
  LoopbackProxy& proxy() { return *proxy_; }
  PageScript& script() { return *script_; }
  WebKitUserContentManager* contentManager() const { return contentManager_.get(); }

  /// Serves a page at this address and opens it.
  void show(const std::string& html, const std::string& contentType = "text/html; charset=utf-8",
            const std::string& url = "http://news.test/");
  void open(const std::string& url);
  /// Waits until a page has been loaded that `cause` asks for.
  void waitForLoad(const std::function<void()>& cause);
  /// The same in another view.
  static void waitForLoad(WebKitWebView* view, const std::function<void()>& cause);

  /// `runIn` for this view.
  std::string run(const std::string& body, World world = World::Test);
  /// The value of an expression, as JSON.
  std::string value(const std::string& expression, World world = World::Test);
  /// `becomesIn` for this view.
  bool becomes(const std::string& expression, World world = World::Test);

  /// Starts the picking mode and waits until it is on.
  void startPicking();
  bool isPicking();
  /// Whether the mode ends in time.
  bool ends();
  /// What the panel says; empty parts while it says nothing.
  std::string shownSelector();
  std::string shownCount();
  /// The boxes over elements: "x,y,width,height" each, the strongest one with a "!" at its end.
  std::vector<std::string> boxes();

  /// Moves the pointer to the middle of the element that the expression finds, and waits until the
  /// page script has answered to it.
  void hover(const std::string& element);
  void hoverAt(int x, int y);
  void press(const std::string& key);
  /// Presses a button of the mouse where the pointer is.
  void click(int button = 1);
  void input(const std::vector<std::string>& arguments);

  /// Every message that the page script has sent.
  const std::vector<PageScript::Message>& messages() const { return messages_; }
  /// Whether the count of messages becomes this in time.
  bool hears(std::size_t count);
  /// The selector of the last message, which is "hideSelector".
  std::string pickedSelector() const;
  /// Lets everything happen that is on its way: each process has answered once.
  void settle();

  /// Hovers over an element, picks it and gives the selector.
  std::string pick(const std::string& element);

 private:
  std::unique_ptr<TemporaryFolder> folder_;
  std::unique_ptr<LoopbackProxy> proxy_;
  GObjectPointer<WebKitUserContentManager> contentManager_;
  GObjectPointer<WebKitNetworkSession> network_;
  WebKitWebView* view_ = nullptr;
  GtkWindow* window_ = nullptr;
  std::vector<PageScript::Message> messages_;
  std::unique_ptr<PageScript> script_;
};

/// The folder of the page script beside the programs.
std::filesystem::path scriptFolder();

}  // namespace orvane::test
