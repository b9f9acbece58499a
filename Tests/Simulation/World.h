#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "Tests/Simulation/CloudHistory.h"
#include "Tests/Simulation/Random.h"
#include "Tests/Simulation/Trace.h"
#include "Tests/Simulation/UserModel.h"
#include "Tests/Support/SimulatedCloud.h"

namespace orvane::test {

/// How the cloud and the way to it behave. The percentages count while `isOn`; the limits always.
struct CloudFaults {
  bool isOn = true;
  /// Of a call, to fail before anything is done, and to fail though all of it is done.
  std::size_t errorPercent = 0;
  std::size_t lostAnswerPercent = 0;
  /// Of a silent push, never to arrive.
  std::size_t lostPushPercent = 0;
  /// Whether the cloud may call a record invalid: the machine then forgets the change.
  bool refusesRecords = false;
  bool isSlow = false;
  std::size_t pageSize = 2000;
  std::size_t batchLimit = 400;
};

/// What all machines of a run share.
struct World {
  explicit World(std::uint64_t seed, std::size_t traceLength = 80)
      : random(seed), trace(traceLength) {}

  void noteOnItsWay(const std::string& recordName) {
    constexpr std::size_t most = 6;
    onTheirWay.push_back(recordName);
    if (onTheirWay.size() > most) onTheirWay.pop_front();
  }

  static constexpr const char* user = "mia";

  Random random;
  Trace trace;
  CloudFaults faults;
  CloudHistory history;
  UserModel model;
  /// The records that were on their way lately: what is done to them now is done at a bad time.
  std::deque<std::string> onTheirWay;
  std::shared_ptr<SimulatedCloud> cloud = std::make_shared<SimulatedCloud>();
};

}  // namespace orvane::test
