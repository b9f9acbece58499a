#include "Apps/Browser/ColorScheme.h"

#include <string_view>

#include <gtk/gtk.h>

namespace orvane {
namespace {

constexpr const char* space = "org.freedesktop.appearance";
constexpr const char* key = "color-scheme";

void apply(ColorScheme scheme) {
  g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme",
               static_cast<gboolean>(scheme == ColorScheme::dark), nullptr);
}

/// The value is a number in one variant or, as an answer, in two.
void applyPortalValue(GVariant* value) {
  constexpr guint32 prefersDark = 1;
  GVariant* inner = g_variant_ref(value);
  while (g_variant_is_of_type(inner, G_VARIANT_TYPE_VARIANT) != FALSE) {
    GVariant* next = g_variant_get_variant(inner);
    g_variant_unref(inner);
    inner = next;
  }
  if (g_variant_is_of_type(inner, G_VARIANT_TYPE_UINT32) != FALSE) {
    apply(g_variant_get_uint32(inner) == prefersDark ? ColorScheme::dark : ColorScheme::light);
  }
  g_variant_unref(inner);
}

void settingChanged(GDBusProxy* /*portal*/, const gchar* /*sender*/, const gchar* signal,
                    GVariant* parameters, gpointer /*data*/) {
  if (std::string_view(signal) != "SettingChanged" ||
      g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ssv)")) == FALSE) {
    return;
  }
  const gchar* changedSpace = nullptr;
  const gchar* changedKey = nullptr;
  GVariant* value = nullptr;
  g_variant_get(parameters, "(&s&sv)", &changedSpace, &changedKey, &value);
  if (std::string_view(changedSpace) == space && std::string_view(changedKey) == key) {
    applyPortalValue(value);
  }
  g_variant_unref(value);
}

/// A desktop without such a setting keeps what GTK has made of its other settings.
void answered(GObject* portal, GAsyncResult* result, gpointer /*data*/) {
  GVariant* answer = g_dbus_proxy_call_finish(G_DBUS_PROXY(portal), result, nullptr);
  if (answer == nullptr) return;
  if (g_variant_is_of_type(answer, G_VARIANT_TYPE("(v)")) != FALSE) {
    GVariant* value = g_variant_get_child_value(answer, 0);
    applyPortalValue(value);
    g_variant_unref(value);
  }
  g_variant_unref(answer);
}

}  // namespace

ColorSchemeFollower::ColorSchemeFollower(std::optional<ColorScheme> choice) {
  if (choice) {
    apply(*choice);
  } else {
    followDesktop();
  }
}

ColorSchemeFollower::~ColorSchemeFollower() {
  g_cancellable_cancel(cancellable_.get());
  if (portal_) g_signal_handlers_disconnect_by_data(portal_.get(), this);
}

void ColorSchemeFollower::followDesktop() {
  const auto made = [](GObject*, GAsyncResult* result, gpointer data) {
    GError* error = nullptr;
    GObjectPointer<GDBusProxy> portal(g_dbus_proxy_new_for_bus_finish(result, &error));
    const bool isWanted = portal != nullptr;
    g_clear_error(&error);
    if (!isWanted) return;
    auto& self = *static_cast<ColorSchemeFollower*>(data);
    self.portal_ = std::move(portal);
    g_signal_connect(self.portal_.get(), "g-signal", G_CALLBACK(settingChanged), &self);
    g_dbus_proxy_call(self.portal_.get(), "Read", g_variant_new("(ss)", space, key),
                      G_DBUS_CALL_FLAGS_NONE, -1, self.cancellable_.get(), answered, nullptr);
  };
  g_dbus_proxy_new_for_bus(
      G_BUS_TYPE_SESSION, static_cast<GDBusProxyFlags>(G_DBUS_PROXY_FLAGS_DO_NOT_LOAD_PROPERTIES),
      nullptr, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
      "org.freedesktop.portal.Settings", cancellable_.get(), made, this);
}

}  // namespace orvane
