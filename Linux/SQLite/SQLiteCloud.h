#pragma once

#include <filesystem>
#include <memory>
#include <mutex>

#include "Platform/CloudKit/CloudBackend.h"

namespace orvane {

class CloudWatch;

/// A cloud in an SQLite file that the processes of one machine share, of the one user whose file it
/// is, beside a doorbell file, "NAME.doorbell" for "NAME.sqlite". Both are made at the first use,
/// with mode 0600; the folder has to be there. Another file in its place is another cloud and is
/// opened by the next call.
///
/// A process that forks must not use, nor destroy, in the child what the parent has made.
class SQLiteCloud final : public CloudBackend {
 public:
  explicit SQLiteCloud(const std::filesystem::path& path);
  ~SQLiteCloud() override;

  /// `available` when the file can be opened.
  CKResult<CKAccountStatus> accountStatus(const CloudCall& call) override;
  CKResult<void> saveZone(const CKRecordZoneID& zoneID, const CloudCall& call) override;
  CKResult<void> deleteZone(const CKRecordZoneID& zoneID, const CloudCall& call) override;
  CKResult<void> saveSubscription(const CKSubscription& subscription,
                                  const CloudCall& call) override;
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
  struct Opened;
  struct Waiting;

  template <typename Value>
  CKResult<Value> perform(const char* begin, const CloudCall& call,
                          const std::function<CKResult<Value>(Opened&)>& body);
  template <typename Value>
  CKResult<Value> write(const CloudCall& call, const std::function<CKResult<Value>(Opened&)>& body);
  template <typename Value>
  CKResult<Value> read(const CloudCall& call, const std::function<CKResult<Value>(Opened&)>& body);
  CKResult<void> open(Waiting& waiting);

  std::filesystem::path path_;
  std::unique_ptr<Opened> opened_;

  std::mutex watchMutex_;
  std::unique_ptr<CloudWatch> watch_;  ///< guarded by `watchMutex_`
};

}  // namespace orvane
