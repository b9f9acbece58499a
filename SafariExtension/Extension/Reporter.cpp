#include "SafariExtension/Extension/Reporter.h"

#include <utility>

#include "Platform/CloudKit/CKContainer.h"

namespace orvane {

void Reporter::post(const Report& report, ReportCompletion completion) {
  const CKContainer container(containerIdentifier, {platform_.cloud, platform_.cloudQueue,
                                                    platform_.mainQueue, platform_.systemLog});
  const auto answered = [&output = platform_.standardOutput, completion = std::move(completion)](
                            const std::optional<CKRecord>& /*saved*/,
                            const std::optional<CKError>& error) {
    output.print(error ? "Error reporting: " + error->localizedDescription
                       : "Successfuly posted report.");
    completion(!error, error ? std::optional(error->nsError()) : std::nullopt);
  };
  container.publicCloudDatabase().saveRecord(report.cloudRecord(platform_.makeUUID()), answered);
}

}  // namespace orvane
