#include "BlockerKit/JSON/RecordWriter.h"
#include "BlockerKit/PersistentStore/PlaceholderBlocker.h"
#include "Tests/BlockerKit/PersistentStore/StoreFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Result = SafariJSONModificationResult;

class BlockerListFile : public StoreTest {
 protected:
  /// Carries one edit out and returns what its completion was told, which is exactly one result.
  template <typename Edit, typename Argument>
  Result outcome(Edit edit, const Argument& argument) {
    std::vector<Result> results;
    (store.*edit)(argument, [&](const Result& result) { results.push_back(result); });
    EXPECT_EQ(results.size(), 1U);
    return results.front();
  }
  Result prepend(const Blocker& blocker) {
    return outcome(&PersistentStore::prependToSafariJSONFile, blocker);
  }
  Result append(const Blocker& blocker) {
    return outcome(&PersistentStore::appendToSafariJSONFile, blocker);
  }
  Result unwhitelist(const std::string& domain) {
    return outcome(&PersistentStore::unwhitelistFromSafariJSONFile, std::string_view(domain));
  }
  Result unforceHttps(const std::string& domain) {
    return outcome(&PersistentStore::unforceHttpsFromSafariJSONFile, std::string_view(domain));
  }

  static Blocker forDomains(ActionType type, std::vector<std::string> domains) {
    return {{.urlFilter = ".*",
             .domainFilter = DomainFilter{DomainFilterType::IfDomain, std::move(domains)}},
            *Action::make(type)};
  }
  static std::string list(const std::vector<Blocker>& blockers) {
    return *toJSON(std::span<const Blocker>(blockers));
  }
  void put(const std::string& text) { files().put(path, text, 1); }

  const std::string path = shared("tmp.json");
  const Blocker ads = blockRule("r", "ads").blocker;
  const Blocker more = blockRule("r", "more").blocker;
};

TEST_F(BlockerListFile, isTmpJSONInTheSharedContainer) {
  EXPECT_EQ(store.pathToSafariJSON(), path);
}

TEST_F(BlockerListFile, listIsWrittenCompactlyAndCounted) {
  const std::vector<Blocker> blockers{ads, more};
  EXPECT_TRUE(store.writeBlockersToSafariJSONFile(blockers));
  EXPECT_EQ(contents(path), R"([{"trigger":{"url-filter":"ads"},"action":{"type":"block"}},)"
                            R"({"trigger":{"url-filter":"more"},"action":{"type":"block"}}])");
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Wrote 2 blockers to Safari JSON file in shared container: " + path));
}

TEST_F(BlockerListFile, absentListIsWrittenAsThePlaceholderBlocker) {
  EXPECT_TRUE(store.writeBlockersToSafariJSONFile(std::nullopt));
  EXPECT_EQ(contents(path), list({placeholderBlocker()}));
  EXPECT_THAT(contents(path),
              ::testing::StartsWith(
                  R"([{"trigger":{"url-filter":".*","url-filter-is-case-sensitive":true},)"
                  R"("action":{"type":"css-display-none","selector":")"));
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Removed blockers from Safari JSON file in shared container: " + path));
}

TEST_F(BlockerListFile, listThatCannotBeStoredIsReported) {
  files().failAt(Operation::replace, path);
  const std::vector<Blocker> blockers{ads, more};
  EXPECT_FALSE(store.writeBlockersToSafariJSONFile(blockers));
  EXPECT_THAT(
      machine.standardOutput.take(),
      ElementsAre("Could not write 2 blockers to Safari JSON file in shared container: " + path));

  EXPECT_FALSE(store.writeBlockersToSafariJSONFile(std::nullopt));
  EXPECT_THAT(
      machine.standardOutput.lines,
      ElementsAre("Could not write 1 blockers to Safari JSON file in shared container: " + path));
}

TEST_F(BlockerListFile, listThatCannotBeEncodedLeavesTheOldOne) {
  put(list({ads}));
  const std::vector<Blocker> blockers{blockRule("r", "\xFF").blocker};
  EXPECT_FALSE(store.writeBlockersToSafariJSONFile(blockers));
  EXPECT_EQ(contents(path), list({ads}));
  EXPECT_THAT(
      machine.standardOutput.lines,
      ElementsAre("Could not write 1 blockers to Safari JSON file in shared container: " + path));
}

TEST_F(BlockerListFile, prependedBlockerComesFirst) {
  put(list({ads}));
  EXPECT_EQ(prepend(more), Result::success());
  EXPECT_EQ(contents(path), list({more, ads}));
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Prepended new blocker to Safari JSON file: " + path));
}

TEST_F(BlockerListFile, appendedBlockerComesLast) {
  put(list({ads}));
  EXPECT_EQ(append(more), Result::success());
  EXPECT_EQ(contents(path), list({ads, more}));
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Appended new blocker to Safari JSON file: " + path));
}

TEST_F(BlockerListFile, prependingToAnEmptyListGivesTextThatIsNotJSON) {
  put("[]");
  EXPECT_EQ(prepend(ads), Result::success());
  EXPECT_EQ(contents(path), "[" + *toJSON(ads) + ",]");
}

TEST_F(BlockerListFile, appendingDropsTheLastCharacterAlsoWhenItIsNoBracket) {
  put(list({ads}) + "\n");
  EXPECT_EQ(append(more), Result::success());
  EXPECT_EQ(contents(path), list({ads}) + "," + *toJSON(more) + "]");
}

TEST_F(BlockerListFile, unwhitelistingTakesTheDomainOffTheWhitelistBlocker) {
  const auto https = forDomains(ActionType::makeHttps, {"a.test"});
  put(list({ads, https, forDomains(ActionType::IgnorePreviousRules, {"a.test", "b.test"})}));
  EXPECT_EQ(unwhitelist("a.test"), Result::success());
  EXPECT_EQ(contents(path),
            list({ads, https, forDomains(ActionType::IgnorePreviousRules, {"b.test"})}));
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Found \"a.test\",\"b.test\"", "new domain list: \"b.test\"",
                          "Unwhitelisted a.test from Safari JSON file: " + path));
}

