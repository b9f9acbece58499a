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

/// Posts problem reports to the makers. So far it has no connection to them, so every report fails
/// with an error that says so.
class Reporter {
 public:
  /// `platform` outlives the reporter.
  explicit Reporter(Platform& platform) : platform_(platform) {}

  /// Returns at once; `completion` is called on the main queue.
  void post(const Report& report, ReportCompletion completion);

 private:
  Platform& platform_;
};

}  // namespace orvane
