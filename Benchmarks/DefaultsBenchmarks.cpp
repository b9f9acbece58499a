#include <array>
#include <csignal>
#include <functional>
#include <random>
#include <string>

#include <glib.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Check.h"
#include "Benchmarks/Measurement.h"
#include "Linux/GLib/MainLoopExecutor.h"
#include "Linux/Posix/FileDescriptor.h"
#include "Linux/SQLite/SQLiteKeyValueDatabase.h"
#include "Linux/SQLite/SQLiteStatement.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Tests/Support/RecordingOutput.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::benchmarks {
namespace {

constexpr int busyTimeout = 5000;
constexpr std::int64_t entryCount = 150'000;
constexpr const char* text = "a value of forty characters, or nearly so";

/// User defaults of their own, and beside them a table that is used without them.
class DefaultsMachine {
 public:
  DefaultsMachine() {
    check(raw_.has_value() && raw_->execute("PRAGMA journal_mode = WAL;"
                                            "PRAGMA synchronous = NORMAL;"
                                            "CREATE TABLE value (id INTEGER PRIMARY KEY, value)")
                                  .has_value(),
          "There is no database to compare with");
  }

  const std::string& path() const { return path_; }
  NSUserDefaults& defaults() { return defaults_; }
  sqlite3* raw() { return raw_->handle(); }

  template <typename Condition>
  void runUntil(Condition condition) {
    while (!condition()) g_main_context_iteration(nullptr, TRUE);
  }

 private:
  test::TemporaryDirectory folder_;
  std::string path_ = folder_ / "UserDefaults.sqlite";
  Expected<SQLiteConnection> raw_ =
      SQLiteConnection::open(folder_ / "raw.sqlite", folder_.path(), busyTimeout);
  MainLoopExecutor mainQueue_;
  SQLiteKeyValueDatabase database_{path_, mainQueue_};
  test::RecordingOutput log_;
  NSUserDefaults defaults_{database_, log_};
};

/// Another value at every call.
std::string nextText() {
  static std::int64_t count = 0;
  return text + std::to_string(++count);
}

void set(benchmark::State& state) {
  DefaultsMachine machine;
  const SQLiteStatement insert(machine.raw(), "INSERT OR REPLACE INTO value VALUES (1, ?)");
  measureBeside(
      state, [] {},
      [&] { check(machine.defaults().setObject(nextText(), "k").has_value(), "Cannot set"); },
      [&] { check(SQLiteRun(insert, nextText()).finish(), "Cannot insert"); });
}

void get(benchmark::State& state) {
  DefaultsMachine machine;
  check(machine.defaults().setObject(text, "k").has_value(), "Cannot set");
  const SQLiteStatement insert(machine.raw(), "INSERT INTO value VALUES (1, ?)");
  check(SQLiteRun(insert, std::string_view(text)).finish(), "Cannot insert");
  const SQLiteStatement select(machine.raw(), "SELECT value FROM value WHERE id = 1");
  measureBeside(
      state, [] {}, [&] { check(machine.defaults().object("k").has_value(), "Cannot get"); },
      [&] {
        SQLiteRun run(select);
        check(run.next() && run.text(0) == text, "Cannot select");
      });
}

/// One entry added to a large dictionary, beside the same in an empty one.
void addEntry(benchmark::State& state) {
  DefaultsMachine machine;
  PropertyListValue::Dictionary large;
  for (std::int64_t entry = 0; entry < entryCount; ++entry)
    large.emplace(std::to_string(entry), entry);
  check(machine.defaults().setObject(large, "large").has_value(), "Cannot set");
  check(machine.defaults().setObject(PropertyListValue::Dictionary(), "empty").has_value(),
        "Cannot set");
  const auto put = [&](const char* key, const KeyValueStore::Value& value) {
    check(machine.defaults().setEntry(key, "75000 and one", value).has_value(), "Cannot set");
  };
  std::minstd_rand random;
  const auto remove = [&] {
    put("large", std::nullopt);
    put("empty", std::nullopt);
    // Every so many pages a commit also empties the log. Were the pages of a round always as many,
    // that would always fall on the same side.
    for (auto count = random() % 8; count > 0; --count) {
      check(machine.defaults().setObject(nextText(), "k").has_value(), "Cannot set");
    }
  };
  measureBeside(
      state, remove, [&] { put("large", text); }, [&] { put("empty", text); });
}

/// A process whose standard input and output are pipes to this one; ends with this value.
class Peer {
 public:
  explicit Peer(const std::function<void()>& run) {
    std::array<int, 2> in{};
    std::array<int, 2> out{};
    check(::pipe(in.data()) == 0 && ::pipe(out.data()) == 0, "There are no pipes");
    toPeer_ = FileDescriptor(in[1]);
    fromPeer_ = FileDescriptor(out[0]);
    const FileDescriptor peerIn(in[0]);
    const FileDescriptor peerOut(out[1]);
    child_ = ::fork();
    if (child_ == 0) {
      ::dup2(peerIn.get(), STDIN_FILENO);
      ::dup2(peerOut.get(), STDOUT_FILENO);
      run();
      ::_exit(0);
    }
    check(child_ > 0, "There are no processes");
  }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;
  ~Peer() {
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
  }

  void send() const { check(::write(toPeer_.get(), "!", 1) == 1, "The peer is gone"); }
  void receive() const {
    char byte = 0;
    check(::read(fromPeer_.get(), &byte, 1) == 1, "The peer is gone");
  }

 private:
  FileDescriptor toPeer_;
  FileDescriptor fromPeer_;
  pid_t child_ = -1;
};

void echoBytes() {
  char byte = 0;
  while (::read(STDIN_FILENO, &byte, 1) == 1) {
    if (::write(STDOUT_FILENO, &byte, 1) != 1) return;
  }
}

/// From a set to the call of this process's observer for what another process's observer set,
/// beside a byte to another process and back.
void observe(benchmark::State& state) {
  DefaultsMachine machine;
  // Only a new program may use the database, which a forked one must not have of its parent.
  const Peer observer([&] {
    ::execl("/proc/self/exe", "orvane-benchmarks", echoDefaultsOption, machine.path().c_str(),
            nullptr);
  });
  const Peer bytes(echoBytes);
  std::int64_t heard = 0;
  const auto observation = machine.defaults().addObserver("pong", [&] { ++heard; });
  observer.receive();
  measureBeside(
      state, [] {},
      [&] {
        const auto wanted = heard + 1;
        check(machine.defaults().setObject(wanted, "ping").has_value(), "Cannot set");
        machine.runUntil([&] { return heard >= wanted; });
      },
      [&] {
        bytes.send();
        bytes.receive();
      });
}

void registerOne(const char* name, void (*function)(benchmark::State&)) {
  benchmark::RegisterBenchmark(name, function)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

}  // namespace

int echoDefaults(const std::string& path) {
  MainLoopExecutor mainQueue;
  SQLiteKeyValueDatabase database(path, mainQueue);
  test::RecordingOutput log;
  NSUserDefaults defaults(database, log);
  const auto observation = defaults.addObserver(
      "ping", [&] { check(defaults.setObject(nextText(), "pong").has_value(), "Cannot set"); });
  check(::write(STDOUT_FILENO, "!", 1) == 1, "Nobody listens");
  while (true) g_main_context_iteration(nullptr, TRUE);
}

void registerDefaults() {
  registerOne("defaults/set", set);
  registerOne("defaults/get", get);
  registerOne("defaults/addEntry/150000", addEntry);
  registerOne("defaults/observe", observe);
}

}  // namespace orvane::benchmarks
