#include "BlockerKit/SyncManager/RecordMetadata.h"

#include <fmt/format.h>

#include "Platform/Foundation/NSKeyedArchiver.h"

namespace orvane {

PropertyListValue::Data RecordMetadata::getMetadata(const CKRecord& record) {
  NSKeyedArchiver archiver(CKRecord::className);
  record.encodeSystemFields(archiver);
  auto data = archiver.finishEncoding();
  standardOutput_.print(fmt::format("Changetag for {}: {}", record.recordID().recordName,
                                    record.recordChangeTag().value_or("none")));
  return data;
}

void RecordMetadata::updateMetadata(const CKRecord& record,
                                    KeyValueDatabase::Transaction& transaction) {
  transaction.setEntry(key, record.recordID().recordName, getMetadata(record));
}

std::optional<CKRecord> recordFromMetadata(const PropertyListValue& metadata) {
  const auto* data = metadata.as<PropertyListValue::Data>();
  if (data == nullptr) return std::nullopt;
  const auto unarchiver = NSKeyedUnarchiver::forReading(*data, CKRecord::className);
  if (!unarchiver) return std::nullopt;
  return CKRecord::decode(*unarchiver);
}

}  // namespace orvane
