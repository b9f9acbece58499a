#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libpq-fe.h>

#include "Linux/Posix/CloudAccount.h"
#include "Linux/PostgreSQL/PostgreSQLSchema.h"
#include "Tests/EndToEnd/Browsing/Desk.h"
#include "Tests/Linux/PostgreSQL/CloudInCluster.h"

namespace orvane::test {
namespace {

/// A user whose cloud is a server, and who is not happy with a newspaper.
class Reporting : public ::testing::Test {
 protected:
  Reporting() {
    ::setenv(CloudAccount::environmentVariable, server.cluster.connectionString("alice").c_str(),
             1);
    desk.serveNewspaper("news.example.com");
    desk.startBrowser();
    desk.waitForList();
    desk.open("http://news.example.com/");
  }
  ~Reporting() override { ::unsetenv(CloudAccount::environmentVariable); }

  void writeReport(const std::string& comment) {
    desk.openPopover();
    desk.press("💬 Report a Problem");
    desk.until("the form is there", [this] { return desk.hasButton("Send Report"); });
    desk.type(comment);
    desk.until("the comment is there",
               [&] { return popover().reportComments.string() == comment; });
  }
  SafariExtensionViewController& popover() { return desk.browser().extension().viewController(); }

  /// What the makers read.
  std::string reports() {
    const auto results = server.tell(
        "SELECT string_agg(concat_ws(' ', type, fields->>'type', fields->>'url', "
        "fields->>'comment'), '|') FROM orvane.reports");
    return std::string(results.at(0).text(0, 0));
  }

  CloudInCluster server;
  Desk desk;
};

TEST_F(Reporting, SendsWhatIsWrongToTheMakers) {
  writeReport("The crossword is white");
  desk.press("Send Report");
  desk.until("the makers say thanks", [this] { return desk.hasLabel("Thank you for feedback!"); });
  EXPECT_EQ(reports(), "Report brokenSite http://news.example.com/ The crossword is white");
}

TEST_F(Reporting, IsToldWhyItFailsAndSendsAgain) {
  server.cluster.kill();
  writeReport("The crossword is white");
  desk.press("Send Report");
  desk.until("it has failed", [this] { return popover().sendButton.isEnabled(); });
  EXPECT_EQ(popover().reportComments.string(), "The crossword is white");
  EXPECT_FALSE(popover().reportStatus.stringValue().empty());
  EXPECT_TRUE(desk.hasLabel(popover().reportStatus.stringValue()));
  EXPECT_TRUE(desk.isPopoverOpen());

  server.cluster.start();
  server.cluster.waitUntilReady();
  desk.press("Send Report");
  desk.until("the makers say thanks", [this] { return desk.hasLabel("Thank you for feedback!"); });
  EXPECT_EQ(reports(), "Report brokenSite http://news.example.com/ The crossword is white");
}

}  // namespace
}  // namespace orvane::test
