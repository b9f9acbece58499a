#include "SafariExtension/Extension/Reporter.h"

#include <utility>

#include <fmt/format.h>

namespace orvane {

void Reporter::post(const Report& /*report*/, ReportCompletion completion) {
  const NSError error{"orvane", 1,
                      "Reports cannot be sent yet. Please write us an e-mail instead."};
  platform_.standardOutput.print(fmt::format("Error reporting: {}", error.localizedDescription));
  platform_.mainQueue.post(
      [completion = std::move(completion), error] { completion(false, error); });
}

}  // namespace orvane
