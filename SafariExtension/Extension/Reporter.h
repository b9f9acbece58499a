#pragma once

#include <functional>
#include <optional>

#include "Platform/Platform.h"
#include "SafariExtension/Extension/Report.h"

namespace orvane {

/// Whether the report was saved; if not, the error is there and says why.
using ReportCompletion = std::function<void(bool success, const std::optional<NSError>& error)>;
/// Posts a report without waiting for it; the completion is called once, on the main queue.
using PostReport = std::function<void(const Report& report, ReportCompletion completion)>;

/// Posts problem reports to the makers, in the public database of a container for nothing else. A
/// report that fails is not kept.
class Reporter {
 public:
  static constexpr const char* containerIdentifier = "iCloud.com.tessaly.Blocker.Report";

  /// `platform` outlives the reporter and what it posts.
  explicit Reporter(Platform& platform) : platform_(platform) {}

  /// Returns at once; `completion` is called on the main queue.
  void post(const Report& report, ReportCompletion completion);

 private:
  Platform& platform_;
};

}  // namespace orvane