TEST_F(BlockerListFile, unforcingHttpsTakesTheDomainOffTheHttpsBlockerInTheSameWords) {
  const auto whitelist = forDomains(ActionType::IgnorePreviousRules, {"a.test"});
  put(list({forDomains(ActionType::makeHttps, {"a.test", "b.test"}), whitelist}));
  EXPECT_EQ(unforceHttps("b.test"), Result::success());
  EXPECT_EQ(contents(path), list({forDomains(ActionType::makeHttps, {"a.test"}), whitelist}));
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Found \"a.test\",\"b.test\"", "new domain list: \"a.test\"",
                          "Unwhitelisted b.test from Safari JSON file: " + path));
}

TEST_F(BlockerListFile, unwhitelistingADomainThatIsNotInTheListStillSucceeds) {
  const auto before = list({ads, forDomains(ActionType::IgnorePreviousRules, {"a.test"})});
  put(before);
  EXPECT_EQ(unwhitelist("other.test"), Result::success());
  EXPECT_EQ(contents(path), before);
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Found \"a.test\"", "new domain list: \"a.test\"",
                          "Unwhitelisted other.test from Safari JSON file: " + path));
}

TEST_F(BlockerListFile, unwhitelistingWithoutAnyWhitelistBlockerStillSucceeds) {
  put(list({ads}));
  EXPECT_EQ(unwhitelist("a.test"), Result::success());
  EXPECT_EQ(contents(path), list({ads}));
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Unwhitelisted a.test from Safari JSON file: " + path));
}

TEST_F(BlockerListFile, unwhitelistingTheLastDomainRemovesTheWhitelistBlocker) {
  put(list({ads, forDomains(ActionType::IgnorePreviousRules, {"a.test"})}));
  EXPECT_EQ(unwhitelist("a.test"), Result::success());
  EXPECT_EQ(contents(path), list({ads}));
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Found \"a.test\"", "new domain list: ",
                          "Unwhitelisted a.test from Safari JSON file: " + path));
}

TEST_F(BlockerListFile, removalOfTheOnlyBlockerLeavesThePlaceholder) {
  put(list({forDomains(ActionType::makeHttps, {"a.test"})}));
  EXPECT_EQ(unforceHttps("a.test"), Result::success());
  EXPECT_EQ(contents(path), list({placeholderBlocker()}));
}

TEST_F(BlockerListFile, removalOfTheOnlyBlockerBeforeALineEndingLeavesThePlaceholderToo) {
  put(list({forDomains(ActionType::makeHttps, {"a.test"})}) + "\n");
  EXPECT_EQ(unforceHttps("a.test"), Result::success());
  EXPECT_EQ(contents(path), list({placeholderBlocker()}));
}

TEST_F(BlockerListFile, emptyListWithoutTheMarkerStaysAsItIs) {
  put("[]");
  EXPECT_EQ(unwhitelist("a.test"), Result::success());
  EXPECT_EQ(contents(path), "[]");
}

