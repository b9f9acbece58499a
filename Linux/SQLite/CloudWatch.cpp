#include "Linux/SQLite/CloudWatch.h"

#include <array>
#include <chrono>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>

#include "Linux/SQLite/CloudFailure.h"
#include "Linux/SQLite/CloudFile.h"
#include "Linux/SQLite/SQLiteStatement.h"

namespace orvane {
namespace {

constexpr std::chrono::milliseconds longestWait{500};
/// Nobody waits for a look, and there is another one soon.
constexpr int briefTimeout = 50;

void empty(const FileDescriptor& inotify) {
  std::array<char, 4096> events{};
  while (::read(inotify.get(), events.data(), events.size()) > 0) {
  }
}

bool isBusy(const NSError& error) { return cloudError(error).code == CKErrorCode::zoneBusy; }

}  // namespace

CloudWatch::CloudWatch(std::filesystem::path path, std::function<void(const CloudEvent&)> told)
    : path_(std::move(path)),
      told_(std::move(told)),
      end_(::eventfd(0, EFD_CLOEXEC)),
      inotify_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  // What happens from now on is told, so this look cannot be left to the thread.
  auto state = look();
  couldRead_ = state || isBusy(state.error());
  if (state) seen_ = *std::move(state);
  thread_ = std::thread([this] { run(); });
}

CloudWatch::~CloudWatch() {
  constexpr std::uint64_t one = 1;
  [[maybe_unused]] const auto written = ::write(end_.get(), &one, sizeof one);
  thread_.join();
}

void CloudWatch::run() {
  while (waitForBell()) {
    const auto state = look();
    if (!state && isBusy(state.error())) continue;
    const bool isAccessible = state.has_value();
    if (isAccessible && !couldRead_) told_({CloudEvent::Kind::accountChanged, ""});
    couldRead_ = isAccessible;
    if (state) tellOf(*state);
  }
}

/// Also true when there is time for a look; false at the end.
bool CloudWatch::waitForBell() const {
  std::array<pollfd, 2> descriptors{{{.fd = end_.get(), .events = POLLIN, .revents = 0},
                                     {.fd = inotify_.get(), .events = POLLIN, .revents = 0}}};
  ::poll(descriptors.data(), descriptors.size(), static_cast<int>(longestWait.count()));
  return descriptors[0].revents == 0;
}

/// The system watches the file and not its name; to watch one again that is watched is nothing.
void CloudWatch::watchDoorbell() const {
  ::inotify_add_watch(inotify_.get(), doorbellOf(path_).c_str(), IN_CLOSE_WRITE);
}

/// What is committed behind this look rings behind it.
Expected<CloudWatch::State> CloudWatch::look() {
  if (const auto opened = open(); !opened) return tl::unexpected(opened.error());
  watchDoorbell();
  empty(inotify_);
  auto state = read();
  if (!state) connection_.reset();
  return state;
}

Expected<void> CloudWatch::open() {
  if (connection_ && connection_->isInPlace()) return {};
  connection_.reset();
  auto opened = openCloudFile(path_, briefTimeout);
  if (!opened) return tl::unexpected(opened.error());
  connection_.emplace(*std::move(opened));
  return {};
}

Expected<CloudWatch::State> CloudWatch::read() const {
  State state;
  const SQLiteStatement keyValues(connection_->handle(), "SELECT last FROM key_value_store");
  SQLiteRun store(keyValues);
  if (!store.next()) return tl::unexpected(connection_->error("read"));
  state.keyValues = store.integer(0);
  // While the first run lasts, this is of the same moment.
  const SQLiteStatement zones(connection_->handle(),
                              "SELECT subscription.id, zone.name, since, last FROM subscription "
                              "JOIN zone ON zone.id = subscription.zone");
  SQLiteRun run(zones);
  while (run.next()) {
    state.zones[{std::string(run.text(0)), std::string(run.text(1))}] = {.first = run.integer(2),
                                                                         .last = run.integer(3)};
  }
  if (run.failed()) return tl::unexpected(connection_->error("read"));
  return state;
}

/// A subscription that has come since the last look is told of what has changed since it was saved.
void CloudWatch::tellOf(const State& state) {
  const auto before = std::exchange(seen_, state);
  if (!before || before->keyValues != state.keyValues) {
    told_({CloudEvent::Kind::keyValuesChanged, ""});
  }
  for (const auto& [subscription, history] : state.zones) {
    const auto found = before ? before->zones.find(subscription) : state.zones.end();
    const bool isNew = !before || found == before->zones.end();
    const auto told = isNew ? history.first : found->second.last;
    if (history.last != told) told_({CloudEvent::Kind::zoneChanged, subscription.first});
  }
}

}  // namespace orvane
