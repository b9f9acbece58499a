#include "Linux/GTK/InterfaceFile.h"

#include <utility>

#include <fmt/format.h>
#include <gtk/gtk.h>
#include <gtkmm/object.h>

namespace orvane {
namespace {

using Action = std::function<void()>;

constexpr const char* errorDomain = "InterfaceFile";

/// Makes the handlers that a file names out of the actions of the program. Everything else it
/// leaves to the scope of C programs.
struct ActionScope {
  GtkBuilderCScope parent;
  const InterfaceFile::Actions* actions;
};

void callAction(const Action* action) { (*action)(); }
void destroyAction(gpointer action, GClosure* /*closure*/) { delete static_cast<Action*>(action); }

GClosure* createClosure(GtkBuilderScope* scope, GtkBuilder* /*builder*/, const char* name,
                        GtkBuilderClosureFlags /*flags*/, GObject* /*object*/, GError** error) {
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): how GObject derives
  const auto& actions = *reinterpret_cast<ActionScope*>(scope)->actions;
  const auto found = actions.find(name);
  if (found == actions.end()) {
    g_set_error(error, GTK_BUILDER_ERROR, GTK_BUILDER_ERROR_INVALID_FUNCTION,
                "there is no action named \"%s\"", name);
    return nullptr;
  }
  return g_cclosure_new_swap(G_CALLBACK(callAction), new Action(found->second), destroyAction);
}

void fillScope(gpointer interface, gpointer /*data*/) {
  static_cast<GtkBuilderScopeInterface*>(interface)->create_closure = createClosure;
}

GType actionScopeType() {
  static const GType type = [] {
    const GType made = g_type_register_static_simple(
        GTK_TYPE_BUILDER_CSCOPE, "OrvaneActionScope", sizeof(GtkBuilderCScopeClass), nullptr,
        sizeof(ActionScope), nullptr, G_TYPE_FLAG_NONE);
    const GInterfaceInfo scope{fillScope, nullptr, nullptr};
    g_type_add_interface_static(made, GTK_TYPE_BUILDER_SCOPE, &scope);
    return made;
  }();
  return type;
}

void setScope(GtkBuilder* builder, const InterfaceFile::Actions& actions) {
  auto* scope = static_cast<ActionScope*>(g_object_new(actionScopeType(), nullptr));
  scope->actions = &actions;
  gtk_builder_set_scope(builder, GTK_BUILDER_SCOPE(scope));
  g_object_unref(scope);
}

}  // namespace

void InterfaceFile::Unref::operator()(GtkBuilder* builder) const { g_object_unref(builder); }

InterfaceFile::InterfaceFile(std::filesystem::path file, Builder builder)
    : file_(std::move(file)), builder_(std::move(builder)) {}

// The closures hold actions of their own, so these are needed while the file is read only.
Expected<InterfaceFile> InterfaceFile::load(const std::filesystem::path& file,
                                            const Actions& actions) {
  InterfaceFile loaded(file, Builder(gtk_builder_new()));
  setScope(loaded.builder_.get(), actions);
  GError* error = nullptr;
  const bool isRead = gtk_builder_add_from_file(loaded.builder_.get(), file.c_str(), &error) != 0;
  gtk_builder_set_scope(loaded.builder_.get(), nullptr);
  if (isRead) return loaded;
  const std::string reason = error->message;
  g_error_free(error);
  return tl::unexpected(loaded.error(reason));
}

NSError InterfaceFile::error(const std::string& reason) const {
  return {errorDomain, 1, fmt::format("The interface file '{}': {}", file_.string(), reason)};
}

Expected<Gtk::Widget*> InterfaceFile::find(const std::string& name) const {
  auto* object = gtk_builder_get_object(builder_.get(), name.c_str());
  if (object == nullptr) {
    return tl::unexpected(error(fmt::format("there is no widget named \"{}\"", name)));
  }
  if (auto* widget = dynamic_cast<Gtk::Widget*>(Glib::wrap_auto(object))) return widget;
  return tl::unexpected(error(fmt::format("\"{}\" is no widget", name)));
}

NSError InterfaceFile::wrongKind(const std::string& name, Gtk::Widget& widget) const {
  return error(fmt::format("\"{}\" must not be a {}", name, G_OBJECT_TYPE_NAME(widget.gobj())));
}

}  // namespace orvane
