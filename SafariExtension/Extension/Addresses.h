#pragma once

namespace orvane {

/// The product's web site.
inline constexpr const char* webSiteAddress = "https://orvane.example/";
/// Where mail to the makers goes.
inline constexpr const char* supportAddress = "support@orvane.example";

}  // namespace orvane
