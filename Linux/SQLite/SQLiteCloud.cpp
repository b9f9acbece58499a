#include "Linux/SQLite/SQLiteCloud.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "Linux/SQLite/CloudFailure.h"
#include "Linux/SQLite/CloudFile.h"
#include "Linux/SQLite/CloudKeyValueTable.h"
#include "Linux/SQLite/CloudRecords.h"
#include "Linux/SQLite/CloudWatch.h"
#include "Linux/SQLite/CloudZones.h"
#include "Linux/SQLite/Doorbell.h"

namespace orvane {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds longestWait{10};
constexpr std::chrono::milliseconds longestPause{50};

struct SQLiteCloud::Opened {
  explicit Opened(SQLiteConnection itsConnection) : connection(std::move(itsConnection)) {}

  // The statements end before their connection.
  SQLiteConnection connection;
  CloudZones zones{connection};
  CloudRecords records{connection};
  CloudKeyValueTable keyValues{connection};
};

/// The wait of one call for those who write.
struct SQLiteCloud::Waiting {
  const CloudCall& call;
  Clock::time_point end = Clock::now() + longestWait;

  bool isOver() const { return call.isCancelled() || Clock::now() >= end; }

  /// `count` tells how often this was asked. Zero gives up.
  static int isToGoOn(void* self, int count) {
    if (static_cast<const Waiting*>(self)->isOver()) return 0;
    std::this_thread::sleep_for(std::min(std::chrono::milliseconds(1 + count), longestPause));
    return 1;
  }
};

namespace {

/// Rolled back at its end unless it was committed.
class Transaction {
 public:
  explicit Transaction(SQLiteConnection& connection) : connection_(connection) {}
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  ~Transaction() {
    // After some errors SQLite has done it already.
    if (connection_.isInTransaction()) static_cast<void>(connection_.execute("ROLLBACK"));
  }

  Expected<void> begin(const char* statement) { return connection_.execute(statement); }
  Expected<void> commit() { return connection_.execute("COMMIT"); }

