#include "Tests/Support/CloudConformance.h"
#include "Tests/Support/SimulatedCloud.h"

namespace orvane::test {
namespace {

struct InMemory {
  std::unique_ptr<CloudBackend> connect() { return cloud.connect("mia"); }
  std::shared_ptr<void> hold() {
    cloud.hold(true);
    return {&cloud, [](SimulatedCloud* held) { held->hold(false); }};
  }
  SimulatedCloud cloud;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, CloudConformance, InMemory);

}  // namespace
}  // namespace orvane::test
