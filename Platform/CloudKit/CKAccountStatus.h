#pragma once

#include <string_view>

namespace orvane {

/// Whether the user has an account at the cloud.
enum class CKAccountStatus { couldNotDetermine, available, restricted, noAccount };

/// A few words for a log.
constexpr std::string_view description(CKAccountStatus status) {
  switch (status) {
    case CKAccountStatus::couldNotDetermine:
      return "Could not determine";
    case CKAccountStatus::available:
      return "Available";
    case CKAccountStatus::restricted:
      return "Restricted";
    case CKAccountStatus::noAccount:
      return "No account";
  }
  return "";
}

/// Posted, on the main queue, when the account may have another status.
// NOLINTNEXTLINE(readability-identifier-naming): the platform's own name
inline constexpr const char* CKAccountChanged = "CKAccountChanged";

}  // namespace orvane
