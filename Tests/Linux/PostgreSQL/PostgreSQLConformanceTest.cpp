#include "Tests/Linux/PostgreSQL/CloudInCluster.h"
#include "Tests/Support/CloudConformance.h"

namespace orvane::test {
namespace {

class CloudOfAlice {
 public:
  std::unique_ptr<CloudBackend> connect() {
    return server_.cloud("alice", std::to_string(++machines_));
  }

  std::shared_ptr<void> hold() { return std::make_shared<ZoneLock>(server_); }

 private:
  CloudInCluster server_;
  int machines_ = 0;
};

INSTANTIATE_TYPED_TEST_SUITE_P(PostgreSQL, CloudConformance, CloudOfAlice);

}  // namespace
}  // namespace orvane::test
