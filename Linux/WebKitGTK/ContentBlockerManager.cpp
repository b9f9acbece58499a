#include "Linux/WebKitGTK/ContentBlockerManager.h"

#include <optional>
#include <utility>

#include <fmt/format.h>
#include <gio/gio.h>

#include "Linux/GLib/GLibError.h"

namespace orvane {
namespace {

/// The bytes, which need not be text.
std::string takenText(GBytes* bytes) {
  if (bytes == nullptr) return "";
  gsize size = 0;
  const auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
  std::string text(data == nullptr ? "" : data, size);
  g_bytes_unref(bytes);
  return text;
}

constexpr const char* errorDomain = "WebKitUserContentFilterError";

/// A run of the helper. Main queue.
struct Compilation {
  Compilation(GSubprocess* itsHelper, std::weak_ptr<void> itsLifetime,
              SFContentBlockerManager::ReloadCompletion itsCompletion)
      : helper(itsHelper), lifetime(std::move(itsLifetime)), completion(std::move(itsCompletion)) {}
  Compilation(const Compilation&) = delete;
  Compilation& operator=(const Compilation&) = delete;
  ~Compilation() {
    g_object_unref(helper);
    g_object_unref(reading);
  }

  GSubprocess* helper;
  GCancellable* reading = g_cancellable_new();
  std::weak_ptr<void> lifetime;
  SFContentBlockerManager::ReloadCompletion completion;
  std::optional<NSError> overdue;
};

/// Kills the helper. Its output is not read on, since a program that it has started may keep the
/// pipe open.
void endOverdue(Compilation& compilation, std::chrono::seconds limit) {
  compilation.overdue =
      NSError{errorDomain, 0,
              fmt::format("The compiler of blocker lists did not finish within {} seconds.",
                          limit.count())};
  g_subprocess_force_exit(compilation.helper);
  g_cancellable_cancel(compilation.reading);
}

std::string withoutLineEnding(std::string text) {
  while (text.ends_with('\n')) text.pop_back();
  return text;
}

/// What the helper's end says: nothing when it succeeded.
std::optional<NSError> outcome(GSubprocess* helper, const std::string& output,
                               const std::string& diagnostics) {
  if (g_subprocess_get_if_exited(helper) && g_subprocess_get_exit_status(helper) == 0) {
    return std::nullopt;
  }
  std::string reason = withoutLineEnding(output.empty() ? diagnostics : output);
  if (reason.empty()) reason = "The compiler of blocker lists ended without a word.";
  return NSError{errorDomain, 0, std::move(reason)};
}

void helperEnded(GObject* object, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<std::shared_ptr<Compilation>> owner(
      static_cast<std::shared_ptr<Compilation>*>(data));
  const auto& compilation = **owner;
  auto* helper = G_SUBPROCESS(object);
  GError* error = nullptr;
  GBytes* output = nullptr;
  GBytes* diagnostics = nullptr;
  g_subprocess_communicate_finish(helper, result, &output, &diagnostics, &error);
  auto failure = error != nullptr ? takenError(error)
                                  : outcome(helper, takenText(output), takenText(diagnostics));
  if (compilation.lifetime.expired()) return;
  if (compilation.overdue) failure = compilation.overdue;
  compilation.completion(std::move(failure));
}

}  // namespace

ContentBlockerManager::ContentBlockerManager(Executor& mainQueue, BrowserSettings settings,
                                             Locations locations, std::chrono::seconds limit)
    : mainQueue_(mainQueue),
      settings_(std::move(settings)),
      locations_(std::move(locations)),
      limit_(limit),
      lifetime_(std::make_shared<char>()) {}

ContentBlockerManager::~ContentBlockerManager() = default;

void ContentBlockerManager::getStateOfContentBlocker(std::string_view identifier,
                                                     StateCompletion completion) {
  onMainQueue([this, identifier = std::string(identifier), completion = std::move(completion)] {
    const auto enabled = settings_.isContentBlockerEnabled(identifier);
    if (enabled) {
      completion(SFContentBlockerState{.isEnabled = *enabled}, std::nullopt);
    } else {
      completion(std::nullopt, enabled.error());
    }
  });
}

void ContentBlockerManager::reloadContentBlocker(std::string_view /*identifier*/,
                                                 ReloadCompletion completion) {
  onMainQueue(
      [this, completion = std::move(completion)]() mutable { compile(std::move(completion)); });
}

void ContentBlockerManager::onMainQueue(std::function<void()> task) {
  mainQueue_.post([lifetime = std::weak_ptr(lifetime_), task = std::move(task)] {
    if (!lifetime.expired()) task();
  });
}

void ContentBlockerManager::compile(ReloadCompletion completion) {
  GError* error = nullptr;
  GSubprocess* helper =
      g_subprocess_new(static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE |
                                                     G_SUBPROCESS_FLAGS_STDERR_PIPE),
                       &error, locations_.helper.c_str(), locations_.blockerList.c_str(),
                       locations_.compiledLists.c_str(), nullptr);
  if (helper == nullptr) return completion(takenError(error));
  const auto compilation = std::make_shared<Compilation>(helper, lifetime_, std::move(completion));
  g_subprocess_communicate_async(helper, nullptr, compilation->reading, helperEnded,
                                 new std::shared_ptr<Compilation>(compilation));
  mainQueue_.postAfter(limit_, [running = std::weak_ptr(compilation), limit = limit_] {
    if (const auto late = running.lock()) endOverdue(*late, limit);
  });
}

}  // namespace orvane
