#include "Tests/PageScript/ScriptedView.h"

#include <chrono>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "Apps/Demonstration/AsyncResult.h"
#include "Apps/Demonstration/MainLoop.h"
#include "Linux/GLib/GLibError.h"
#include "Linux/Posix/ProgramFolder.h"
#include "Tests/EndToEnd/VirtualDisplay.h"
#include "Tests/Support/ProgramRun.h"

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

constexpr auto limit = 20s;

/// Runs before the page script in its world: the overlay is closed to everybody else.
constexpr const char* spy = R"js("use strict";
{
  const test = { overlay: null, pointer: "" };
  Object.defineProperty(globalThis, "test", { value: test, configurable: true });
  const attachShadow = Element.prototype.attachShadow;
  Element.prototype.attachShadow = function (options) {
    test.overlay = Reflect.apply(attachShadow, this, [options]);
    return test.overlay;
  };
  const note = (event) => {
    if (event.isTrusted) test.pointer = `${event.clientX} ${event.clientY}`;
  };
  addEventListener("pointermove", note, true);
}
)js";

const char* nameOf(World world) {
  switch (world) {
    case World::Page:
      return nullptr;
    case World::Script:
      return "orvane";
    case World::Test:
      break;
  }
  return "test";
}

WebKitNetworkSession* networkThrough(const std::string& proxyURL) {
  WebKitNetworkSession* network = webkit_network_session_new_ephemeral();
  WebKitNetworkProxySettings* proxy = webkit_network_proxy_settings_new(proxyURL.c_str(), nullptr);
  webkit_network_session_set_proxy_settings(network, WEBKIT_NETWORK_PROXY_MODE_CUSTOM, proxy);
  webkit_network_proxy_settings_free(proxy);
  return network;
}

void addEarlyScript(WebKitUserContentManager* contentManager, const std::string& source) {
  auto* script = webkit_user_script_new_for_world(
      source.c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME,
      WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, "orvane", nullptr, nullptr);
  webkit_user_content_manager_add_script(contentManager, script);
  webkit_user_script_unref(script);
}

/// The text inside a JSON string, for those without anything to unescape but what JSON needs.
std::string unquoted(const std::string& json) {
  std::string text;
  for (std::size_t at = 1; at + 1 < json.size(); ++at) {
    if (json[at] == '\\') ++at;
    text += json[at];
  }
  return text;
}

}  // namespace

std::filesystem::path scriptFolder() {
  return programFolder().parent_path() / "share" / "orvane" / "PageScript";
}

ScriptedView::ScriptedView(const std::string& early)
    : folder_(TemporaryFolder::make().value()),
      proxy_(LoopbackProxy::start().value()),
      contentManager_(webkit_user_content_manager_new()) {
  if (!VirtualDisplay::ofThisProcess().isReady()) {
    ADD_FAILURE() << "There is no virtual display.";
    std::abort();
  }
  network_.reset(networkThrough(proxy_->url()));
  addEarlyScript(contentManager_.get(), spy);
  addEarlyScript(contentManager_.get(), early);
  script_ = PageScript::load(scriptFolder(), contentManager_.get(), [this](auto message) {
              messages_.push_back(std::move(message));
            }).value();
  view_ = WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "network-session", network_.get(),
                                       "user-content-manager", contentManager_.get(), nullptr));
  webkit_settings_set_hardware_acceleration_policy(webkit_web_view_get_settings(view_),
                                                   WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
  window_ = GTK_WINDOW(gtk_window_new());
  // Without a frame, the page begins in the corner of the screen.
  gtk_window_set_decorated(window_, FALSE);
  gtk_window_set_default_size(window_, 1000, 800);
  gtk_window_set_child(window_, GTK_WIDGET(view_));
  gtk_window_present(window_);
}

ScriptedView::~ScriptedView() { gtk_window_destroy(window_); }

void ScriptedView::show(const std::string& html, const std::string& contentType,
                        const std::string& url) {
  GUri* uri = g_uri_parse(url.c_str(), G_URI_FLAGS_NONE, nullptr);
  proxy_->serve(g_uri_get_host(uri), g_uri_get_path(uri),
                {.contentType = contentType, .body = html, .headers = {}});
  g_uri_unref(uri);
  open(url);
}

void ScriptedView::open(const std::string& url) {
  waitForLoad([&] { webkit_web_view_load_uri(view_, url.c_str()); });
}

void ScriptedView::waitForLoad(const std::function<void()>& cause) { waitForLoad(view_, cause); }

void ScriptedView::waitForLoad(WebKitWebView* view, const std::function<void()>& cause) {
  bool loaded = false;
  const auto changed = [](WebKitWebView*, WebKitLoadEvent event, gpointer flag) {
    if (event == WEBKIT_LOAD_FINISHED) *static_cast<bool*>(flag) = true;
  };
  const auto signal = g_signal_connect(view, "load-changed", G_CALLBACK(+changed), &loaded);
  cause();
  EXPECT_TRUE(runMainLoopUntil([&] { return loaded; }, limit)) << "no page was loaded";
  g_signal_handler_disconnect(view, signal);
}

std::string ScriptedView::run(const std::string& body, World world) {
  return runIn(view_, body, world);
}

