#include "Linux/SQLite/SQLiteCloud.h"
#include "Tests/Support/CloudConformance.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

class CloudInAFile {
 public:
  std::unique_ptr<CloudBackend> connect() const {
    return std::make_unique<SQLiteCloud>(folder_ / "Cloud.sqlite");
  }

 private:
  TemporaryDirectory folder_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(SQLite, CloudConformance, CloudInAFile);

}  // namespace
}  // namespace orvane::test
