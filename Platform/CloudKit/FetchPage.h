#pragma once

#include <memory>
#include <optional>

#include "Platform/CloudKit/CKDatabase.h"

namespace orvane {

/// One page of what has changed in the zone, for an operation that carries it to another queue:
/// functions are copied, a page of records should not be.
CKResult<std::shared_ptr<const CloudChanges>> fetchPage(
    CloudBackend& backend, const CKRecordZoneID& zoneID,
    const std::optional<CKServerChangeToken>& token, const CloudCall& call);

}  // namespace orvane
