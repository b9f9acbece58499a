#include "Linux/WebKitGTK/ListCompiler.h"

#include <webkit/webkit.h>

#include "Linux/GLib/GLibError.h"

namespace orvane {

struct ListCompiler::Store {
  WebKitUserContentFilterStore* filters;
};

ListCompiler::ListCompiler(const std::filesystem::path& store)
    : store_(std::make_unique<Store>(Store{webkit_user_content_filter_store_new(store.c_str())})) {}

ListCompiler::~ListCompiler() { g_object_unref(store_->filters); }

Expected<void> ListCompiler::compile(const std::string& identifier, std::string_view json) {
  struct Answer {
    bool arrived = false;
    Expected<void> result;
  } answer;
  const auto saved = [](GObject* filters, GAsyncResult* result, gpointer data) {
    auto& waiting = *static_cast<Answer*>(data);
    waiting.arrived = true;
    GError* error = nullptr;
    auto* filter = webkit_user_content_filter_store_save_finish(
        WEBKIT_USER_CONTENT_FILTER_STORE(filters), result, &error);
    if (filter != nullptr) {
      webkit_user_content_filter_unref(filter);
      return;
    }
    waiting.result = tl::unexpected(takenError(error));
  };
  // The call parses the text before it returns, so the text need not be copied.
  GBytes* source = g_bytes_new_static(json.data(), json.size());
  webkit_user_content_filter_store_save(store_->filters, identifier.c_str(), source, nullptr, saved,
                                        &answer);
  while (!answer.arrived) g_main_context_iteration(nullptr, TRUE);
  g_bytes_unref(source);
  return answer.result;
}

}  // namespace orvane
