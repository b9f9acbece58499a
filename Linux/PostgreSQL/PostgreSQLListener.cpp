#include "Linux/PostgreSQL/PostgreSQLListener.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <set>

#include <poll.h>
#include <sys/eventfd.h>

#include "Linux/PostgreSQL/PostgreSQLFailure.h"
#include "Linux/PostgreSQL/PostgreSQLSchema.h"

namespace orvane {
namespace {

/// The pause after an error that does not go by itself.
constexpr double pauseAfterLastingError = 60;

constexpr const char* findCounts =
    "SELECT subscription, seq || '.' || epoch FROM orvane.zones "
    "WHERE owner = current_user AND subscription IS NOT NULL "
    "UNION ALL "
    "SELECT '', seq || '.' || epoch FROM orvane.accounts WHERE owner = current_user";

CloudEvent eventFor(const std::string& subscription) {
  if (subscription.empty()) return {CloudEvent::Kind::keyValuesChanged, ""};
  return {CloudEvent::Kind::zoneChanged, subscription};
}

}  // namespace

PostgreSQLListener::PostgreSQLListener(std::string connectionString,
                                       const PostgreSQLTimeouts& timeouts,
                                       std::chrono::milliseconds lookInterval, Told told)
    : connectionString_(std::move(connectionString)),
      timeouts_(timeouts),
      lookInterval_(lookInterval),
      told_(std::move(told)),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      thread_([this] { run(); }) {}

PostgreSQLListener::~PostgreSQLListener() {
  ends_ = true;
  [[maybe_unused]] const int written = ::eventfd_write(wake_.get(), 1);
  thread_.join();
}

void PostgreSQLListener::run() {
  while (!ends_) {
    const auto ended = listen();
    if (ended || ends_) continue;
    const auto& error = ended.error();
    if (error.code == CKErrorCode::networkFailure) ++failures_;
    if (error.code == CKErrorCode::notAuthenticated) noteStatus(CKAccountStatus::noAccount);
    if (error.code == CKErrorCode::permissionFailure) noteStatus(CKAccountStatus::restricted);
    pause(error.retryAfter.value_or(pauseAfterLastingError));
  }
}

CKResult<void> PostgreSQLListener::listen() {
  auto connection = PostgreSQLConnection::open(connectionString_, timeouts_, failures_, call_);
  if (!connection) return tl::unexpected(std::move(connection).error());
  const auto channel = accountChannel(*connection, call_);
  if (!channel) return tl::unexpected(channel.error());
  // First this, so that no change falls between it and the first look.
  static_cast<void>(connection->transact({{"LISTEN " + connection->quoted(*channel), {}}}, call_));
  failures_ = 0;
  noteStatus(CKAccountStatus::available);
  Counts seen;
  while (!ends_) {
    auto now = counts(*connection);
    if (!now) return tl::unexpected(std::move(now).error());
    tellDifferences(seen, *now);
    seen = *std::move(now);
    connection->awaitNotification(wake_.get(), lookInterval_);
  }
  return {};
}

CKResult<PostgreSQLListener::Counts> PostgreSQLListener::counts(
    PostgreSQLConnection& connection) const {
  const auto results = connection.transact({{findCounts, {}}}, call_);
  if (!results) return tl::unexpected(results.error());
  const auto& found = results->front();
  Counts counts;
  for (int row = 0; row < found.rows(); ++row) {
    counts.emplace_back(found.text(row, 0), found.text(row, 1));
  }
  std::sort(counts.begin(), counts.end());
  return counts;
}

void PostgreSQLListener::tellDifferences(const Counts& seen, const Counts& now) const {
  Counts differences;
  std::set_symmetric_difference(seen.begin(), seen.end(), now.begin(), now.end(),
                                std::back_inserter(differences));
  std::set<std::string> changed;
  for (const auto& [subscription, count] : differences) changed.insert(subscription);
  for (const auto& subscription : changed) {
    if (!ends_) told_(eventFor(subscription));
  }
}

void PostgreSQLListener::noteStatus(CKAccountStatus status) {
  const auto before = std::exchange(status_, status);
  if (before && *before != status && !ends_) told_({CloudEvent::Kind::accountChanged, ""});
}

void PostgreSQLListener::pause(double seconds) const {
  constexpr double milliseconds = 1000;
  pollfd polled{wake_.get(), POLLIN, 0};
  ::poll(&polled, 1, static_cast<int>(seconds * milliseconds));
}

}  // namespace orvane
