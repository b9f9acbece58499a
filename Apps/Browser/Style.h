#pragma once

namespace orvane {

/// Gives the browser's widgets on the default display their looks. Main thread, after `gtk_init`.
void loadStyle();

}  // namespace orvane
