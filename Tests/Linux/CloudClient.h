#pragma once

#include "Platform/CloudKit/CKRecordID.h"

namespace orvane::test {

// What the program orvane-cloud-client does, and the tests count on.

inline constexpr const char* cloudClient = "orvane-cloud-client";

inline const CKRecordZoneID zoneOfClients{"Zone"};

/// What a writer saves.
inline constexpr int batchesOfAWriter = 100;
inline constexpr int recordsOfABatch = 3;

/// How often one that adds does it.
inline constexpr int additionsOfAClient = 20;

}  // namespace orvane::test