 private:
  SQLiteConnection& connection_;
};

tl::unexpected<CKError> cancellation() {
  return cloudFailure(CKErrorCode::operationCancelled, "The operation was cancelled.");
}

}  // namespace

SQLiteCloud::SQLiteCloud(const std::filesystem::path& path)
    : path_(std::filesystem::absolute(path)) {}

SQLiteCloud::~SQLiteCloud() = default;

CKResult<void> SQLiteCloud::open(Waiting& waiting) {
  if (opened_ && opened_->connection.isInPlace()) return {};
  opened_.reset();
  while (true) {
    auto connection = openCloudFile(path_, static_cast<int>(longestPause.count()));
    if (connection) {
      opened_ = std::make_unique<Opened>(*std::move(connection));
      return {};
    }
    auto error = cloudError(connection.error());
    if (error.code != CKErrorCode::zoneBusy || waiting.isOver()) {
      return tl::unexpected(std::move(error));
    }
  }
}

template <typename Value>
CKResult<Value> SQLiteCloud::perform(const char* begin, const CloudCall& call,
                                     const std::function<CKResult<Value>(Opened&)>& body) {
  if (call.isCancelled()) return cancellation();
  Waiting waiting{call};
  auto result = [&]() -> CKResult<Value> {
    if (const auto opened = open(waiting); !opened) return tl::unexpected(opened.error());
    sqlite3_busy_handler(opened_->connection.handle(), &Waiting::isToGoOn, &waiting);
    Transaction transaction(opened_->connection);
    if (const auto begun = transaction.begin(begin); !begun) return cloudFailure(begun.error());
    auto value = body(*opened_);
    if (!value) return value;
    if (const auto done = transaction.commit(); !done) return cloudFailure(done.error());
    return value;
  }();
  if (opened_) sqlite3_busy_handler(opened_->connection.handle(), nullptr, nullptr);
  // Somebody may put another content into the same file.
  if (!result && result.error().code == CKErrorCode::badContainer) opened_.reset();
  const bool wasBusy = !result && result.error().code == CKErrorCode::zoneBusy;
  if (wasBusy && call.isCancelled()) return cancellation();
  return result;
}

template <typename Value>
CKResult<Value> SQLiteCloud::write(const CloudCall& call,
                                   const std::function<CKResult<Value>(Opened&)>& body) {
  auto result = perform<Value>("BEGIN IMMEDIATE", call, body);
  if (result) ringDoorbell(doorbellOf(path_));
  return result;
}

template <typename Value>
CKResult<Value> SQLiteCloud::read(const CloudCall& call,
                                  const std::function<CKResult<Value>(Opened&)>& body) {
  return perform<Value>("BEGIN", call, body);
}

CKResult<CKAccountStatus> SQLiteCloud::accountStatus(const CloudCall& call) {
  return read<CKAccountStatus>(call, [](Opened& /*opened*/) { return CKAccountStatus::available; });
}

CKResult<void> SQLiteCloud::saveZone(const CKRecordZoneID& zoneID, const CloudCall& call) {
  return write<void>(call, [&](Opened& opened) { return opened.zones.save(zoneID); });
}

CKResult<void> SQLiteCloud::deleteZone(const CKRecordZoneID& zoneID, const CloudCall& call) {
  return write<void>(call, [&](Opened& opened) { return opened.zones.remove(zoneID); });
}

CKResult<void> SQLiteCloud::saveSubscription(const CKSubscription& subscription,
                                             const CloudCall& call) {
  return write<void>(call,
                     [&](Opened& opened) { return opened.zones.saveSubscription(subscription); });
}

CKResult<CloudBatchResult> SQLiteCloud::modifyRecords(const CloudBatch& batch,
                                                      const CloudCall& call) {
  return write<CloudBatchResult>(call, [&](Opened& opened) -> CKResult<CloudBatchResult> {
    const auto zone = opened.zones.find(batch.zoneID);
    if (!zone) return tl::unexpected(zone.error());
    auto modified = opened.records.modify(*zone, batch);
    if (!modified) return tl::unexpected(modified.error());
    const auto counted = opened.zones.setLastChange(*zone, modified->lastChange);
    if (!counted) return tl::unexpected(counted.error());
    return std::move(modified->result);
  });
}

CKResult<CloudChanges> SQLiteCloud::fetchChanges(const CKRecordZoneID& zoneID,
                                                 const std::optional<CKServerChangeToken>& token,
                                                 std::size_t limit, const CloudCall& call) {
  return read<CloudChanges>(call, [&](Opened& opened) -> CKResult<CloudChanges> {
    const auto zone = opened.zones.find(zoneID);
    if (!zone) return tl::unexpected(zone.error());
    return opened.records.changes(*zone, zoneID, token, limit);
  });
}

CKResult<CloudKeyValues> SQLiteCloud::exchangeKeyValues(
    const CloudKeyValueChanges& changes, const std::optional<CKServerChangeToken>& token,
    const CloudCall& call) {
  if (changes.empty()) {
    return read<CloudKeyValues>(
        call, [&](Opened& opened) { return opened.keyValues.changes(token, changes); });
  }
  return write<CloudKeyValues>(call, [&](Opened& opened) -> CKResult<CloudKeyValues> {
    if (const auto made = opened.keyValues.make(changes); !made) {
      return tl::unexpected(made.error());
    }
    return opened.keyValues.changes(token, changes);
  });
}

CKResult<void> SQLiteCloud::addPublicRecord(const CKRecord& record, const CloudCall& call) {
  return write<void>(call, [&](Opened& opened) { return opened.records.addPublic(record); });
}

void SQLiteCloud::setListener(std::function<void(const CloudEvent&)> told) {
  const std::lock_guard lock(watchMutex_);
  watch_.reset();
  if (told) watch_ = std::make_unique<CloudWatch>(path_, std::move(told));
}

}  // namespace orvane
