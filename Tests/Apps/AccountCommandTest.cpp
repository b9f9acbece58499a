#include "Tests/Apps/ChangeFixture.h"
#include "Tests/Linux/PostgreSQL/PrivateCluster.h"

namespace orvane::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class AccountCommand : public ChangeTest {
 protected:
  std::filesystem::path accountFile() { return home / "config" / "orvane" / "cloud"; }

  void choose(const std::string& address) {
    std::filesystem::create_directories(accountFile().parent_path());
    put(accountFile(), address + "\n");
    std::filesystem::permissions(
        accountFile(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  }
};

TEST_F(AccountCommand, isOfThisMachineAloneWithoutAChoice) {
  const auto run = orvane({"account"});
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
  EXPECT_EQ(run.output, "Cloud:      this machine alone, in '" +
                            (home / "data/orvane/Cloud.sqlite").string() +
                            "'\n"
                            "Chosen by:  nothing: there is no other cloud without a choice\n"
                            "It works.\n");
}

TEST_F(AccountCommand, refusesAFileThatOthersCanRead) {
  choose("host=db.example password=secret");
  std::filesystem::permissions(accountFile(), std::filesystem::perms::others_read,
                               std::filesystem::perm_options::add);
  const auto run = orvane({"account"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.errors, HasSubstr("chmod 600"));
  EXPECT_THAT(run.output + run.errors, Not(HasSubstr("secret")));
}

TEST_F(AccountCommand, saysThatAServerIsNotThere) {
  const auto run =
      orvane({"account"}, {{"ORVANE_CLOUD", "host=" + work.path().string() + " user=mia"}});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.output, HasSubstr("Chosen by:  the environment variable ORVANE_CLOUD\n"));
  EXPECT_THAT(run.errors, Not(::testing::IsEmpty()));
}

TEST_F(AccountCommand, saysWhatAnAddressIsNot) {
  choose("this is no address");
  const auto run = orvane({"account", "--json"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.output,
              AllOf(HasSubstr("\"works\":false"), HasSubstr("is no connection string of libpq")));
}

class CloudCommand : public AccountCommand {
 protected:
  ProgramRun orvaneWithInput(const std::string& input, const std::vector<std::string>& arguments) {
    put(work / "input", input);
    std::vector<std::string> command{
        "sh",   "-c", "input=$1; shift; exec \"$@\" < \"$input\"", "sh", (work / "input").string(),
        program};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runProgram(command, work.path(), environment());
  }

  PrivateCluster cluster;
  std::string administrator = cluster.connectionString("postgres", "postgres");
};

TEST_F(CloudCommand, preparesADatabaseAndGivesAUserAnAccount) {
  choose(cluster.connectionString("mia", "postgres"));
  EXPECT_EQ(orvane({"account"}).exitStatus, 1) << "nothing is prepared";

  const auto installed = orvane({"cloud", "install", administrator});
  ASSERT_EQ(installed.exitStatus, 0) << installed.errors;
  EXPECT_THAT(installed.output, HasSubstr("Prepared: the PostgreSQL server "));
  const auto again = orvane({"cloud", "install", administrator});
  EXPECT_EQ(again.exitStatus, 0) << again.errors;

  const auto added = orvane({"cloud", "add-user", "mia", administrator});
  ASSERT_EQ(added.exitStatus, 0) << added.errors;
  const auto account = orvane({"account"});
  EXPECT_EQ(account.exitStatus, 0) << account.errors;
  EXPECT_THAT(account.output, AllOf(HasSubstr("user mia"), HasSubstr("It works.\n")));
  EXPECT_THAT(account.output, HasSubstr("Chosen by:  the file '" + accountFile().string() + "'"));
}

TEST_F(CloudCommand, saysWhatIsMissing) {
  choose(administrator);
  const auto unprepared = orvane({"account"});
  EXPECT_EQ(unprepared.exitStatus, 1);
  EXPECT_THAT(unprepared.errors, HasSubstr("'orvane cloud install' prepares the database."));
  ASSERT_EQ(orvane({"cloud", "install", administrator}).exitStatus, 0);
  ASSERT_EQ(orvane({"cloud", "add-user", "mia", administrator}).exitStatus, 0);
  choose(cluster.connectionString("nobody-known", "postgres"));
  const auto unknown = orvane({"account"});
  EXPECT_EQ(unknown.exitStatus, 1);
  EXPECT_THAT(unknown.errors, HasSubstr("'orvane cloud add-user'"));
}

TEST_F(CloudCommand, setsThePasswordFromTheInput) {
  ASSERT_EQ(orvane({"cloud", "install", administrator}).exitStatus, 0);
  const auto none =
      orvaneWithInput("", {"cloud", "add-user", "--password", "guarded", administrator});
  EXPECT_EQ(none.exitStatus, 1);
  EXPECT_THAT(none.errors, HasSubstr("There is no password in the standard input."));
  const auto added = orvaneWithInput("open sesame\n",
                                     {"cloud", "add-user", "--password", "guarded", administrator});
  ASSERT_EQ(added.exitStatus, 0) << added.errors;
  EXPECT_THAT(added.output + added.errors, Not(HasSubstr("sesame")));

  const auto guarded = cluster.connectionString("guarded", "postgres");
  EXPECT_EQ(
      orvane({"account"}, {{"ORVANE_CLOUD", guarded + " password='close sesame'"}}).exitStatus, 1);
  put(work / "passwords", "*:*:*:guarded:open sesame\n");
  std::filesystem::permissions(
      work / "passwords", std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  const auto run = orvane(
      {"account"}, {{"ORVANE_CLOUD", guarded}, {"PGPASSFILE", (work / "passwords").string()}});
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
}

TEST_F(CloudCommand, refusesWhatIsNoAddressAndWhoMayNot) {
  EXPECT_EQ(orvane({"cloud", "install", "no address"}).exitStatus, 1);
  ASSERT_EQ(orvane({"cloud", "install", administrator}).exitStatus, 0);
  ASSERT_EQ(orvane({"cloud", "add-user", "mia", administrator}).exitStatus, 0);
  const auto run =
      orvane({"cloud", "add-user", "noa", cluster.connectionString("mia", "postgres")});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.errors, Not(::testing::IsEmpty()));
}

}  // namespace
}  // namespace orvane::test
