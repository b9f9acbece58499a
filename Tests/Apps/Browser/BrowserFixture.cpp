#include "Tests/Apps/Browser/BrowserFixture.h"

#include <chrono>

#include <gtkmm/init.h>

#include "Apps/Demonstration/AsyncResult.h"
#include "Apps/Demonstration/MainLoop.h"
#include "Tests/EndToEnd/VirtualDisplay.h"

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

constexpr auto limit = 30s;

}  // namespace

BrowserMachine::BrowserMachine() {
  g_setenv("HOME", folder_->path().c_str(), TRUE);
  for (const auto& [name, folder] : {std::pair{"XDG_DATA_HOME", "data"},
                                     {"XDG_CONFIG_HOME", "config"},
                                     {"XDG_STATE_HOME", "state"},
                                     {"XDG_CACHE_HOME", "cache"}}) {
    g_setenv(name, (folder_->path() / folder).c_str(), TRUE);
  }
}

void BrowserMachine::SetUp() {
  ASSERT_TRUE(VirtualDisplay::ofThisProcess().isReady());
  Gtk::init_gtkmm_internals();
  auto proxy = LoopbackProxy::start();
  ASSERT_TRUE(proxy.has_value());
  proxy_ = *std::move(proxy);
}

void BrowserMachine::serve(const std::string& host, const std::string& path,
                           const std::string& html) {
  proxy_->serve(host, path,
                {.contentType = "text/html; charset=utf-8", .body = html, .headers = {}});
}

void BrowserMachine::holdBack(const std::string& host, const std::string& path) {
  proxy_->serve(host, path,
                {.contentType = "text/html", .body = "", .headers = {}, .isHeldBack = true});
}

BrowserOptions BrowserMachine::options() {
  BrowserOptions options;
  options.proxyURL = proxy_->url();
  options.acceptsAnyCertificate = true;
  options.isEphemeral = true;
  options.colorScheme = ColorScheme::light;
  options.workspace = &workspace_;
  return options;
}

bool BrowserMachine::becomes(const std::function<bool()>& condition) {
  return runMainLoopUntil(condition, limit);
}

void BrowserMachine::settle() {
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
}

void BrowserMachine::input(const std::vector<std::string>& arguments) {
  std::vector<const char*> command{"xdotool"};
  for (const auto& argument : arguments) command.push_back(argument.c_str());
  command.push_back(nullptr);
  const GObjectPointer<GSubprocess> tool(
      g_subprocess_newv(command.data(), G_SUBPROCESS_FLAGS_NONE, nullptr));
  ASSERT_NE(tool, nullptr);
  const AsyncResult ended;
  g_subprocess_wait_check_async(tool.get(), nullptr, AsyncResult::callback, ended.callbackData());
  const auto result = ended.wait("Input", limit);
  ASSERT_TRUE(result.has_value()) << result.error().localizedDescription;
  EXPECT_TRUE(g_subprocess_get_successful(tool.get()));
}

std::string BrowserMachine::value(Tab& tab, const std::string& expression) {
  const AsyncResult answer;
  webkit_web_view_evaluate_javascript(tab.view(), expression.c_str(), -1, nullptr, nullptr, nullptr,
                                      AsyncResult::callback, answer.callbackData());
  const auto result = answer.wait("A script", limit);
  EXPECT_TRUE(result.has_value());
  if (!result) return "";
  GError* error = nullptr;
  const GObjectPointer<JSCValue> value(
      webkit_web_view_evaluate_javascript_finish(tab.view(), *result, &error));
  EXPECT_EQ(error, nullptr) << error->message;
  if (!value) return "";
  const Glib::ustring text =
      Glib::convert_return_gchar_ptr_to_ustring(jsc_value_to_string(value.get()));
  return text;
}

bool BrowserMachine::isLoaded(Tab& tab, const std::string& url) {
  return tab.url() == url && !tab.isLoading() && !tab.showsNotice();
}

void BrowserTest::start(const std::vector<std::string>& urls) {
  auto opened = options();
  opened.urls = urls;
  browser_ = std::make_unique<Browser>(opened, systemLog_, [this] { isClosed_ = true; });
  ASSERT_TRUE(becomes([&] { return window().window().is_active(); }));
}

Tab& BrowserTest::startAt(const std::string& url) {
  start({url});
  EXPECT_TRUE(becomes([&] { return isLoaded(front(), url); })) << front().url();
  return front();
}

}  // namespace orvane::test
