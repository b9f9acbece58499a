#include "Linux/WebKitGTK/CompiledListLoader.h"

#include <chrono>
#include <utility>
#include <vector>

namespace orvane {

/// When to look again which list is current after that could not be told. What hindered it, such
/// as too many open files, passes without a change of the file.
constexpr std::chrono::seconds retryInterval{1};

/// One attempt to bring a list into force. `loader` is gone when the attempt is out of date.
struct CompiledListLoader::Load {
  std::weak_ptr<CompiledListLoader*> loader;
  CompiledListDirectory directory;
  CompiledList list;

  CompiledListLoader* wantedBy() const {
    const auto wanted = loader.lock();
    return wanted ? *wanted : nullptr;
  }
};

CompiledListLoader::CompiledListLoader(Executor& mainQueue, CompiledListDirectory directory,
                                       BrowserSettings settings,
                                       std::string contentBlockerIdentifier,
                                       WebKitUserContentManager* contentManager, Observer observer)
    : mainQueue_(mainQueue),
      directory_(std::move(directory)),
      settings_(std::move(settings)),
      contentBlockerIdentifier_(std::move(contentBlockerIdentifier)),
      contentManager_(WEBKIT_USER_CONTENT_MANAGER(g_object_ref(contentManager))),
      observer_(std::move(observer)),
      listWatch_(directory_.path(), {CompiledListDirectory::currentFileName}, mainQueue,
                 [this] { update(); }),
      settingsWatch_(settings_.file().parent_path(), {settings_.file().filename().string()},
                     mainQueue, [this] { update(); }) {
  update();
}

CompiledListLoader::~CompiledListLoader() { g_object_unref(contentManager_); }

void CompiledListLoader::update() {
  wanted_.reset();
  // Settings that cannot be read do not say that the user switched it off.
  const bool enabled = settings_.isContentBlockerEnabled(contentBlockerIdentifier_).value_or(true);
  if (!enabled) return takeAway();
  const auto current = directory_.readCurrent();
  if (!current) return updateLater();
  if (!*current) return takeAway();
  if (*current == inForce_) return;
  wanted_ = std::make_shared<CompiledListLoader*>(this);
  verify(**current);
}

void CompiledListLoader::updateLater() {
  wanted_ = std::make_shared<CompiledListLoader*>(this);
  mainQueue_.postAfter(retryInterval, [weak = std::weak_ptr(wanted_)] {
    if (const auto wanted = weak.lock()) (*wanted)->update();
  });
}

void CompiledListLoader::takeAway() {
  if (!inForce_) return;
  webkit_user_content_manager_remove_filter_by_id(contentManager_,
                                                  CompiledListDirectory::identifier);
  inForce_.reset();
  observer_.changed(inForce_);
}

/// The browser loads a compiled file with damaged bytes without complaint, and then pages never
/// finish; so the file is compared with its checksum first, on a thread of its own.
void CompiledListLoader::verify(const CompiledList& list) {
  GTask* task = g_task_new(
      nullptr, nullptr,
      [](GObject*, GAsyncResult* result, gpointer) {
        const auto& load = *static_cast<Load*>(g_task_get_task_data(G_TASK(result)));
        auto* loader = load.wantedBy();
        if (loader == nullptr) return;
        if (g_task_propagate_boolean(G_TASK(result), nullptr)) {
          loader->load(load.list);
        } else {
          loader->reportDamage(load.list);
        }
      },
      nullptr);
  g_task_set_task_data(task, new Load{wanted_, directory_, list},
                       [](gpointer data) { delete static_cast<Load*>(data); });
  g_task_run_in_thread(task, [](GTask* running, gpointer, gpointer data, GCancellable*) {
    auto& load = *static_cast<Load*>(data);
    g_task_return_boolean(running,
                          load.directory.checksumOf(load.list.folder) == load.list.checksum);
  });
  g_object_unref(task);
}

void CompiledListLoader::load(const CompiledList& list) {
  const auto loaded = [](GObject* store, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<Load> load(static_cast<Load*>(data));
    WebKitUserContentFilter* filter = webkit_user_content_filter_store_load_finish(
        WEBKIT_USER_CONTENT_FILTER_STORE(store), result, nullptr);
    auto* loader = load->wantedBy();
    if (loader != nullptr && filter == nullptr) loader->reportDamage(load->list);
    if (loader != nullptr && filter != nullptr) {
      webkit_user_content_manager_add_filter(loader->contentManager_, filter);
      loader->inForce_ = load->list;
      loader->damaged_.reset();
      loader->observer_.changed(loader->inForce_);
    }
    if (filter != nullptr) webkit_user_content_filter_unref(filter);
  };
  auto* store = webkit_user_content_filter_store_new(directory_.pathOf(list.folder).c_str());
  webkit_user_content_filter_store_load(store, CompiledListDirectory::identifier, nullptr, loaded,
                                        new Load{wanted_, directory_, list});
  g_object_unref(store);
}

void CompiledListLoader::reportDamage(const CompiledList& list) {
  if (damaged_ == list) return;
  damaged_ = list;
  observer_.damaged();
}

}  // namespace orvane
