#include <cstdio>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <gtk/gtk.h>

#include "Apps/Demonstration/AsyncResult.h"
#include "Apps/Demonstration/Demonstration.h"
#include "Apps/Demonstration/DemonstrationExpectations.h"
#include "Apps/Demonstration/DemonstrationSite.h"
#include "Apps/Demonstration/MainLoop.h"
#include "Apps/Demonstration/Picture.h"
#include "Apps/Demonstration/Report.h"
#include "Linux/Posix/ProgramFolder.h"

namespace {

using namespace orvane;

struct Options {
  std::filesystem::path picture = "orvane-demonstration.png";
  double timeLimit = 30;  // in seconds
  bool keepOpen = false;
};

std::string caption(const char* title, const Demonstration::Pass& pass) {
  return fmt::format("{}: {} resources loaded", title,
                     resourceCount(pass.visits.at(site::newspaper)));
}

/// Whether the browser did what the list says.
Expected<bool> demonstrate(const Options& options) {
  const auto limit = std::chrono::milliseconds(
      static_cast<std::chrono::milliseconds::rep>(options.timeLimit * 1e3));
  const auto list = listReport();
  if (!list) return tl::unexpected(list.error());
  const auto demonstration = Demonstration::prepare(programFolder() / "orvane-compile", limit);
  if (!demonstration) return tl::unexpected(demonstration.error());
  const auto without = (*demonstration)->visitPages();
  if (!without) return tl::unexpected(without.error());
  if (auto inForce = (*demonstration)->bringListIntoForce(); !inForce) {
    return tl::unexpected(inForce.error());
  }
  const auto with = (*demonstration)->visitPages();
  if (!with) return tl::unexpected(with.error());

  const auto rows = judge(demonstrationExpectations(), without->visits, with->visits);
  fmt::print("{}\n{}\n{}", *list, tableReport(rows),
             summaryReport(rows, without->visits, with->visits));
  const auto drawn = writeSideBySide(
      {without->newspaperPicture.get(), caption("Without the list", *without)},
      {with->newspaperPicture.get(), caption("With the list", *with)}, options.picture);
  if (!drawn) return tl::unexpected(drawn.error());
  fmt::print("Picture: {}\n", options.picture.string());
  static_cast<void>(std::fflush(stdout));
  if (options.keepOpen) (*demonstration)->browser().runUntilClosed();
  return isAllRight(rows);
}

int run(const Options& options) {
  if (gtk_init_check() == FALSE) {
    fmt::print(stderr, "orvane-demonstration: There is no display; xvfb-run makes one.\n");
    return 1;
  }
  const auto isRight = demonstrate(options);
  if (isRight) return *isRight ? 0 : 1;
  fmt::print(stderr, "orvane-demonstration: {}\n", isRight.error().localizedDescription);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Shows in a real browser view what a list of every kind of rule does.");
  Options options;
  app.add_option("--picture", options.picture, "The PNG file to write")->capture_default_str();
  app.add_option("--time-limit", options.timeLimit, "Seconds that one step may take")
      ->check(CLI::Range(0.001, 86400.0))
      ->capture_default_str();
  app.add_flag("--keep-open", options.keepOpen,
               "Leave the window open, with the list in force, until it is closed");
  CLI11_PARSE(app, argc, argv);
  endWaitsOnSignals();
  const int status = run(options);
  return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? status : 1;
}
