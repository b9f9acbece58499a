// A process that uses a cloud as a test tells it.

#include "Tests/Linux/CloudClient.h"

#include <csignal>
#include <map>
#include <memory>
#include <string>

#include <fmt/format.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Linux/PostgreSQL/PostgreSQLCloud.h"
#include "Linux/SQLite/SQLiteCloud.h"

namespace orvane::test {
namespace {

/// In the file of that path, or in the database of that connection string.
std::unique_ptr<CloudBackend> cloudAt(const std::string& address) {
  if (address.starts_with('/')) return std::make_unique<SQLiteCloud>(address);
  return std::make_unique<PostgreSQLCloud>(address, std::to_string(::getpid()));
}

CKRecord recordOf(const std::string& name, std::int64_t number) {
  CKRecord record("Rule", {name, zoneOfClients});
  record.setValue("number", CKRecordValue(number));
  return record;
}

CKResult<CloudBatchResult> save(CloudBackend& cloud, std::vector<CKRecord> records) {
  return cloud.modifyRecords({zoneOfClients, std::move(records), {}}, {});
}

int fail(const CKError& error) {
  fmt::print(stderr, "{}\n", error.localizedDescription);
  return 1;
}

/// Saves batches of records of its own; says each record's name and change tag on its standard
/// output once the batch was acknowledged.
int write(CloudBackend& cloud) {
  for (int batch = 0; batch < batchesOfAWriter; ++batch) {
    std::vector<CKRecord> records;
    for (int index = 0; index < recordsOfABatch; ++index) {
      records.push_back(recordOf(fmt::format("{}-{}-{}", ::getpid(), batch, index), batch));
    }
    const auto result = save(cloud, records);
    if (!result) return fail(result.error());
    for (std::size_t index = 0; index < records.size(); ++index) {
      fmt::print("{} {}\n", records[index].recordID().recordName, result->changeTags[index]);
    }
  }
  return 0;
}

/// Adds one to the number of the only record, until it has succeeded so often.
int add(CloudBackend& cloud) {
  const auto found = cloud.fetchChanges(zoneOfClients, std::nullopt, 1, {});
  if (!found) return fail(found.error());
  auto record = found->changed.at(0);
  for (int added = 0; added < additionsOfAClient;) {
    record.setValue("number", CKRecordValue(*record.as<std::int64_t>("number") + 1));
    const auto result = save(cloud, {record});
    if (result) {
      record = record.savedWithChangeTag(result->changeTags[0]);
      ++added;
    } else if (result.error().code == CKErrorCode::partialFailure) {
      record = *result.error().partialErrorsByItemID.at(0).error.serverRecord;
    } else {
      return fail(result.error());
    }
  }
  return 0;
}

/// Sets two records to the same number, one more each time, until it is killed; says the number on
/// its standard output after each batch.
int writeForEver(CloudBackend& cloud) {
  const auto found = cloud.fetchChanges(zoneOfClients, std::nullopt, 10, {});
  if (!found) return fail(found.error());
  auto records = found->changed;
  if (records.empty()) records = {recordOf("a", 0), recordOf("b", 0)};
  while (true) {
    const auto* last = records[0].as<std::int64_t>("number");
    const auto number = (last == nullptr ? 0 : *last) + 1;
    for (auto& record : records) record.setValue("number", CKRecordValue(number));
    const auto result = save(cloud, records);
    if (!result) return fail(result.error());
    for (std::size_t index = 0; index < records.size(); ++index) {
      records[index] = records[index].savedWithChangeTag(result->changeTags[index]);
    }
    if (::write(STDOUT_FILENO, &number, sizeof number) != sizeof number) return 1;
  }
}

int report(const CKResult<CloudBatchResult>& result) {
  if (result) return fmt::print("no error"), 0;
  const auto& error = result.error();
  fmt::print("{} {}\n{}", static_cast<int>(error.code), error.retryAfter.has_value(),
             error.localizedDescription);
  return 0;
}

/// Saves a record that does not fit, and then one that does.
int fillDisk(CloudBackend& cloud) {
  if (!cloud.accountStatus({})) return 1;
  // Without this the signal ends the process; with it the write fails.
  if (std::signal(SIGXFSZ, SIG_IGN) == SIG_ERR) return 1;
  const rlimit limit{1 << 20, 1 << 20};
  if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
  auto large = recordOf("large", 1);
  large.setValue("text", CKRecordValue(std::string(4 << 20, 'x')));
  const auto result = save(cloud, {recordOf("before", 1), large});
  return save(cloud, {recordOf("after", 1)}) ? report(result) : 1;
}

int writeWithoutPermission(CloudBackend& cloud) {
  constexpr uid_t nobody = 65534;
  if (::geteuid() == 0 && ::setuid(nobody) != 0) return 1;
  return report(save(cloud, {recordOf("a", 1)}));
}

}  // namespace
}  // namespace orvane::test

int main(int argc, char** argv) {
  using namespace orvane::test;
  const std::map<std::string, int (*)(orvane::CloudBackend&)> commands{
      {"write", write},
      {"add", add},
      {"write-for-ever", writeForEver},
      {"fill-disk", fillDisk},
      {"write-without-permission", writeWithoutPermission}};
  const auto command = argc == 3 ? commands.find(argv[1]) : commands.end();
  return command == commands.end() ? 2 : command->second(*cloudAt(argv[2]));
}
