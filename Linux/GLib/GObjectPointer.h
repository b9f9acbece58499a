#pragma once

#include <memory>

#include <glib-object.h>

namespace orvane {

struct GObjectUnref {
  void operator()(void* object) const { g_object_unref(object); }
};

/// Owns one reference to a GObject, or nothing.
template <typename Object>
using GObjectPointer = std::unique_ptr<Object, GObjectUnref>;

/// Another reference to an object that somebody else owns.
template <typename Object>
GObjectPointer<Object> retained(Object* object) {
  return GObjectPointer<Object>(static_cast<Object*>(g_object_ref(object)));
}

}  // namespace orvane
