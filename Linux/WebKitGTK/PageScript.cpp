#include "Linux/WebKitGTK/PageScript.h"

#include <array>
#include <utility>

#include "Linux/GLib/GLibError.h"
#include "Linux/WebKitGTK/PropertyListFromScript.h"

namespace orvane {
namespace {

/// The world of the scripts, the handler of their messages and their one global share this name.
constexpr const char* worldName = "orvane";

/// In the order in which they run: each uses what those before it have made.
constexpr std::array fileNames{"DOM.js",     "Names.js",  "Selector.js",
                               "Overlay.js", "Picker.js", "Messages.js"};

Expected<std::string> contentsOf(const std::filesystem::path& file) {
  gchar* contents = nullptr;
  gsize size = 0;
  GError* error = nullptr;
  if (g_file_get_contents(file.c_str(), &contents, &size, &error) == FALSE) {
    return tl::unexpected(takenError(error));
  }
  std::string text(contents, size);
  g_free(contents);
  return text;
}

template <typename Type>
std::optional<Type> taken(PropertyListValue::Dictionary& values, const std::string& key) {
  const auto found = values.find(key);
  if (found == values.end()) return std::nullopt;
  auto* value = std::get_if<Type>(&found->second.variant);
  if (value == nullptr) return std::nullopt;
  return std::move(*value);
}

/// Nothing when `value` is no message.
std::optional<PageScript::Message> messageFrom(JSCValue* value) {
  const auto read = propertyListFrom(value);
  const auto* values = read ? read->as<PropertyListValue::Dictionary>() : nullptr;
  if (values == nullptr) return std::nullopt;
  auto fields = *values;
  auto page = taken<std::string>(fields, "page");
  auto name = taken<std::string>(fields, "name");
  if (!page || !name) return std::nullopt;
  return PageScript::Message{std::move(*page), std::move(*name),
                             taken<PropertyListValue::Dictionary>(fields, "userInfo")};
}

bool isUTF8(std::string_view text) {
  return g_utf8_validate_len(text.data(), text.size(), nullptr) != FALSE;
}

}  // namespace

Expected<std::unique_ptr<PageScript>> PageScript::load(const std::filesystem::path& folder,
                                                       WebKitUserContentManager* contentManager,
                                                       Receiver receiver) {
  std::vector<std::string> sources;
  for (const char* fileName : fileNames) {
    auto source = contentsOf(folder / fileName);
    if (!source) return tl::unexpected(source.error());
    sources.push_back(std::move(*source));
  }
  std::unique_ptr<PageScript> script(new PageScript(contentManager, std::move(receiver)));
  if (auto listening = script->listen(); !listening) return tl::unexpected(listening.error());
  for (const auto& source : sources) script->add(source);
  return script;
}

PageScript::PageScript(WebKitUserContentManager* contentManager, Receiver receiver)
    : contentManager_(retained(contentManager)), receiver_(std::move(receiver)) {}

PageScript::~PageScript() {
  if (signal_ == 0) return;
  g_signal_handler_disconnect(contentManager_.get(), signal_);
  webkit_user_content_manager_unregister_script_message_handler(contentManager_.get(), worldName,
                                                                worldName);
  for (auto* script : scripts_) {
    webkit_user_content_manager_remove_script(contentManager_.get(), script);
    webkit_user_script_unref(script);
  }
}

void PageScript::add(const std::string& source) {
  auto* script = webkit_user_script_new_for_world(
      source.c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME,
      WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, worldName, nullptr, nullptr);
  webkit_user_content_manager_add_script(contentManager_.get(), script);
  scripts_.push_back(script);
}

Expected<void> PageScript::listen() {
  if (webkit_user_content_manager_register_script_message_handler(contentManager_.get(), worldName,
                                                                  worldName) == FALSE) {
    return tl::unexpected(NSError{"orvane", 1, "The content manager has a page script already."});
  }
  const auto received = [](WebKitUserContentManager*, JSCValue* value, gpointer self) {
    if (auto message = messageFrom(value)) {
      static_cast<PageScript*>(self)->receiver_(std::move(*message));
    }
  };
  signal_ = g_signal_connect(contentManager_.get(), "script-message-received::orvane",
                             G_CALLBACK(+received), this);
  return {};
}

void PageScript::dispatch(WebKitWebView* view, std::string_view page, std::string_view name) {
  if (!isUTF8(page) || !isUTF8(name)) return;
  GVariantBuilder arguments;
  g_variant_builder_init(&arguments, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&arguments, "{sv}", "page",
                        g_variant_new_string(std::string(page).c_str()));
  g_variant_builder_add(&arguments, "{sv}", "name",
                        g_variant_new_string(std::string(name).c_str()));
  webkit_web_view_call_async_javascript_function(view, "globalThis.orvane?.receive?.(name, page)",
                                                 -1, g_variant_builder_end(&arguments), worldName,
                                                 nullptr, nullptr, nullptr, nullptr);
}

}  // namespace orvane
