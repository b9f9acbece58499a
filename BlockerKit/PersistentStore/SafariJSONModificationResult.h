#pragma once

#include <string>
#include <utility>

namespace orvane {

/// The outcome of an edit of the blocker list file.
struct SafariJSONModificationResult {
  enum class Kind {
    success,     ///< the file was rewritten
    emptyFile,   ///< the file holds no bytes; nothing was changed
    otherError,  ///< the edit failed; nothing was changed, and `reason` says why
  };

  static SafariJSONModificationResult success() { return {Kind::success, {}}; }
  static SafariJSONModificationResult emptyFile() { return {Kind::emptyFile, {}}; }
  static SafariJSONModificationResult otherError(std::string reason) {
    return {Kind::otherError, std::move(reason)};
  }

  Kind kind;
  std::string reason;

  friend bool operator==(const SafariJSONModificationResult&,
                         const SafariJSONModificationResult&) = default;
};

}  // namespace orvane
