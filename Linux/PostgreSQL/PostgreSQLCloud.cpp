#include "Linux/PostgreSQL/PostgreSQLCloud.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "Linux/PostgreSQL/PostgreSQLFailure.h"
#include "Linux/PostgreSQL/PostgreSQLKeyValues.h"
#include "Linux/PostgreSQL/PostgreSQLSchema.h"
#include "Platform/CloudKit/RecordFieldsJSON.h"

namespace orvane {
namespace {

constexpr const char* insertZone =
    "INSERT INTO orvane.zones (zone) VALUES ($1) ON CONFLICT DO NOTHING RETURNING id";
constexpr const char* removeZone =
    "DELETE FROM orvane.zones WHERE owner = current_user AND zone = $1 RETURNING id";
constexpr const char* subscribe =
    "UPDATE orvane.zones SET subscription = $2 "
    "WHERE owner = current_user AND zone = $1 AND subscription IS NULL RETURNING id";
constexpr const char* findSubscription =
    "SELECT subscription FROM orvane.zones WHERE owner = current_user AND zone = $1";
/// The user may not read what is there, and so the statement gives and names nothing of it.
constexpr const char* insertReport =
    "INSERT INTO orvane.reports (id, type, fields, device) VALUES ($1, $2, $3, $4) "
    "ON CONFLICT DO NOTHING";
/// Within the transaction of the change it would make all users of the server wait for each other.
constexpr const char* notify = "SELECT pg_notify($1, '')";

CKResult<void> nothing(const CKResult<PostgreSQLConnection::Results>& results) {
  if (!results) return tl::unexpected(results.error());
  return {};
}

CKError partialFailure(const CloudBatch& batch, const std::vector<SaveConflict>& conflicts) {
  auto error =
      cloudError({CKErrorCode::partialFailure}, "Some records are not as they were expected.");
  for (const auto& conflict : conflicts) {
    const auto& recordID = batch.recordsToSave[conflict.index].recordID();
    auto entry = conflict.serverRecord
                     ? cloudError({CKErrorCode::serverRecordChanged},
                                  "The record was changed since it was fetched.")
                     : cloudError({CKErrorCode::unknownItem}, "There is no such record any more.");
    entry.serverRecord = conflict.serverRecord;
    error.partialErrorsByItemID.push_back({recordID, std::move(entry)});
  }
  return error;
}

bool isOutcomeUnknown(const CKError& error) {
  return error.code == CKErrorCode::networkFailure || error.code == CKErrorCode::operationCancelled;
}

}  // namespace

PostgreSQLCloud::PostgreSQLCloud(std::string connectionString, std::string device, Options options)
    : connectionString_(std::move(connectionString)),
      device_(std::move(device)),
      options_(options) {}

bool PostgreSQLCloud::isConnected() { return connection_ && connection_->isOpen(); }

CKResult<void> PostgreSQLCloud::connect(const CloudCall& call) {
  if (isConnected()) return {};
  connection_.reset();
  auto opened = PostgreSQLConnection::open(connectionString_, options_.timeouts, failures_, call);
  if (!opened) {
    if (opened.error().code == CKErrorCode::networkFailure) ++failures_;
    return tl::unexpected(std::move(opened).error());
  }
  failures_ = 0;
  auto channel = accountChannel(*opened, call);
  if (!channel) return tl::unexpected(std::move(channel).error());
  connection_ = *std::move(opened);
  channel_ = *std::move(channel);
  return {};
}

CKResult<PostgreSQLCloud::Results> PostgreSQLCloud::read(const Statements& statements,
                                                         const CloudCall& call) {
  if (auto connected = connect(call); !connected) return tl::unexpected(connected.error());
  return connection_->transact(statements, call);
}

CKResult<PostgreSQLCloud::Results> PostgreSQLCloud::change(const Statements& statements,
                                                           const CloudCall& call) {
  if (auto connected = connect(call); !connected) return tl::unexpected(connected.error());
  return connection_->transact(statements, call, {{notify, {PostgreSQLValue::text(channel_)}}});
}

CKResult<CKAccountStatus> PostgreSQLCloud::accountStatus(const CloudCall& call) {
  const bool wasConnected = isConnected();
  auto known = connect(call);
  // A new connection has just been asked.
  if (known && wasConnected) {
    const auto channel = accountChannel(*connection_, call);
    if (!channel) known = tl::unexpected(channel.error());
  }
  if (known) return CKAccountStatus::available;
  if (known.error().code == CKErrorCode::notAuthenticated) return CKAccountStatus::noAccount;
  if (known.error().code == CKErrorCode::permissionFailure) return CKAccountStatus::restricted;
  return tl::unexpected(known.error());
}

CKResult<void> PostgreSQLCloud::saveZone(const CKRecordZoneID& zoneID, const CloudCall& call) {
  const auto results = read({{insertZone, {PostgreSQLValue::text(zoneID.zoneName)}}}, call);
  if (results && results->front().rows() == 0) {
    return tl::unexpected(cloudError({CKErrorCode::serverRejectedRequest},
                                     fmt::format("There is a zone '{}'.", zoneID.zoneName)));
  }
  return nothing(results);
}

CKResult<void> PostgreSQLCloud::deleteZone(const CKRecordZoneID& zoneID, const CloudCall& call) {
  const auto results = change({{removeZone, {PostgreSQLValue::text(zoneID.zoneName)}}}, call);
  if (results && results->front().rows() == 0) return tl::unexpected(noSuchZone(zoneID));
  return nothing(results);
}

CKResult<void> PostgreSQLCloud::saveSubscription(const CKSubscription& subscription,
                                                 const CloudCall& call) {
  const auto zone = PostgreSQLValue::text(subscription.zoneID.zoneName);
  const auto results =
      read({{subscribe, {zone, PostgreSQLValue::text(subscription.subscriptionID)}},
            {findSubscription, {zone}}},
           call);
  if (!results) return tl::unexpected(results.error());
  const auto& saved = results->at(0);
  const auto& found = results->at(1);
  if (found.rows() == 0) return tl::unexpected(noSuchZone(subscription.zoneID));
  if (saved.rows() > 0) return {};
  return tl::unexpected(
      cloudError({CKErrorCode::serverRejectedRequest},
                 fmt::format("The subscription is a duplicate of {}", found.text(0, 0))));
}

CKResult<CloudBatchResult> PostgreSQLCloud::modifyRecords(const CloudBatch& batch,
                                                          const CloudCall& call) {
  ExpectedTags expectedTags;
  for (const auto& record : batch.recordsToSave) expectedTags.push_back(record.recordChangeTag());
  auto outcome = modify(batch, expectedTags, call);
  if (outcome && expectWhatWasSaved(batch, *outcome, expectedTags)) {
    outcome = modify(batch, expectedTags, call);
  }
  if (!outcome) return tl::unexpected(std::move(outcome).error());
  if (!outcome->conflicts.empty()) {
    return tl::unexpected(partialFailure(batch, outcome->conflicts));
  }
  for (const auto& record : batch.recordsToSave) unsettled_.erase(record.recordID());
  return std::move(outcome->result);
}

CKResult<ModifyOutcome> PostgreSQLCloud::modify(const CloudBatch& batch,
                                                const ExpectedTags& expectedTags,
                                                const CloudCall& call) {
  const auto statements = modifyStatements(batch, expectedTags, device_);
  if (!statements) return tl::unexpected(statements.error());
  if (auto connected = connect(call); !connected) return tl::unexpected(connected.error());
  const auto results = change(*statements, call);
  if (results) return modifyOutcome(batch, *results);
  if (isOutcomeUnknown(results.error())) {
    for (const auto& record : batch.recordsToSave) unsettled_.insert(record.recordID());
  }
  return tl::unexpected(results.error());
}

/// Takes the conflicts away that are none. Whether the batch is to be tried again then: some are
/// gone, and no other is left.
bool PostgreSQLCloud::expectWhatWasSaved(const CloudBatch& batch, ModifyOutcome& outcome,
                                         ExpectedTags& expectedTags) const {
  return std::erase_if(outcome.conflicts,
                       [&](const SaveConflict& conflict) {
                         if (!wasSavedFromHere(batch.recordsToSave[conflict.index], conflict))
                           return false;
                         expectedTags[conflict.index] = conflict.serverRecord->recordChangeTag();
                         return true;
                       }) > 0 &&
         outcome.conflicts.empty();
}

bool PostgreSQLCloud::wasSavedFromHere(const CKRecord& record, const SaveConflict& conflict) const {
  if (!unsettled_.contains(record.recordID()) || !conflict.serverRecord) return false;
  if (conflict.device != device_) return false;
  const auto& server = *conflict.serverRecord;
  const auto changedKeys = record.changedKeys();
  return server.recordType() == record.recordType() &&
         std::all_of(changedKeys.begin(), changedKeys.end(),
                     [&](const auto& key) { return server.value(key) == record.value(key); });
}

CKResult<CloudChanges> PostgreSQLCloud::fetchChanges(
    const CKRecordZoneID& zoneID, const std::optional<CKServerChangeToken>& token,
    std::size_t limit, const CloudCall& call) {
  const auto results = read({fetchStatement(zoneID, token, limit)}, call);
  if (!results) return tl::unexpected(results.error());
  return fetchedChanges(zoneID, limit, results->front());
}

CKResult<CloudKeyValues> PostgreSQLCloud::exchangeKeyValues(
    const CloudKeyValueChanges& changes, const std::optional<CKServerChangeToken>& token,
    const CloudCall& call) {
  const auto statements = exchangeStatements(changes, token);
  if (!statements) return tl::unexpected(statements.error());
  const auto results = changes.empty() ? read(*statements, call) : change(*statements, call);
  if (!results) return tl::unexpected(results.error());
  return exchangedKeyValues(results->back());
}

CKResult<void> PostgreSQLCloud::addPublicRecord(const CKRecord& record, const CloudCall& call) {
  const auto fields = recordFieldsToJSON(record.fields());
  if (!fields) {
    return tl::unexpected(
        cloudError({CKErrorCode::invalidArguments}, fields.error().localizedDescription));
  }
  return nothing(read({{insertReport,
                        {PostgreSQLValue::text(record.recordID().recordName),
                         PostgreSQLValue::text(record.recordType()), PostgreSQLValue::json(*fields),
                         PostgreSQLValue::text(device_)}}},
                      call));
}

void PostgreSQLCloud::setListener(std::function<void(const CloudEvent&)> told) {
  const std::lock_guard lock(listenerMutex_);
  listener_.reset();
  if (!told) return;
  listener_ = std::make_unique<PostgreSQLListener>(connectionString_, options_.timeouts,
                                                   options_.lookInterval, std::move(told));
}

}  // namespace orvane
