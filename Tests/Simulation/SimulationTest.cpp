#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <map>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "Tests/Simulation/Simulation.h"

namespace orvane::test {
namespace {

constexpr std::uint64_t shardCount = 8;
constexpr std::uint64_t usualSeeds = 1'000;
constexpr std::size_t longTrace = 100'000;

/// The number that the environment variable has.
std::optional<std::uint64_t> number(const char* variable) {
  const char* text = std::getenv(variable);
  if (text == nullptr) return std::nullopt;
  return std::strtoull(text, nullptr, 10);
}

std::string report(std::uint64_t seed, const Simulation::Result& result) {
  return "SIMULATION_SEED=" + std::to_string(seed) + " shows it again:\n" + result.trace +
         *result.failure;
}

/// Every eighth seed, so that the tests take about the same time. `SIMULATION_SEEDS` says how many
/// there are altogether, `SIMULATION_SEED` is one whose whole trace is of interest.
class Simulating : public ::testing::TestWithParam<std::uint64_t> {};

TEST_P(Simulating, MachinesAgreeOnceTheFaultsHaveEnded) {
  if (const auto seed = number("SIMULATION_SEED")) {
    if (*seed % shardCount != GetParam()) return;
    const auto result = Simulation(*seed, longTrace).run();
    std::cout << result.trace;
    EXPECT_FALSE(result.failure) << *result.failure;
    return;
  }
  const auto end = number("SIMULATION_SEEDS").value_or(usualSeeds);
  std::map<std::string, std::size_t> counts;
  for (auto seed = GetParam(); seed < end; seed += shardCount) {
    const auto result = Simulation(seed).run();
    ASSERT_FALSE(result.failure) << report(seed, result);
    for (const auto& [what, count] : result.counts) counts[what] += count;
  }
  for (const auto& [what, count] : counts) {
    RecordProperty(what, std::to_string(count));
    std::cout << what << ": " << count << "\n";
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Simulating, ::testing::Range<std::uint64_t>(0, shardCount));

TEST(SimulatingTwice, ShowsTheSame) {
  const auto first = Simulation(7, longTrace).run();
  const auto second = Simulation(7, longTrace).run();
  EXPECT_EQ(first.trace, second.trace);
  EXPECT_EQ(first.failure, second.failure);
}

}  // namespace
}  // namespace orvane::test
