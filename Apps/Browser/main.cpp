#include <cstdio>
#include <memory>
#include <string>
#include <vector>

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

/// Runs the application until its window is closed. In a process that is not the first of its kind,
/// has the first one open the pages, or come to the front if there are none.
int runApplication(Gtk::Application& application, const std::vector<std::string>& urls) {
  std::vector<std::string> arguments{"orvane-browser"};
  arguments.insert(arguments.end(), urls.begin(), urls.end());
  std::vector<char*> pointers;
  pointers.reserve(arguments.size());
  for (auto& argument : arguments) pointers.push_back(argument.data());
  return application.run(static_cast<int>(pointers.size()), pointers.data());
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
  if (application->is_remote() && !options->proxyURL.empty()) {
    fmt::print(stderr, "orvane-browser: Orvane is running already, without this proxy.\n");
    static_cast<void>(runApplication(*application, {}));
    return 1;
  }

  SystemLog systemLog;
  std::unique_ptr<Browser> browser;
  const auto open = [&](const std::vector<std::string>& urls) {
    if (browser) {
      for (const auto& url : urls) browser->window().openTab(url);
      return browser->window().present();
    }
    auto first = *options;
    first.urls = urls;
    browser = std::make_unique<Browser>(first, systemLog, [&] { application->quit(); });
    application->add_window(browser->window().window());
  };
  application->signal_activate().connect([&] { open({}); });
  application->signal_open().connect(
      [&](const std::vector<Glib::RefPtr<Gio::File>>& files, const Glib::ustring& /*hint*/) {
        std::vector<std::string> urls;
        urls.reserve(files.size());
        for (const auto& file : files) urls.push_back(file->get_uri());
        open(urls);
      });
  return runApplication(*application, options->urls);
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
