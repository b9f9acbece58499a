#pragma once

#include <vector>

#include "Apps/Demonstration/LoopbackProxy.h"

namespace orvane::site {

/// A newspaper's front page, with everything on it that the demonstration's list is about.
inline constexpr const char* newspaper = "http://www.harbourgazette.test/";
/// Another newspaper with the same adverts.
inline constexpr const char* whitelistedNewspaper = "http://www.lighthouseweekly.test/";
/// The home page of the company whose script follows the newspapers' readers.
inline constexpr const char* trackerHomePage = "http://www.trackwell.test/";
/// A shop that can be reached over http and https.
inline constexpr const char* ticketShop = "http://tickets.ferryline.test/";

/// A cookie that the share widget has set on an earlier visit; it greets who sends it by name.
inline constexpr const char* widgetHost = "share.chatterbox.test";
inline constexpr const char* widgetCookieName = "reader";
inline constexpr const char* widgetCookieValue = "mia";

/// Serves those pages and everything that they load.
void serve(LoopbackProxy& proxy);

}  // namespace orvane::site
