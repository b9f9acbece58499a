#include "Linux/GLib/UUID.h"

#include <algorithm>

#include <glib.h>

namespace orvane {

std::string randomUUID() {
  gchar* text = g_uuid_string_random();
  std::string uuid(text);
  g_free(text);
  std::transform(uuid.begin(), uuid.end(), uuid.begin(), g_ascii_toupper);
  return uuid;
}

}  // namespace orvane
