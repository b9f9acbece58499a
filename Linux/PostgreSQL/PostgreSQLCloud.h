#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "Linux/PostgreSQL/PostgreSQLConnection.h"
#include "Linux/PostgreSQL/PostgreSQLListener.h"
#include "Linux/PostgreSQL/PostgreSQLRecords.h"
#include "Platform/CloudKit/CloudBackend.h"

namespace orvane {

/// A cloud in a PostgreSQL database, prepared by `installCloud`, of at least version 14. The user
/// is the role that connects.
class PostgreSQLCloud final : public CloudBackend {
 public:
  struct Options {
    PostgreSQLTimeouts timeouts;
    /// How often changes are looked for that no notification came of.
    std::chrono::milliseconds lookInterval = std::chrono::minutes(1);
  };

  /// The device names this machine among the user's own.
  PostgreSQLCloud(std::string connectionString, std::string device, Options options);
  PostgreSQLCloud(std::string connectionString, std::string device)
      : PostgreSQLCloud(std::move(connectionString), std::move(device), Options()) {}

  CKResult<CKAccountStatus> accountStatus(const CloudCall& call) override;
  CKResult<void> saveZone(const CKRecordZoneID& zoneID, const CloudCall& call) override;
  CKResult<void> deleteZone(const CKRecordZoneID& zoneID, const CloudCall& call) override;
  CKResult<void> saveSubscription(const CKSubscription& subscription,
                                  const CloudCall& call) override;
  /// When the answer to an earlier call for some of the records was lost, and the server has them
  /// as this machine wants to save them, and from this machine, that call has saved them: they are
  /// no conflict.
  CKResult<CloudBatchResult> modifyRecords(const CloudBatch& batch, const CloudCall& call) override;
  CKResult<CloudChanges> fetchChanges(const CKRecordZoneID& zoneID,
                                      const std::optional<CKServerChangeToken>& token,
                                      std::size_t limit, const CloudCall& call) override;
  CKResult<CloudKeyValues> exchangeKeyValues(const CloudKeyValueChanges& changes,
                                             const std::optional<CKServerChangeToken>& token,
                                             const CloudCall& call) override;
  CKResult<void> addPublicRecord(const CKRecord& record, const CloudCall& call) override;
  void setListener(std::function<void(const CloudEvent&)> told) override;

 private:
  using Results = PostgreSQLConnection::Results;
  using Statements = PostgreSQLConnection::Statements;

  bool isConnected();
  CKResult<void> connect(const CloudCall& call);
  CKResult<Results> read(const Statements& statements, const CloudCall& call);
  CKResult<Results> change(const Statements& statements, const CloudCall& call);
  CKResult<ModifyOutcome> modify(const CloudBatch& batch, const ExpectedTags& expectedTags,
                                 const CloudCall& call);
  bool expectWhatWasSaved(const CloudBatch& batch, ModifyOutcome& outcome,
                          ExpectedTags& expectedTags) const;
  bool wasSavedFromHere(const CKRecord& record, const SaveConflict& conflict) const;

  const std::string connectionString_;
  const std::string device_;
  const Options options_;

  std::optional<PostgreSQLConnection> connection_;
  std::string channel_;
  int failures_ = 0;
  /// The records that a call may have saved or not, since its answer was lost.
  std::set<CKRecordID> unsettled_;

  std::mutex listenerMutex_;
  std::unique_ptr<PostgreSQLListener> listener_;
};

}  // namespace orvane
