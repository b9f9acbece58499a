#include "Linux/SQLite/SQLiteCloud.h"
#include "Tests/Linux/SQLite/RawDatabase.h"
#include "Tests/Support/CloudConformance.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

class CloudInAFile {
 public:
  std::unique_ptr<CloudBackend> connect() const {
    return std::make_unique<SQLiteCloud>(folder_ / "Cloud.sqlite");
  }

  std::shared_ptr<void> hold() const {
    auto writer = std::make_shared<RawDatabase>(folder_ / "Cloud.sqlite");
    EXPECT_EQ(writer->run("BEGIN IMMEDIATE"), "");
    return writer;
  }

 private:
  TemporaryDirectory folder_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(SQLite, CloudConformance, CloudInAFile);

}  // namespace
}  // namespace orvane::test
