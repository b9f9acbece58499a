#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "BlockerKit/SyncManager/FetchPass.h"
#include "Platform/CloudKit/CKRecordID.h"
#include "Platform/Foundation/KeyValueDatabase.h"
#include "Platform/Foundation/NSUserDefaults.h"

namespace orvane {

/// What was fetched and is not yet in the package files. It is stored together with the change
/// token, behind which the cloud tells of none of it again, so that the death of the process loses
/// nothing.
class FetchedPages {
 public:
  /// A dictionary: the name of a piece of a page, by which all are in the order in which they came,
  /// and a dictionary of "changed", an array of records, and "deleted", an array of record names,
  /// each unless it is empty. A piece is named by its page, a slash and a number. A record is a
  /// dictionary of "type", "name" and "fields", a text of JSON.
  static constexpr const char* key = "FetchedChanges";

  struct Page {
    std::string name;
    FetchPass pass;
  };

  /// `defaults` outlive this. No other process has pages of its own meanwhile.
  explicit FetchedPages(NSUserDefaults& defaults) : defaults_(defaults) {}

  /// What was stored before, in the order in which it came. To be called before anything is stored.
  /// What cannot be read is left out.
  std::vector<Page> stored(const CKRecordZoneID& zoneID);

  /// The name of one more page.
  std::string nextName();
  static void store(KeyValueDatabase::Transaction& transaction, const std::string& name,
                    const FetchPass& pass);
  /// The pages are in the package files. False when that cannot be written: a page that is older
  /// than what has been removed must not be found by the next process, which would undo the newer.
  bool remove(const std::vector<std::string>& names);

 private:
  NSUserDefaults& defaults_;
  std::uint64_t count_ = 0;
};

}  // namespace orvane
