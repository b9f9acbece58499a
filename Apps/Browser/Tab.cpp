#include "Apps/Browser/Tab.h"

#include <algorithm>
#include <utility>

#include "Apps/Browser/Address.h"
#include "SafariExtension/Extension/SafariExtensionHandler.h"

namespace orvane {
namespace {

constexpr double zoomStep = 1.1;
constexpr double smallestZoom = 0.3;
constexpr double largestZoom = 5;

Tab& tabOf(gpointer data) { return *static_cast<Tab*>(data); }

void multiplyZoom(WebKitWebView* view, double factor) {
  webkit_web_view_set_zoom_level(
      view, std::clamp(webkit_web_view_get_zoom_level(view) * factor, smallestZoom, largestZoom));
}

/// A link that the user wants in a tab of its own.
bool isForNewTab(WebKitNavigationAction* action) {
  constexpr guint middleButton = 2;
  if (webkit_navigation_action_get_navigation_type(action) != WEBKIT_NAVIGATION_TYPE_LINK_CLICKED) {
    return false;
  }
  return webkit_navigation_action_get_mouse_button(action) == middleButton ||
         (webkit_navigation_action_get_modifiers(action) & GDK_CONTROL_MASK) != 0;
}

}  // namespace

Tab::Tab(TabOwner& owner, const WebEngine& engine, Executor& mainQueue, std::string token,
         WebKitWebView* opener)
    : owner_(owner),
      token_(std::move(token)),
      view_(engine.makeView(opener)),
      page_(std::make_shared<ExtensionPage>(mainQueue, *this)),
      extensionTab_(std::make_shared<ExtensionTab>(mainQueue, page_)),
      notice_([this] { reload(); }),
      findBar_(view_.get(), [this] { focus(); }) {
  auto& view = *Glib::wrap(GTK_WIDGET(view_.get()));
  view.set_expand(true);
  overlay_.set_child(view);
  link_.add_css_class("link-target");
  link_.set_halign(Gtk::Align::START);
  link_.set_valign(Gtk::Align::END);
  link_.set_ellipsize(Pango::EllipsizeMode::MIDDLE);
  link_.set_can_target(false);
  link_.set_visible(false);
  overlay_.add_overlay(link_);
  overlay_.add_overlay(notice_);
  box_.append(overlay_);
  box_.append(findBar_);
  if (opener == nullptr) {
    notice_.show(emptyTabNotice());
  } else {
    notice_.set_visible(false);
  }
  addContextMenuAction();
  connectSignals();
}

Tab::~Tab() { close(); }

void Tab::close() {
  page_->tabEnds();
  g_signal_handlers_disconnect_by_data(view_.get(), this);
  webkit_web_view_try_close(view_.get());
}

void Tab::addContextMenuAction() {
  hideElement_ = Gio::SimpleAction::create("hide-element");
  hideElement_->signal_activate().connect(
      [this](const Glib::VariantBase&) { owner_.hideElementChosen(*this); });
}

void Tab::connectSignals() {
  const auto on = [this](const char* signal, GCallback handler) {
    g_signal_connect(view_.get(), signal, handler, this);
  };
  const auto changed = [](WebKitWebView*, GParamSpec*, gpointer data) {
    tabOf(data).owner_.tabChanged(tabOf(data));
  };
  for (const char* property :
       {"notify::title", "notify::estimated-load-progress", "notify::is-loading"}) {
    on(property, G_CALLBACK(+changed));
  }
  const auto moved = [](WebKitWebView*, GParamSpec*, gpointer data) { tabOf(data).urlChanged(); };
  on("notify::uri", G_CALLBACK(+moved));
  const auto loadChanged = [](WebKitWebView*, WebKitLoadEvent event, gpointer data) {
    tabOf(data).loadChanged(event);
  };
  on("load-changed", G_CALLBACK(+loadChanged));
  const auto loadFailed = [](WebKitWebView*, WebKitLoadEvent, const char* url, GError* error,
                             gpointer data) -> gboolean {
    tabOf(data).loadFailed(url, *error);
    return TRUE;
  };
  on("load-failed", G_CALLBACK(+loadFailed));
  const auto badCertificate = [](WebKitWebView*, const char* url, GTlsCertificate*,
                                 GTlsCertificateFlags errors, gpointer data) -> gboolean {
    tabOf(data).showFailure(url, badCertificateNotice(url, errors));
    return TRUE;
  };
  on("load-failed-with-tls-errors", G_CALLBACK(+badCertificate));
  const auto ended = [](WebKitWebView*, WebKitWebProcessTerminationReason reason, gpointer data) {
    tabOf(data).webProcessEnded(reason);
  };
  on("web-process-terminated", G_CALLBACK(+ended));
  const auto create = [](WebKitWebView*, WebKitNavigationAction*, gpointer data) {
    return GTK_WIDGET(tabOf(data).owner_.openTabFor(tabOf(data)).view());
  };
  on("create", G_CALLBACK(+create));
  const auto closed = [](WebKitWebView*, gpointer data) {
    tabOf(data).owner_.closeTab(tabOf(data));
  };
  on("close", G_CALLBACK(+closed));
  const auto decide = [](WebKitWebView*, WebKitPolicyDecision* decision,
                         WebKitPolicyDecisionType type, gpointer data) -> gboolean {
    return static_cast<gboolean>(
        type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION &&
        tabOf(data).decideNavigation(WEBKIT_NAVIGATION_POLICY_DECISION(decision)));
  };
  on("decide-policy", G_CALLBACK(+decide));
  const auto fillsScreen = [](WebKitWebView*, gpointer data) -> gboolean {
    tabOf(data).owner_.pageFillsScreen(tabOf(data));
    return FALSE;
  };
  on("enter-fullscreen", G_CALLBACK(+fillsScreen));
  const auto contextMenu = [](WebKitWebView*, WebKitContextMenu* menu, WebKitHitTestResult*,
                              gpointer data) -> gboolean {
    webkit_context_menu_append(menu, webkit_context_menu_item_new_separator());
    webkit_context_menu_append(
        menu, webkit_context_menu_item_new_from_gaction(G_ACTION(tabOf(data).hideElement_->gobj()),
                                                        "Hide Element…", nullptr));
    return FALSE;
  };
  on("context-menu", G_CALLBACK(+contextMenu));
  const auto pointed = [](WebKitWebView*, WebKitHitTestResult* target, guint, gpointer data) {
    tabOf(data).showLink(target);
  };
  on("mouse-target-changed", G_CALLBACK(+pointed));
}

std::string Tab::title() const {
  if (showsNotice()) return notice_.title();
  const char* title = webkit_web_view_get_title(view_.get());
  if (title != nullptr && *title != '\0') return title;
  return url_.empty() ? "New Tab" : url_;
}

bool Tab::isSecure() const {
  GTlsCertificate* certificate = nullptr;
  GTlsCertificateFlags errors{};
  return !showsNotice() &&
         webkit_web_view_get_tls_info(view_.get(), &certificate, &errors) != FALSE && errors == 0;
}

void Tab::beginLoad() {
  isLoadingBehindNotice_ = false;
  focus();
}

void Tab::open(const std::string& url) {
  beginLoad();
  webkit_web_view_load_uri(view_.get(), url.c_str());
}

void Tab::reload() {
  beginLoad();
  webkit_web_view_reload(view_.get());
}

void Tab::stop() { webkit_web_view_stop_loading(view_.get()); }

void Tab::goBack() {
  beginLoad();
  webkit_web_view_go_back(view_.get());
}

void Tab::goForward() {
  beginLoad();
  webkit_web_view_go_forward(view_.get());
}

void Tab::focus() { gtk_widget_grab_focus(GTK_WIDGET(view_.get())); }

void Tab::zoomIn() { multiplyZoom(view_.get(), zoomStep); }
void Tab::zoomOut() { multiplyZoom(view_.get(), 1 / zoomStep); }
void Tab::resetZoom() { webkit_web_view_set_zoom_level(view_.get(), 1); }

void Tab::sendToPage(std::string_view message) {
  if (!showsNotice()) return owner_.sendToPage(*this, message);
  if (message == SafariExtensionHandler::reloadMessage && !url_.empty()) reload();
}

/// The view of a web process that has ended has none.
void Tab::urlChanged() {
  const char* url = webkit_web_view_get_uri(view_.get());
  if (url == nullptr || *url == '\0') return;
  url_ = url;
  if (hasDocument_ || !isLoading()) documentURL_ = url;
  owner_.tabChanged(*this);
  owner_.pageChanged(*this);
}

void Tab::loadChanged(WebKitLoadEvent event) {
  hasDocument_ = event == WEBKIT_LOAD_COMMITTED;
  if (!hasDocument_) return;
  documentURL_ = url_;
  if (!std::exchange(isLoadingBehindNotice_, false)) notice_.set_visible(false);
  owner_.tabChanged(*this);
  owner_.pageChanged(*this);
}

void Tab::loadFailed(const char* url, const GError& error) {
  if (!isIntended(error)) showFailure(url, failedLoadNotice(url, error));
}

/// An empty document takes the place of the page that failed, so that its URL is the view's, in the
/// list of pages to go back to as well.
void Tab::showFailure(const char* url, const Notice& notice) {
  notice_.show(notice);
  isLoadingBehindNotice_ = true;
  webkit_web_view_load_alternate_html(view_.get(), "", url, nullptr);
  owner_.tabChanged(*this);
}

void Tab::webProcessEnded(WebKitWebProcessTerminationReason reason) {
  isLoadingBehindNotice_ = false;
  notice_.show(endedWebProcessNotice(reason));
  owner_.tabChanged(*this);
  owner_.pageChanged(*this);
}

bool Tab::decideNavigation(WebKitNavigationPolicyDecision* decision) {
  auto* action = webkit_navigation_policy_decision_get_navigation_action(decision);
  const std::string url = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
  const bool isOurs = isShownHere(schemeOf(url));
  if (isOurs && !isForNewTab(action)) return false;
  webkit_policy_decision_ignore(WEBKIT_POLICY_DECISION(decision));
  if (isOurs) {
    owner_.openTab(url);
  } else if (webkit_navigation_action_is_user_gesture(action) != FALSE) {
    owner_.openElsewhere(url);
  }
  return true;
}

void Tab::showLink(WebKitHitTestResult* target) {
  const bool isLink = webkit_hit_test_result_context_is_link(target) != FALSE;
  if (isLink) link_.set_text(webkit_hit_test_result_get_link_uri(target));
  link_.set_visible(isLink);
}

}  // namespace orvane
