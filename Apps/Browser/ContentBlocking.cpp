#include "Apps/Browser/ContentBlocking.h"

#include <array>
#include <ctime>
#include <utility>

#include "Apps/Companion/CompanionStatus.h"
#include "SafariExtension/Reload/CompanionApplication.h"

namespace orvane {
namespace {

constexpr const char* contentBlocker = Safari::contentBlockerIdentifier;

std::string inLocalTime(FileDate date) {
  const auto time = std::chrono::system_clock::to_time_t(
      std::chrono::time_point_cast<std::chrono::system_clock::duration>(date));
  std::tm parts{};
  static_cast<void>(::localtime_r(&time, &parts));
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%x, %H:%M", &parts)};
}

}  // namespace

ContentBlocking::ContentBlocking(LinuxPlatform& machine, Platform& platform, Process& process,
                                 WebKitUserContentManager* contentManager,
                                 std::function<void()> changed)
    : platform_(platform),
      process_(process),
      settings_(machine.browserSettings()),
      changed_(std::move(changed)),
      lists_(fileSystem_, machine.container() / "CompiledLists"),
      settingsWatch_(settings_.file().parent_path(), {settings_.file().filename().string()},
                     platform.mainQueue, [this] { changed_(); }),
      loader_(platform.mainQueue, lists_, settings_, contentBlocker, contentManager,
              {.changed = [this](const auto& list) { listChanged(list); },
               .damaged = [this] { listDamaged(); }}) {
  observe(Communication::pausedKey);
  observe(companionStatusKey);
}

BlockingFacts ContentBlocking::facts() {
  auto& defaults = process_.defaults();
  const auto companion = companionStatus(defaults);
  return {.isEnabled = settings_.isContentBlockerEnabled(contentBlocker),
          .isPaused = defaults.boolForKey(Communication::pausedKey),
          .isListInForce = inForce_.has_value(),
          .isListDamaged = isDamaged_,
          .companionError = companion.error,
          .rules = companion.rules,
          .compiled = compiledDate()};
}

Expected<void> ContentBlocking::setEnabled(bool enabled) {
  auto written = settings_.setContentBlockerEnabled(contentBlocker, enabled);
  if (written && enabled) launchCompanionHidden(platform_.workspace);
  return written;
}

void ContentBlocking::listChanged(const std::optional<CompiledList>& list) {
  inForce_ = list;
  isDamaged_ = false;
  changed_();
}

/// A companion that is at work already hears only the signal.
void ContentBlocking::listDamaged() {
  isDamaged_ = true;
  process_.communication().send(Communication::Message::reloadRulesFromDisk);
  launchCompanionHidden(platform_.workspace);
  changed_();
}

void ContentBlocking::observe(std::string_view key) {
  observations_.push_back(process_.defaults().addObserver(key, [this] { changed_(); }));
}

std::string ContentBlocking::compiledDate() {
  if (!inForce_) return "";
  const auto attributes = fileSystem_.attributes(lists_.pathOf(inForce_->folder));
  if (!attributes || !attributes->modificationDate) return "";
  return inLocalTime(*attributes->modificationDate);
}

}  // namespace orvane