std::string runIn(WebKitWebView* view, const std::string& body, World world) {
  const AsyncResult answer;
  webkit_web_view_call_async_javascript_function(view, body.c_str(), -1, nullptr, nameOf(world),
                                                 nullptr, nullptr, AsyncResult::callback,
                                                 answer.callbackData());
  const auto result = answer.wait(body, limit);
  if (!result) {
    ADD_FAILURE() << result.error().localizedDescription;
    return "";
  }
  GError* error = nullptr;
  const GObjectPointer<JSCValue> value(
      webkit_web_view_call_async_javascript_function_finish(view, *result, &error));
  if (!value) {
    ADD_FAILURE() << takenError(error).localizedDescription << "\n" << body;
    return "";
  }
  gchar* json = jsc_value_to_json(value.get(), 0);
  std::string text = json == nullptr ? "" : json;
  g_free(json);
  return text;
}

std::string ScriptedView::value(const std::string& expression, World world) {
  return run("return (" + expression + ");", world);
}

bool ScriptedView::becomes(const std::string& expression, World world) {
  return becomesIn(view_, expression, world);
}

bool becomesIn(WebKitWebView* view, const std::string& expression, World world) {
  const auto start = std::chrono::steady_clock::now();
  while (runIn(view, "return (" + expression + ");", world) != "true") {
    if (std::chrono::steady_clock::now() - start > limit) return false;
  }
  return true;
}

void ScriptedView::startPicking() {
  script_->dispatch(view_, "page", "showSelector");
  EXPECT_TRUE(becomes("test.overlay?.host.isConnected === true", World::Script));
  gtk_widget_grab_focus(GTK_WIDGET(view_));
}

bool ScriptedView::isPicking() {
  return value("test.overlay?.host.isConnected === true", World::Script) == "true";
}

bool ScriptedView::ends() {
  return becomes("test.overlay?.host.isConnected !== true", World::Script);
}

std::string ScriptedView::shownSelector() {
  return unquoted(
      value("test.overlay?.querySelector('.selector').textContent ?? ''", World::Script));
}

std::string ScriptedView::shownCount() {
  return unquoted(value("test.overlay?.querySelector('.count').textContent ?? ''", World::Script));
}

std::vector<std::string> ScriptedView::boxes() {
  std::string text = unquoted(value(R"js([...test.overlay.querySelectorAll(".match")]
      .map((box) => {
        const { x, y, width, height } = box.getBoundingClientRect();
        const mark = box.matches(".strongest") ? "!" : "";
        return [x, y, width, height].map(Math.round).join(",") + mark;
      }).join(" "))js",
                                    World::Script));
  std::vector<std::string> found;
  while (!text.empty()) {
    found.push_back(text.substr(0, text.find(' ')));
    text.erase(0, found.back().size() + 1);
  }
  return found;
}

void ScriptedView::hover(const std::string& element) {
  const auto place = value(fmt::format(R"js((() => {{
    const element = {};
    Element.prototype.scrollIntoView.call(element, {{ block: "nearest" }});
    const {{ left, top, width, height }} = Element.prototype.getBoundingClientRect.call(element);
    return Math.round(left + width / 2) * 10000 + Math.round(top + height / 2);
  }})())js",
                                       element));
  if (place.empty()) return;
  const int both = std::stoi(place);
  hoverAt(both / 10000, both % 10000);
}

void ScriptedView::hoverAt(int x, int y) {
  const auto onScreen = [this](int coordinate) {
    return fmt::format("{:.0f}", coordinate * webkit_web_view_get_zoom_level(view_));
  };
  // A pointer that is there already would not move.
  input({"mousemove", onScreen(x + 2), onScreen(y), "mousemove", onScreen(x), onScreen(y)});
  EXPECT_TRUE(becomes(fmt::format("test.pointer === '{} {}'", x, y), World::Script));
  run("await new Promise(requestAnimationFrame); await new Promise(requestAnimationFrame);",
      World::Script);
}

void ScriptedView::press(const std::string& key) { input({"key", key}); }

void ScriptedView::click(int button) { input({"click", std::to_string(button)}); }

void ScriptedView::input(const std::vector<std::string>& arguments) {
  std::vector<std::string> command{"xdotool"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  const auto result = runProgram(command, folder_->path());
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
}

bool ScriptedView::hears(std::size_t count) {
  return runMainLoopUntil([&] { return messages_.size() >= count; }, limit);
}

std::string ScriptedView::pickedSelector() const {
  if (messages_.empty() || !messages_.back().userInfo) return "";
  const auto found = messages_.back().userInfo->find("sel");
  if (found == messages_.back().userInfo->end()) return "";
  const auto* selector = found->second.as<std::string>();
  return selector == nullptr ? "" : *selector;
}

void ScriptedView::settle() {
  for (const auto world : {World::Page, World::Script}) {
    run("await new Promise(requestAnimationFrame); await new Promise((go) => setTimeout(go, 0));",
        world);
  }
}

std::string ScriptedView::pick(const std::string& element) {
  const auto before = messages_.size();
  startPicking();
  hover(element);
  click();
  EXPECT_TRUE(hears(before + 1)) << "nothing was picked: " << shownCount();
  return messages_.size() > before ? pickedSelector() : "";
}

}  // namespace orvane::test
