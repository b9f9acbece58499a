#pragma once

#include <memory>
#include <string>

#include <gtkmm.h>
#include <webkit/webkit.h>

#include "Apps/Browser/ExtensionApplication.h"
#include "Apps/Browser/ExtensionPage.h"
#include "Apps/Browser/FindBar.h"
#include "Apps/Browser/NoticePage.h"
#include "Apps/Browser/WebEngine.h"

namespace orvane {

class Tab;

/// What a tab asks of the window that it is in. A tab that asks to be closed ends later than that.
class TabOwner {
 public:
  virtual ~TabOwner() = default;

  /// The title, the URL, how far the page is loaded or another thing that is shown of the tab.
  virtual void tabChanged(Tab& tab) = 0;
  /// The tab shows another page, or the same one under another URL.
  virtual void pageChanged(Tab& tab) = 0;
  virtual void openTab(const std::string& url) = 0;
  /// A tab for a page that the page of `opener` opens.
  virtual Tab& openTabFor(Tab& opener) = 0;
  virtual void closeTab(Tab& tab) = 0;
  /// The user has followed a link that another program is for.
  virtual void openElsewhere(const std::string& url) = 0;
  /// The page is to fill the screen, so that the window's controls go.
  virtual void pageFillsScreen(Tab& tab) = 0;
  virtual void hideElementChosen(Tab& tab) = 0;
  virtual void sendToPage(Tab& tab, std::string_view message) = 0;
};

/// One page at a time, with its notices and its find bar. Main thread.
class Tab {
 public:
  /// `owner`, `engine` and `mainQueue` outlive the tab. `token` is another one for every tab. For a
  /// page that another one opens, `opener` is the view of that.
  Tab(TabOwner& owner, const WebEngine& engine, Executor& mainQueue, std::string token,
      WebKitWebView* opener);
  Tab(const Tab&) = delete;
  Tab& operator=(const Tab&) = delete;
  ~Tab();

  Gtk::Widget& widget() { return box_; }
  WebKitWebView* view() const { return view_.get(); }
  FindBar& findBar() { return findBar_; }
  NoticePage& notice() { return notice_; }
  const std::string& token() const { return token_; }
  const std::shared_ptr<ExtensionPage>& page() const { return page_; }
  const std::shared_ptr<SFSafariTab>& extensionTab() const { return extensionTab_; }

  /// Empty until something is loaded. A page that has stopped keeps its URL.
  const std::string& url() const { return url_; }
  /// Of the document that is there: while another one is only being asked for, `url()` is of that
  /// already.
  const std::string& documentURL() const { return documentURL_; }
  std::string title() const;
  double progress() const { return webkit_web_view_get_estimated_load_progress(view_.get()); }
  bool isLoading() const { return webkit_web_view_is_loading(view_.get()) != FALSE; }
  bool canGoBack() const { return webkit_web_view_can_go_back(view_.get()) != FALSE; }
  bool canGoForward() const { return webkit_web_view_can_go_forward(view_.get()) != FALSE; }
  bool isSecure() const;
  bool showsNotice() const { return notice_.get_visible(); }

  void open(const std::string& url);
  void reload();
  void stop();
  void goBack();
  void goForward();
  /// The keyboard is the page's.
  void focus();

  void zoomIn();
  void zoomOut();
  void resetZoom();

  /// Sends the page's script a message. Where a notice stands in the place of the page there is no
  /// script, so that what asks for a new load is done by the tab.
  void sendToPage(std::string_view message);
  /// To be called when the tab is taken out of its window, which may be long before it ends: what
  /// it shows is gone from now on.
  void close();

 private:
  void connectSignals();
  void addContextMenuAction();
  void urlChanged();
  void loadChanged(WebKitLoadEvent event);
  void loadFailed(const char* url, const GError& error);
  void showFailure(const char* url, const Notice& notice);
  void webProcessEnded(WebKitWebProcessTerminationReason reason);
  bool decideNavigation(WebKitNavigationPolicyDecision* decision);
  void showLink(WebKitHitTestResult* target);
  void beginLoad();

  TabOwner& owner_;
  std::string token_;
  GObjectPointer<WebKitWebView> view_;
  std::shared_ptr<ExtensionPage> page_;
  std::shared_ptr<SFSafariTab> extensionTab_;
  std::string url_;
  std::string documentURL_;
  /// The load that goes on has brought its document.
  bool hasDocument_ = false;
  Glib::RefPtr<Gio::SimpleAction> hideElement_;
  /// The document that stands behind a notice, so that the view is at the URL that failed, is being
  /// loaded.
  bool isLoadingBehindNotice_ = false;
  Gtk::Box box_{Gtk::Orientation::VERTICAL};
  Gtk::Overlay overlay_;
  Gtk::Label link_;
  NoticePage notice_;
  FindBar findBar_;
};

}  // namespace orvane
