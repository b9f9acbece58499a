#include <cstdio>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <gtkmm.h>

#include "Apps/Browser/Address.h"
#include "Apps/Browser/Browser.h"
#include "Linux/GLib/SystemLog.h"

namespace {

using namespace orvane;

constexpr const char* applicationIdentifier = "com.tessaly.OrvaneBrowser";
constexpr int usageError = 2;

/// The URL of what stands on the command line: an address, or else the path of a file.
std::string urlOfArgument(const std::string& argument) {
  if (auto url = urlOfAddress(argument)) return *url;
  return Gio::File::create_for_commandline_arg(argument)->get_uri();
}

/// The options; or else the exit status, when help was asked for or the command makes no sense.
tl::expected<BrowserOptions, int> parseCommandLine(int argc, char** argv) {
  BrowserOptions options;
  std::string scheme = "system";
  CLI::App app{"A browser whose pages are without adverts, trackers and annoyances.",
               "orvane-browser"};
  app.set_version_flag("--version", "orvane-browser " ORVANE_VERSION);
  app.add_option("URL", options.urls, "Pages or files to open")->type_name("");
  app.add_option("--proxy", options.proxyURL, "Reach everything through this proxy")
      ->type_name("URL");
  app.add_option("--color-scheme", scheme, "dark, light or system (system)")
      ->type_name("SCHEME")
      ->check(CLI::IsMember({"dark", "light", "system"}))
      ->envname("ORVANE_COLOR_SCHEME");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return tl::unexpected(app.exit(error) == 0 ? 0 : usageError);
  }
  if (scheme == "dark") options.colorScheme = ColorScheme::dark;
  if (scheme == "light") options.colorScheme = ColorScheme::light;
  for (auto& url : options.urls) url = urlOfArgument(url);
  return options;
}

/// Has the browser that runs already open the pages.
int openInRunningBrowser(Gtk::Application& application, const BrowserOptions& options) {
  if (!options.proxyURL.empty()) {
    fmt::print(stderr, "orvane-browser: Orvane is running already, without this proxy.\n");
    return 1;
  }
  std::vector<Glib::RefPtr<Gio::File>> files;
  for (const auto& url : options.urls) files.push_back(Gio::File::create_for_uri(url));
  if (files.empty()) {
    application.activate();
  } else {
    application.open(files, "");
  }
  // The messages leave before the process does.
  g_dbus_connection_flush_sync(g_application_get_dbus_connection(G_APPLICATION(application.gobj())),
                               nullptr, nullptr);
  return 0;
}

int run(int argc, char** argv) {
  const auto options = parseCommandLine(argc, argv);
  if (!options) return options.error();
  const auto application =
      Gtk::Application::create(applicationIdentifier, Gio::Application::Flags::HANDLES_OPEN);
  if (!application->register_application()) {
    fmt::print(stderr, "orvane-browser: The desktop cannot be reached.\n");
    return 1;
  }
  if (application->is_remote()) return openInRunningBrowser(*application, *options);

  SystemLog systemLog;
  std::unique_ptr<Browser> browser;
  application->signal_activate().connect([&] {
    if (!browser) {
      browser = std::make_unique<Browser>(*options, systemLog, [&] { application->quit(); });
      application->add_window(browser->window().window());
    }
    browser->window().present();
  });
  application->signal_open().connect(
      [&](const std::vector<Glib::RefPtr<Gio::File>>& files, const Glib::ustring& /*hint*/) {
        for (const auto& file : files) browser->window().openTab(file->get_uri());
        browser->window().present();
      });
  return application->run();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    static_cast<void>(std::fprintf(stderr, "orvane-browser: %s\n", error.what()));
    return 1;
  }
}
