#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <fcntl.h>

#include "Apps/Companion/SyncStatus.h"
#include "Benchmarks/BenchmarkBrowser.h"
#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Check.h"
#include "Benchmarks/RuleRecords.h"
#include "BlockerKit/Support/Stopwatch.h"
#include "BlockerKit/SyncManager/FetchedPages.h"
#include "Linux/LinuxPlatform.h"
#include "Linux/Posix/CloudAccount.h"
#include "Linux/Posix/FileDescriptor.h"
#include "Linux/PostgreSQL/PostgreSQLCloud.h"
#include "Linux/PostgreSQL/PostgreSQLSchema.h"
#include "Linux/WebKitGTK/ListCompiler.h"
#include "Tests/Apps/Processes/UserHome.h"
#include "Tests/Linux/PostgreSQL/PrivateCluster.h"
#include "Tests/Support/MainLoop.h"

namespace orvane::benchmarks {
namespace {

/// A server with a cloud for two users.
class Server {
 public:
  Server() {
    auto admin = PostgreSQLConnection::open(address("postgres"), {}, 0, {});
    check(admin && installCloud(*admin, {}), "There is no cloud");
    for (const auto* user : {"alice", "bob"}) {
      check(addCloudUser(*admin, user, std::nullopt, {}).has_value(), "There is no user");
    }
  }

  std::string address(const std::string& role) const { return cluster_.connectionString(role); }

 private:
  test::PrivateCluster cluster_{test::PrivateCluster::Network::none};
};

/// Two machines of another user that only hand records on: one saves, and the other, which waits
/// for the news of it, fetches.
class BareMachines {
 public:
  explicit BareMachines(const Server& server)
      : sender_(server.address("bob"), "sender"), receiver_(server.address("bob"), "receiver") {
    check(sender_.saveZone(ruleZone, {}) && receiver_.saveSubscription({"news", ruleZone}, {}),
          "There is no subscription");
    receiver_.setListener([this](const CloudEvent&) {
      const std::lock_guard lock(mutex_);
      hasNews_ = true;
      news_.notify_one();
    });
    handOn();
  }
  ~BareMachines() { receiver_.setListener({}); }
  BareMachines(const BareMachines&) = delete;
  BareMachines& operator=(const BareMachines&) = delete;

  void handOn() {
    const auto record = ruleRecords(count_ + 1).back();
    check(sender_.modifyRecords({ruleZone, {record}, {}}, {}).has_value(), "Cannot save");
    ++count_;
    while (seen_ < count_) {
      waitForNews();
      auto changes = receiver_.fetchChanges(ruleZone, token_, cloudPageSize, {});
      check(changes.has_value(), "Cannot fetch");
      seen_ += changes->changed.size();
      token_ = changes->token;
    }
  }

 private:
  void waitForNews() {
    std::unique_lock lock(mutex_);
    news_.wait(lock, [this] { return std::exchange(hasNews_, false); });
  }

  PostgreSQLCloud sender_;
  PostgreSQLCloud receiver_;
  std::optional<CKServerChangeToken> token_;
  std::size_t count_ = 0;
  std::size_t seen_ = 0;
  std::mutex mutex_;
  std::condition_variable news_;
  bool hasNews_ = false;
};

/// A machine whose companion runs, of the user whose cloud that is. This process becomes one of its
/// own.
class HomeAtWork {
 public:
  explicit HomeAtWork(const std::string& cloud) {
    ::setenv(CloudAccount::environmentVariable, cloud.c_str(), 1);
    companion_ = home_.startCompanion();
    // A browser would start another companion if it found none.
    test::MainLoop().lookUntil([this] { return home_.browserHasTheList(); });
  }

  test::UserHome& home() { return home_; }
  bool hasInList(const char* text) {
    return home_.get(home_.list()).find(text) != std::string::npos;
  }

 private:
  test::UserHome home_{test::UserHome::Compiler::real};
  std::unique_ptr<test::ChildProcess> companion_;
};

/// The browser of a machine, in this process, with its popover open.
class RunningBrowser {
 public:
  explicit RunningBrowser(const test::UserHome& home)
      : log_(::open(home.log().c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600)) {
    browser_.openPopover([this] { loop_.runUntilIdle(); });
  }

  void click() {
    fetchesBefore_ = syncStatus(defaults()).fetches;
    browser_.process.viewController().whitelist();
  }
  /// Until the companion of this machine has fetched what the click has sent, and saved it: it
  /// would bring the rule back if the next click had removed it before.
  void rest() {
    waitUntil([this] {
      const auto pages = defaults().object(FetchedPages::key);
      const auto* waiting = pages ? pages->as<PropertyListValue::Dictionary>() : nullptr;
      const bool isApplied = waiting == nullptr || waiting->empty();
      return syncStatus(defaults()).fetches > fetchesBefore_ && isApplied;
    });
  }
  template <typename Condition>
  void waitUntil(Condition condition) {
    loop_.lookUntil(condition);
  }

 private:
  NSUserDefaults& defaults() { return browser_.process.process().defaults(); }

  FileDescriptor log_;
  DescriptorOutput systemLog_{log_.get()};
  test::MainLoop loop_;
  LinuxPlatform machine_{PersistentStore::applicationGroup, log_.get(), systemLog_};
  BenchmarkBrowser browser_{machine_.platform()};
  std::int64_t fetchesBefore_ = 0;
};

/// The click puts the site on the whitelist or takes it off again.
void clickToOtherMachine(benchmark::State& state) {
  const Server server;
  HomeAtWork other(server.address("alice"));
  HomeAtWork here(server.address("alice"));
  BareMachines bare(server);
  ListCompiler compiler(here.home().folder / "floor");
  RunningBrowser browser(here.home());

  Stopwatch toList;
  Stopwatch toBrowser;
  bool isListed = false;
  const auto clickAndWait = [&] {
    isListed = !isListed;
    toList.start();
    toBrowser.start();
    browser.click();
    browser.waitUntil([&] { return other.hasInList(BenchmarkBrowser::host) == isListed; });
    toList.stop();
    browser.waitUntil([&] { return other.home().browserHasTheList(); });
    toBrowser.stop();
    browser.rest();
  };
  // The first ones find both machines making friends with the cloud.
  for (int i = 0; i < 2; ++i) clickAndWait();

  Stopwatch cloud;
  Stopwatch compilation;
  double list = 0;
  double floorOfCloud = 0;
  double floorOfCompilation = 0;
  for ([[maybe_unused]] auto iteration : state) {
    clickAndWait();
    state.SetIterationTime(toBrowser.elapsed());
    list += toList.elapsed();
    cloud.start();
    bare.handOn();
    cloud.stop();
    floorOfCloud += cloud.elapsed();
    const auto text = other.home().get(other.home().list());
    compilation.start();
    check(compiler.compile("list", text).has_value(), "The browser refuses the list");
    compilation.stop();
    floorOfCompilation += compilation.elapsed();
  }
  const auto count = static_cast<double>(state.iterations());
  state.counters["list_s"] = list / count;
  state.counters["cloud_s"] = floorOfCloud / count;
  state.counters["compile_s"] = floorOfCompilation / count;
}

}  // namespace

void registerTwoMachines() {
  benchmark::RegisterBenchmark("sync/click", clickToOtherMachine)
      ->UseManualTime()
      ->Iterations(10)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace orvane::benchmarks
