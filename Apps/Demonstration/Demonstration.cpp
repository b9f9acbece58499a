#include "Apps/Demonstration/Demonstration.h"

#include <array>
#include <optional>
#include <utility>

#include "Apps/Demonstration/AsyncResult.h"
#include "Apps/Demonstration/DemonstrationExpectations.h"
#include "Apps/Demonstration/DemonstrationList.h"
#include "Apps/Demonstration/DemonstrationSite.h"
#include "Apps/Demonstration/MainLoop.h"
#include "Linux/WebKitGTK/ContentBlockerManager.h"

namespace orvane {
namespace {

constexpr const char* contentBlockerIdentifier = "orvane-demonstration";

constexpr std::array pages{site::trackerHomePage, site::ticketShop, site::whitelistedNewspaper,
                           site::newspaper};

}  // namespace

Expected<std::unique_ptr<Demonstration>> Demonstration::prepare(std::filesystem::path compiler,
                                                                std::chrono::milliseconds limit) {
  auto folder = TemporaryFolder::make();
  if (!folder) return tl::unexpected(folder.error());
  auto proxy = LoopbackProxy::start();
  if (!proxy) return tl::unexpected(proxy.error());
  site::serve(**proxy);
  std::unique_ptr<Demonstration> result(
      new Demonstration(std::move(compiler), limit, std::move(*folder), std::move(*proxy)));
  auto cookie =
      result->browser_.setCookie(site::widgetHost, site::widgetCookieName, site::widgetCookieValue);
  if (!cookie) return tl::unexpected(cookie.error());
  return result;
}

Demonstration::Demonstration(std::filesystem::path compiler, std::chrono::milliseconds limit,
                             std::unique_ptr<TemporaryFolder> folder,
                             std::unique_ptr<LoopbackProxy> proxy)
    : compiler_(std::move(compiler)),
      limit_(limit),
      folder_(std::move(folder)),
      proxy_(std::move(proxy)),
      settings_(folder_->path() / "browser.ini"),
      compiledLists_(files_, folder_->path() / "compiled"),
      expectations_(demonstrationExpectations()),
      browser_(proxy_->url(), limit),
      loader_(mainQueue_, compiledLists_, settings_, contentBlockerIdentifier,
              browser_.contentManager(), loaderObserver()) {}

CompiledListLoader::Observer Demonstration::loaderObserver() {
  return {
      .changed =
          [this](const std::optional<CompiledList>& list) { isListInForce_ = list.has_value(); },
      .damaged = [this] { isListDamaged_ = true; },
  };
}

Expected<Demonstration::Pass> Demonstration::visitPages() {
  Pass pass;
  for (const char* page : pages) {
    auto visited = visit(page);
    if (!visited) return tl::unexpected(visited.error());
    pass.visits.emplace(page, std::move(*visited));
  }
  auto picture = browser_.picture();
  if (!picture) return tl::unexpected(picture.error());
  pass.newspaperPicture = std::move(*picture);
  return pass;
}

Expected<Visit> Demonstration::visit(const std::string& page) {
  proxy_->clearLog();
  if (auto opened = browser_.open(page); !opened) return tl::unexpected(opened.error());
  Visit result;
  for (const auto& expectation : expectations_) {
    const auto* element = std::get_if<Element>(&expectation.subject);
    if (element == nullptr || expectation.page != page) continue;
    const auto state = browser_.stateOf(element->id);
    if (!state) return tl::unexpected(state.error());
    result.elements[element->id] = *state;
  }
  result.requests = proxy_->log();
  return result;
}

Expected<void> Demonstration::bringListIntoForce() {
  if (auto compiled = compileList(); !compiled) return compiled;
  const auto isLoaded = [this] { return isListInForce_ || isListDamaged_; };
  if (!runMainLoopUntil(isLoaded, limit_)) {
    return tl::unexpected(timeLimitError("Loading the compiled list", limit_));
  }
  if (isListDamaged_) {
    return tl::unexpected(demonstrationError("The browser cannot load the compiled list."));
  }
  return {};
}

Expected<void> Demonstration::compileList() {
  const auto list = folder_->path() / "blockerList.json";
  const auto json = demonstrationListJSON();
  if (!json) return tl::unexpected(json.error());
  if (auto written = files_.replace(list, *json, std::nullopt); !written) return written;

  bool ended = false;
  std::optional<NSError> failure;
  ContentBlockerManager manager(mainQueue_, settings_, {compiler_, list, compiledLists_.path()});
  manager.reloadContentBlocker(contentBlockerIdentifier, [&](std::optional<NSError> error) {
    ended = true;
    failure = std::move(error);
  });
  if (!runMainLoopUntil([&] { return ended; }, limit_)) {
    return tl::unexpected(timeLimitError("Compiling the list", limit_));
  }
  if (!failure) return {};
  return tl::unexpected(
      demonstrationError("The list cannot be compiled: " + failure->localizedDescription));
}

}  // namespace orvane