TEST_F(BlockerListFile, whatWasFoundIsPrintedAlsoWhenStoringFails) {
  const auto before = list({forDomains(ActionType::makeHttps, {"a.test", "b.test"})});
  put(before);
  files().failAt(Operation::replace, path);
  EXPECT_EQ(unforceHttps("a.test"), Result::otherError("ordered failure"));
  EXPECT_EQ(contents(path), before);
  EXPECT_THAT(machine.standardOutput.lines,
              ElementsAre("Found \"a.test\",\"b.test\"", "new domain list: \"b.test\""));
}

TEST_F(BlockerListFile, domainWithQuotesMatchesItsEncodedForm) {
  put(list({forDomains(ActionType::IgnorePreviousRules, {"a\"b", "c"})}));
  EXPECT_EQ(unwhitelist("a\"b"), Result::success());
  EXPECT_EQ(contents(path), list({forDomains(ActionType::IgnorePreviousRules, {"c"})}));
}

TEST_F(BlockerListFile, byteOrderMarkIsSkipped) {
  put("\xEF\xBB\xBF" + list({ads}));
  EXPECT_EQ(prepend(more), Result::success());
  EXPECT_EQ(contents(path), list({more, ads}));
}

TEST_F(BlockerListFile, completionMayBeLeftOut) {
  put(list({ads}));
  store.appendToSafariJSONFile(more, nullptr);
  EXPECT_EQ(contents(path), list({ads, more}));
}

/// The four edits, each as a call without arguments.
class EveryEdit : public BlockerListFile {
 protected:
  std::vector<Result> outcomes() {
    return {prepend(ads), append(ads), unwhitelist("a.test"), unforceHttps("a.test")};
  }
};

TEST_F(EveryEdit, reportsAFileOfZeroBytesAndLeavesIt) {
  put("");
  EXPECT_THAT(outcomes(), ::testing::Each(Result::emptyFile()));
  EXPECT_EQ(contents(path), "");
  EXPECT_THAT(machine.standardOutput.lines, IsEmpty());
}

TEST_F(EveryEdit, reportsTextThatIsNotUTF8AndLeavesIt) {
  put("[\xFF]");
  EXPECT_THAT(
      outcomes(),
      ::testing::Each(Result::otherError("Error creating JSON string from Safari JSON file")));
  EXPECT_EQ(contents(path), "[\xFF]");
  EXPECT_THAT(machine.standardOutput.lines, IsEmpty());
}

TEST_F(EveryEdit, reportsAMissingFileInTheSystemsWords) {
  EXPECT_THAT(outcomes(), ::testing::Each(Result::otherError("no such file: " + path)));
  EXPECT_FALSE(files().has(path));
  EXPECT_THAT(machine.standardOutput.lines, IsEmpty());
}

TEST_F(EveryEdit, reportsAFailureToStoreAndPrintsNoLineOfSuccess) {
  put(list({ads}));
  files().failAt(Operation::replace, path);
  EXPECT_THAT(outcomes(), ::testing::Each(Result::otherError("ordered failure")));
  EXPECT_EQ(contents(path), list({ads}));
  EXPECT_THAT(machine.standardOutput.lines, IsEmpty());
}

TEST_F(BlockerListFile, blockerOrDomainThatCannotBeEncodedIsReported) {
  put(list({ads}));
  const auto refused = Result::otherError("A text is not valid UTF-8.");
  EXPECT_EQ(prepend(blockRule("r", "\xFF").blocker), refused);
  EXPECT_EQ(append(blockRule("r", "\xFF").blocker), refused);
  EXPECT_EQ(unwhitelist("\xFF"), refused);
  EXPECT_EQ(contents(path), list({ads}));
}

using BlockerListFileDeathTest = BlockerListFile;

TEST_F(BlockerListFileDeathTest, absentSharedContainerStopsEveryWrite) {
  TestPlatform homeless({std::nullopt, {}});
  PersistentStore homelessStore(homeless.platform);
  const auto words = "Fatal error: Shared Container URL invalid: file BlockerKit/PersistentStore";
  EXPECT_DEATH(homelessStore.writeBlockersToSafariJSONFile(std::nullopt), words);
  EXPECT_DEATH(homelessStore.prependToSafariJSONFile(ads, nullptr), words);
  EXPECT_DEATH(homelessStore.appendToSafariJSONFile(ads, nullptr), words);
  EXPECT_DEATH(homelessStore.unwhitelistFromSafariJSONFile("a", nullptr), words);
  EXPECT_DEATH(homelessStore.unforceHttpsFromSafariJSONFile("a", nullptr), words);
}

}  // namespace
}  // namespace orvane::test
