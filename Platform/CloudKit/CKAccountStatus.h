#pragma once

namespace orvane {

/// Whether the user has an account at the cloud.
enum class CKAccountStatus { couldNotDetermine, available, restricted, noAccount };

/// Posted, on the main queue, when the account may have another status.
// NOLINTNEXTLINE(readability-identifier-naming): the platform's own name
inline constexpr const char* CKAccountChanged = "CKAccountChanged";

}  // namespace orvane
