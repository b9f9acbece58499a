#include "Linux/WebKitGTK/ContentBlockerManager.h"

#include <optional>
#include <utility>

#include <gio/gio.h>

#include "Linux/GLib/GLibError.h"

namespace orvane {
namespace {

/// Calls `work` from the main loop, unless `lifetime` has ended by then.
void later(const std::shared_ptr<void>& lifetime, std::function<void()> work) {
  struct Task {
    std::weak_ptr<void> lifetime;
    std::function<void()> work;
  };
  const auto run = [](gpointer data) -> gboolean {
    auto& task = *static_cast<Task*>(data);
    if (!task.lifetime.expired()) task.work();
    return G_SOURCE_REMOVE;
  };
  g_idle_add_full(G_PRIORITY_DEFAULT, run, new Task{lifetime, std::move(work)},
                  [](gpointer data) { delete static_cast<Task*>(data); });
}

/// The bytes, which need not be text.
std::string takenText(GBytes* bytes) {
  if (bytes == nullptr) return "";
  gsize size = 0;
  const auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
  std::string text(data == nullptr ? "" : data, size);
  g_bytes_unref(bytes);
  return text;
}

struct Compilation {
  std::weak_ptr<void> lifetime;
  SFContentBlockerManager::ReloadCompletion completion;
};

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
  return NSError{"WebKitUserContentFilterError", 0, std::move(reason)};
}

void helperEnded(GObject* object, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Compilation> compilation(static_cast<Compilation*>(data));
  auto* helper = G_SUBPROCESS(object);
  GError* error = nullptr;
  GBytes* output = nullptr;
  GBytes* diagnostics = nullptr;
  g_subprocess_communicate_finish(helper, result, &output, &diagnostics, &error);
  const auto failure = error != nullptr
                           ? takenError(error)
                           : outcome(helper, takenText(output), takenText(diagnostics));
  if (!compilation->lifetime.expired()) compilation->completion(failure);
}

}  // namespace

ContentBlockerManager::ContentBlockerManager(BrowserSettings settings, Locations locations)
    : settings_(std::move(settings)),
      locations_(std::move(locations)),
      lifetime_(std::make_shared<char>()) {}

ContentBlockerManager::~ContentBlockerManager() = default;

void ContentBlockerManager::getStateOfContentBlocker(std::string_view identifier,
                                                     StateCompletion completion) {
  const auto enabled = settings_.isContentBlockerEnabled(identifier);
  later(lifetime_, [enabled, completion = std::move(completion)] {
    if (enabled) {
      completion(SFContentBlockerState{.isEnabled = *enabled}, std::nullopt);
    } else {
      completion(std::nullopt, enabled.error());
    }
  });
}

void ContentBlockerManager::reloadContentBlocker(std::string_view /*identifier*/,
                                                 ReloadCompletion completion) {
  GError* error = nullptr;
  GSubprocess* helper =
      g_subprocess_new(static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE |
                                                     G_SUBPROCESS_FLAGS_STDERR_PIPE),
                       &error, locations_.helper.c_str(), locations_.blockerList.c_str(),
                       locations_.compiledLists.c_str(), nullptr);
  if (helper == nullptr) {
    later(lifetime_, [failure = takenError(error), completion = std::move(completion)] {
      completion(failure);
    });
    return;
  }
  g_subprocess_communicate_async(helper, nullptr, nullptr, helperEnded,
                                 new Compilation{lifetime_, std::move(completion)});
  g_object_unref(helper);
}

}  // namespace orvane
