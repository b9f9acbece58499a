#include "Apps/Companion/SyncCommand.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include <fmt/format.h>
#include <glib.h>

#include "Apps/Companion/ChangeCommand.h"
#include "Apps/Companion/Failure.h"
#include "Apps/Companion/JSONAnswer.h"
#include "Apps/Companion/Printable.h"
#include "Apps/Companion/Progress.h"
#include "Apps/Companion/SyncStatus.h"
#include "Apps/Companion/TimeText.h"
#include "BlockerKit/PersistentStore/SharedDefaults.h"
#include "BlockerKit/SyncManager/FetchedPages.h"
#include "BlockerKit/SyncManager/LocalChangesQueue.h"
#include "Linux/Posix/SingleInstance.h"
#include "SafariExtension/Reload/CompanionApplication.h"

namespace orvane {
namespace {

using Clock = std::chrono::steady_clock;

/// How often the state is looked at when nothing wakes the wait: time passes.
constexpr guint lookInterval = 200;

std::string counted(std::size_t count, const char* one, const char* many) {
  return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::string text(const LocalChangesCount& waiting) {
  if (waiting.total() == 0) return "nothing";
  return fmt::format("{} and {} to save, {} and {} to delete",
                     counted(waiting.packagesToSave, "package", "packages"),
                     counted(waiting.rulesToSave, "rule", "rules"),
                     counted(waiting.packagesToDelete, "package", "packages"),
                     counted(waiting.rulesToDelete, "rule", "rules"));
}

std::string text(const std::optional<std::int64_t>& time) {
  return time ? localTimeText(*time) : "never";
}

void writeTime(JSONWriter& writer, const char* key, const std::optional<std::int64_t>& time) {
  writeText(writer, key, time ? utcTimeText(*time) : "never");
}

void write(JSONWriter& writer, const SyncStatus& status, const LocalChangesCount& waiting) {
  writeText(writer, "account", status.account);
  writer.Key("waiting");
  writer.StartObject();
  writeNumber(writer, "packagesToSave", waiting.packagesToSave);
  writeNumber(writer, "rulesToSave", waiting.rulesToSave);
  writeNumber(writer, "packagesToDelete", waiting.packagesToDelete);
  writeNumber(writer, "rulesToDelete", waiting.rulesToDelete);
  writer.EndObject();
  writeTime(writer, "lastPush", status.lastPush);
  writeTime(writer, "lastFetch", status.lastFetch);
  writeText(writer, "lastError", status.lastError);
  writeTime(writer, "nextRetry", status.nextRetry);
}

/// Waits until the companion has sent and fetched everything.
class SyncWait {
 public:
  explicit SyncWait(Platform& platform)
      : defaults_(sharedUserDefaults(platform)),
        localChanges_(defaults_, platform.systemLog),
        earlier_(syncStatus(defaults_)),
        observation_(defaults_.addObserver(syncStatusKey, [] {})),
        timer_(g_timeout_add(
            lookInterval, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr)) {}
  SyncWait(const SyncWait&) = delete;
  SyncWait& operator=(const SyncWait&) = delete;
  ~SyncWait() { g_source_remove(timer_); }

  void request(const std::string& identifier) {
    static_cast<void>(defaults_.setObject(identifier, syncRequestKey));
  }

  /// What stands in the way; nothing when everything is done.
  std::optional<std::string> run(std::chrono::seconds timeout) {
    const Progress progress;
    const auto end = Clock::now() + timeout;
    for (;;) {
      const auto status = syncStatus(defaults_);
      const auto waiting = localChanges_.count();
      const bool isFetched = status.fetches > earlier_.fetches;
      if (waiting.total() == 0 && isFetched && !hasPagesToApply()) return std::nullopt;
      if (status.failures > earlier_.failures && !status.lastError.empty()) return problem(status);
      if (Clock::now() >= end) {
        return fmt::format("The sync has not ended after {} s.", timeout.count());
      }
      progress.show(waiting.total() == 0 ? "Fetching" : "Waiting: " + text(waiting));
      g_main_context_iteration(nullptr, TRUE);
    }
  }

 private:
  static std::string problem(const SyncStatus& status) {
    if (!status.nextRetry) return status.lastError;
    return fmt::format("{}\nIt will be tried again at {}.", status.lastError,
                       localTimeText(*status.nextRetry));
  }

  /// What was fetched is not among the packages yet.
  bool hasPagesToApply() {
    const auto pages = defaults_.object(FetchedPages::key);
    const auto* dictionary = pages ? pages->as<PropertyListValue::Dictionary>() : nullptr;
    return dictionary != nullptr && !dictionary->empty();
  }

  NSUserDefaults& defaults_;
  LocalChangesQueue localChanges_;
  SyncStatus earlier_;
  std::unique_ptr<NSUserDefaults::Observation> observation_;
  guint timer_;
};

}  // namespace

int runSyncCommand(LinuxPlatform& machine, bool asJSON) {
  auto& platform = machine.platform();
  if (!opensSharedSettings(platform)) return 1;
  auto& defaults = sharedUserDefaults(platform);
  const auto status = syncStatus(defaults);
  const auto waiting = LocalChangesQueue(defaults, platform.systemLog).count();
  const bool isRunning = SingleInstance::isHeld(machine.companionLock());
  if (asJSON) {
    printJSON([&](JSONWriter& writer) {
      writer.StartObject();
      write(writer, status, waiting);
      writeBoolean(writer, "companionRunning", isRunning);
      writer.EndObject();
    });
    return status.lastError.empty() ? 0 : 1;
  }
  fmt::print("Account:    {}\n", status.account.empty() ? "not asked yet" : status.account);
  fmt::print("Waiting:    {}\n", text(waiting));
  fmt::print("Last push:  {}\n", text(status.lastPush));
  fmt::print("Last fetch: {}\n", text(status.lastFetch));
  if (status.nextRetry) fmt::print("Next retry: {}\n", localTimeText(*status.nextRetry));
  fmt::print("Companion:  {}\n", isRunning ? "running" : "not running");
  if (status.lastError.empty()) return 0;
  return failure(status.lastError);
}

int runSyncNowCommand(LinuxPlatform& machine, bool asJSON, unsigned timeout) {
  auto& platform = machine.platform();
  if (!opensSharedSettings(platform)) return 1;
  SyncWait wait(platform);
  wait.request(platform.makeUUID());
  if (!launchCompanionHidden(platform.workspace)) {
    return failure("The companion, which talks to the cloud, cannot be started.");
  }
  const auto problem = wait.run(std::chrono::seconds(timeout));
  if (asJSON) {
    auto& defaults = sharedUserDefaults(platform);
    printJSON([&](JSONWriter& writer) {
      writer.StartObject();
      writeBoolean(writer, "synced", !problem);
      write(writer, syncStatus(defaults), LocalChangesQueue(defaults, platform.systemLog).count());
      writer.EndObject();
    });
  } else if (!problem) {
    fmt::print("Everything is the same here and in the cloud.\n");
  }
  return problem ? failure(*problem) : 0;
}

}  // namespace orvane
