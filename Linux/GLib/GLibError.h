#pragma once

#include <glib.h>

#include "Platform/Foundation/NSError.h"

namespace orvane {

/// What `error` says; frees it.
inline NSError takenError(GError* error) {
  NSError result{g_quark_to_string(error->domain), error->code, error->message};
  g_error_free(error);
  return result;
}

}  // namespace orvane
