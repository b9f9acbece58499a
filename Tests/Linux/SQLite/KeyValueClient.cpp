// A process that uses a database of keys and values as a test tells it.

#include <csignal>
#include <cstdio>
#include <map>
#include <string>

#include <fmt/format.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Linux/SQLite/SQLiteKeyValueDatabase.h"
#include "Tests/Linux/SQLite/KeyValueExchange.h"

namespace orvane::test {
namespace {

using Value = std::optional<PropertyListValue>;
using Transaction = KeyValueDatabase::Transaction;

std::int64_t numberOf(const Value& value) {
  const auto* number = value ? value->as<std::int64_t>() : nullptr;
  return number == nullptr ? 0 : *number;
}

int exchange(const std::string& path) {
  constexpr std::int64_t count = 1000;
  const auto called = exchangeValues(path, "client", "test", count);
  fmt::print("{}", called);
  return 0;
}

int increment(const std::string& path) {
  MainLoop loop;
  SQLiteKeyValueDatabase database(path, loop.queue);
  for (int time = 0; time < 500; ++time) {
    const auto result = database.transact([](Transaction& transaction) {
      transaction.setValue("n", numberOf(transaction.value("n")) + 1);
    });
    if (!result) return fmt::print(stderr, "{}\n", result.error().localizedDescription), 1;
  }
  return 0;
}

/// Adds entries, and a number that counts them, until it is killed; says the number on its standard
/// output after each.
int addForEver(const std::string& path) {
  MainLoop loop;
  SQLiteKeyValueDatabase database(path, loop.queue);
  while (true) {
    std::int64_t number = 0;
    const auto result = database.transact([&](Transaction& transaction) {
      number = numberOf(transaction.value("n")) + 1;
      transaction.setEntry("entries", std::to_string(number), number);
      transaction.setValue("n", number);
    });
    if (!result) return fmt::print(stderr, "{}\n", result.error().localizedDescription), 1;
    if (::write(STDOUT_FILENO, &number, sizeof number) != sizeof number) return 1;
  }
}

int report(const Expected<void>& result) {
  if (result) return fmt::print("no error"), 0;
  const auto& error = result.error();
  fmt::print("{} {}\n{}", error.domain, error.code, error.localizedDescription);
  return 0;
}

/// Writes a value that does not fit, and then one that does.
int fillDisk(const std::string& path) {
  MainLoop loop;
  SQLiteKeyValueDatabase database(path, loop.queue);
  if (!database.open()) return 1;
  // Without this the signal ends the process; with it the write fails.
  if (std::signal(SIGXFSZ, SIG_IGN) == SIG_ERR) return 1;
  const rlimit limit{1 << 20, 1 << 20};
  if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
  const auto large = database.transact([](Transaction& transaction) {
    transaction.setValue("small", "changed");
    transaction.setValue("large", std::string(4 << 20, 'x'));
  });
  const auto small =
      database.transact([](Transaction& transaction) { transaction.setValue("after", true); });
  return small ? report(large) : 1;
}

int writeWithoutPermission(const std::string& path) {
  constexpr uid_t nobody = 65534;
  if (::geteuid() == 0 && ::setuid(nobody) != 0) return 1;
  MainLoop loop;
  SQLiteKeyValueDatabase database(path, loop.queue);
  return report(
      database.transact([](Transaction& transaction) { transaction.setValue("k", "new"); }));
}

}  // namespace
}  // namespace orvane::test

int main(int argc, char** argv) {
  using namespace orvane::test;
  const std::map<std::string, int (*)(const std::string&)> commands{
      {"exchange", exchange},
      {"increment", increment},
      {"add-for-ever", addForEver},
      {"fill-disk", fillDisk},
      {"write-without-permission", writeWithoutPermission}};
  const auto command = argc == 3 ? commands.find(argv[1]) : commands.end();
  return command == commands.end() ? 2 : command->second(argv[2]);
}
