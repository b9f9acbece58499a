#include "Platform/CloudKit/FetchPage.h"

#include <utility>

namespace orvane {
namespace {

/// As many as a catalogue of some size has, in a few megabytes.
constexpr std::size_t pageSize = 2000;

}  // namespace

CKResult<std::shared_ptr<const CloudChanges>> fetchPage(
    CloudBackend& backend, const CKRecordZoneID& zoneID,
    const std::optional<CKServerChangeToken>& token, const CloudCall& call) {
  auto fetched = backend.fetchChanges(zoneID, token, pageSize, call);
  if (!fetched) return tl::unexpected(std::move(fetched.error()));
  return std::make_shared<const CloudChanges>(*std::move(fetched));
}

}  // namespace orvane
