#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Linux/PostgreSQL/PostgreSQLConnection.h"
#include "Platform/CloudKit/CloudBackend.h"

namespace orvane {

// The statements that write and read the records of a zone, and what their results say.

/// The tags that the records to be saved must have at the server; nothing where there must be none.
using ExpectedTags = std::vector<std::optional<std::string>>;

/// The first locks the zone. Only then does the second see what others have committed before.
CKResult<PostgreSQLConnection::Statements> modifyStatements(const CloudBatch& batch,
                                                            const ExpectedTags& expectedTags,
                                                            const std::string& device);

/// A record that was not saved, and with it none.
struct SaveConflict {
  /// Which record of the batch.
  std::size_t index;
  /// As the server has it, if it does, and who has saved that.
  std::shared_ptr<const CKRecord> serverRecord;
  std::string device;
};

struct ModifyOutcome {
  std::vector<SaveConflict> conflicts;
  /// When there are no conflicts.
  CloudBatchResult result;
};

CKResult<ModifyOutcome> modifyOutcome(const CloudBatch& batch,
                                      const PostgreSQLConnection::Results& results);

/// One statement, since the changes and how far they go must be of one moment.
PostgreSQLStatement fetchStatement(const CKRecordZoneID& zoneID,
                                   const std::optional<CKServerChangeToken>& token,
                                   std::size_t limit);
CKResult<CloudChanges> fetchedChanges(const CKRecordZoneID& zoneID, std::size_t limit,
                                      const PostgreSQLResult& result);

CKError noSuchZone(const CKRecordZoneID& zoneID);

}  // namespace orvane
