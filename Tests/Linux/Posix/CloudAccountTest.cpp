#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Linux/Posix/CloudAccount.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using std::filesystem::perms;
using ::testing::HasSubstr;

class AccountOfTheUser : public ::testing::Test {
 protected:
  void write(const std::string& contents, perms mode = perms::owner_read | perms::owner_write) {
    std::ofstream(file) << contents;
    std::filesystem::permissions(file, mode);
  }
  std::optional<std::string> address(const char* environment = nullptr) {
    const auto account = CloudAccount::read(environment, file);
    EXPECT_TRUE(account.has_value()) << account.error().localizedDescription;
    return account ? account->address : std::nullopt;
  }

  TemporaryDirectory folder;
  std::filesystem::path file = folder / "cloud";
};

TEST_F(AccountOfTheUser, isOfThisMachineWhenNothingIsChosen) {
  EXPECT_EQ(address(), std::nullopt);
  EXPECT_EQ(address(""), std::nullopt);
  write("\n  \n# host=db.example\n");
  EXPECT_EQ(address(), std::nullopt);
  EXPECT_EQ(CloudAccount::read(nullptr, std::nullopt)->address, std::nullopt);
}

TEST_F(AccountOfTheUser, isInTheFirstLineOfTheFileThatSaysAnything) {
  write("# at home\n\n  host=db.example dbname=orvane  \nhost=other.example\n");
  EXPECT_EQ(address(), "host=db.example dbname=orvane");
  EXPECT_EQ(CloudAccount::read(nullptr, file)->file, file);
}

TEST_F(AccountOfTheUser, isFirstOfAllThatOfTheEnvironment) {
  write("host=db.example");
  EXPECT_EQ(address("postgresql://mia@other.example/orvane"),
            "postgresql://mia@other.example/orvane");
  EXPECT_EQ(CloudAccount::read("host=a", file)->file, std::nullopt);
}

TEST_F(AccountOfTheUser, mayBeTheNameOfAService) {
  write("home\n");
  EXPECT_EQ(address(), "service=home");
  EXPECT_EQ(address("work"), "service=work");
}

TEST_F(AccountOfTheUser, isRefusedWhenOthersCanReadTheFile) {
  for (const auto bit : {perms::group_read, perms::others_read, perms::group_write}) {
    write("host=db.example", perms::owner_read | perms::owner_write | bit);
    const auto account = CloudAccount::read(nullptr, file);
    ASSERT_FALSE(account.has_value());
    EXPECT_THAT(account.error().localizedDescription, HasSubstr("chmod 600 " + file.string()));
  }
}

TEST_F(AccountOfTheUser, isAnErrorWhenTheFileCannotBeRead) {
  std::filesystem::create_directory(file);
  std::filesystem::permissions(file, perms::owner_all);
  const auto account = CloudAccount::read(nullptr, file);
  ASSERT_FALSE(account.has_value());
  EXPECT_EQ(account.error().localizedDescription, "'" + file.string() + "' is not a file.");
}

}  // namespace
}  // namespace orvane::test
