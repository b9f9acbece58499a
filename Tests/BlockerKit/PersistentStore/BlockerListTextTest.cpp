#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/JSON/RecordWriter.h"
#include "BlockerKit/PersistentStore/BlockerListText.h"
#include "BlockerKit/PersistentStore/PlaceholderBlocker.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;

const std::string marker = R"("type":"ignore-previous-rules")";

std::string whitelisting(const std::string& domains) {
  return R"({"trigger":{"url-filter":".*","if-domain":[)" + domains +
         R"(]},"action":{"type":"ignore-previous-rules"}})";
}

const std::string blocking = R"({"trigger":{"url-filter":"x"},"action":{"type":"block"}})";

std::string remove(const std::string& list, const std::string& domain) {
  return removingDomain(list, marker, "\"" + domain + "\"").text;
}

TEST(BlockerListText, prependingReplacesTheFirstCharacter) {
  EXPECT_EQ(prependingToList("[{\"a\":1}]", "{}"), "[{},{\"a\":1}]");
}

TEST(BlockerListText, prependingToAnEmptyListLeavesAComma) {
  EXPECT_EQ(prependingToList("[]", "{}"), "[{},]");
}

TEST(BlockerListText, appendingReplacesTheLastCharacterWhateverItIs) {
  EXPECT_EQ(appendingToList("[{\"a\":1}]", "{}"), "[{\"a\":1},{}]");
  EXPECT_EQ(appendingToList("[{\"a\":1}]\n", "{}"), "[{\"a\":1}],{}]");
}

TEST(BlockerListText, firstAndLastCharacterMayHaveSeveralBytes) {
  EXPECT_EQ(prependingToList("\u20ACabc", "{}"), "[{},abc");
  EXPECT_EQ(appendingToList("abc\U0001F600", "{}"), "abc,{}]");
  EXPECT_EQ(prependingToList("\u20AC", "{}"), "[{},");
  EXPECT_EQ(appendingToList("\u20AC", "{}"), ",{}]");
}

TEST(BlockerListText, editsOfEmptyTextDoNotFail) {
  EXPECT_EQ(prependingToList("", "{}"), "[{},");
  EXPECT_EQ(appendingToList("", "{}"), ",{}]");
  EXPECT_EQ(remove("", "a"), "");
}

TEST(BlockerListText, domainIsTakenOutOfItsList) {
  const auto removal =
      removingDomain("[" + blocking + "," + whitelisting(R"("a.test","b.test","c.test")") + "]",
                     marker, "\"b.test\"");
  EXPECT_EQ(removal.text, "[" + blocking + "," + whitelisting(R"("a.test","c.test")") + "]");
  ASSERT_TRUE(removal.domains);
  EXPECT_THAT(removal.domains->found, ElementsAre("\"a.test\"", "\"b.test\"", "\"c.test\""));
  EXPECT_THAT(removal.domains->remaining, ElementsAre("\"a.test\"", "\"c.test\""));
}

TEST(BlockerListText, everyEntryThatIsTheDomainGoes) {
  EXPECT_EQ(remove("[" + whitelisting(R"("a","b","a")") + "]", "a"),
            "[" + whitelisting(R"("b")") + "]");
}

TEST(BlockerListText, onlyAWholeEntryIsTheDomain) {
  const auto list = "[" + whitelisting(R"("www.a.test","a.test.org","*a.test")") + "]";
  EXPECT_EQ(remove(list, "a.test"), list);
}

TEST(BlockerListText, domainThatIsNotInTheListChangesNothing) {
  const auto list = "[" + whitelisting(R"("a.test")") + "]";
  const auto removal = removingDomain(list, marker, "\"other.test\"");
  EXPECT_EQ(removal.text, list);
  EXPECT_THAT(removal.domains->remaining, ElementsAre("\"a.test\""));
}

TEST(BlockerListText, lastDomainTakesTheBlockerWithIt) {
  EXPECT_EQ(remove("[" + whitelisting("\"a\"") + "," + blocking + "]", "a"), "[" + blocking + "]");
  EXPECT_EQ(remove("[" + blocking + "," + whitelisting("\"a\"") + "]", "a"), "[" + blocking + "]");
  EXPECT_EQ(remove("[" + blocking + "," + whitelisting("\"a\"") + "," + blocking + "]", "a"),
            "[" + blocking + "," + blocking + "]");
  EXPECT_EQ(remove("[" + whitelisting("\"a\"") + "]", "a"), "[]");
}

TEST(BlockerListText, listWithoutTheMarkerIsLeftAlone) {
  const auto list = "[" + blocking + "]";
  const auto removal = removingDomain(list, marker, "\"a\"");
  EXPECT_EQ(removal.text, list);
  EXPECT_FALSE(removal.domains);
}

TEST(BlockerListText, blockerWithTheMarkerAndNoDomainListIsLeftAlone) {
  const auto list =
      R"([{"trigger":{"url-filter":"x","unless-domain":["a"]},"action":{)" + marker + "}}]";
  const auto removal = removingDomain(list, marker, "\"a\"");
  EXPECT_EQ(removal.text, list);
  EXPECT_FALSE(removal.domains);
}

TEST(BlockerListText, firstBlockerWithTheMarkerIsTheOneThatIsEdited) {
  const auto other = whitelisting("\"b\"");
  EXPECT_EQ(remove("[" + whitelisting(R"("a","b")") + "," + other + "]", "b"),
            "[" + whitelisting("\"a\"") + "," + other + "]");
  const auto second = "[" + other + "," + whitelisting("\"a\"") + "]";
  EXPECT_EQ(remove(second, "a"), second);
}

TEST(BlockerListText, keysMayStandInEitherOrder) {
  const std::string turned =
      R"([{"action":{)" + marker + R"(},"trigger":{"if-domain":["a","b"],"url-filter":".*"}}])";
  EXPECT_EQ(remove(turned, "a"),
            R"([{"action":{)" + marker + R"(},"trigger":{"if-domain":["b"],"url-filter":".*"}}])");
}

TEST(BlockerListText, stringsMayHoldAnyPunctuationAndTheMarkerItself) {
  const std::string tricky =
      R"({"trigger":{"url-filter":"}],[{\",\"if-domain\":[\"a\"],\"type\":\"ignore-previous-rules\"\\"},)"
      R"("action":{"type":"block"}})";
  EXPECT_EQ(remove("[" + tricky + "," + whitelisting(R"("a","b")") + "]", "a"),
            "[" + tricky + "," + whitelisting("\"b\"") + "]");
  EXPECT_EQ(remove("[" + tricky + "]", "a"), "[" + tricky + "]");
}

TEST(BlockerListText, keyThatOnlyEndsLikeTheMarkerIsNotTheMarker) {
  const std::string list =
      R"([{"trigger":{"url-filter":"x","if-domain":["a"]},"action":{"my\"type":"ignore-previous-rules","type":"block"}}])";
  EXPECT_EQ(remove(list, "a"), list);
}

TEST(BlockerListText, textThatIsNoListIsLeftAlone) {
  for (const auto& text : {"{" + marker + "}", "[" + whitelisting("\"a\"").substr(0, 60),
                           "[" + whitelisting("\"a\"") + " junk", "[{" + marker, marker,
                           "[1,{" + marker + "}]", "x" + whitelisting("\"a\"")}) {
    EXPECT_EQ(remove(text, "a"), text);
  }
}

TEST(BlockerListText, truncationAnywhereIsNoDisaster) {
  const auto list = "[" + blocking + "," + whitelisting(R"("a","b")") + "]";
  for (std::size_t length = 0; length < list.size(); ++length) {
    const auto cut = list.substr(0, length);
    EXPECT_EQ(remove(cut, "a"), cut) << length;
  }
}

/// Strings that try to look like structure.
rc::Gen<std::string> trickyString() {
  return rc::gen::map(
      rc::gen::container<std::vector<std::string>>(rc::gen::element<std::string>(
          "a", "\"", "\\", "{", "}", "[", "]", ",", ":", "\u00E9", "\n", "\"if-domain\":[",
          "\"type\":\"ignore-previous-rules\"", "\"type\":\"make-https\"", "b.test")),
      [](const std::vector<std::string>& parts) {
        std::string text;
        for (const auto& part : parts) text += part;
        return text;
      });
}

Blocker anyBlocker() {
  Trigger trigger{.urlFilter = *trickyString()};
  if (*rc::gen::arbitrary<bool>()) {
    trigger.domainFilter =
        DomainFilter{*rc::gen::element(DomainFilterType::IfDomain, DomainFilterType::UnlessDomain),
                     *rc::gen::nonEmpty(rc::gen::container<std::vector<std::string>>(
                         rc::gen::element<std::string>("a.test", "b.test", "c.test", "]", "\"")))};
  }
  const auto type = *rc::gen::element(ActionType::Block, ActionType::IgnorePreviousRules,
                                      ActionType::makeHttps, ActionType::Hide);
  return {trigger, *Action::make(type, *trickyString())};
}

std::string listText(const std::vector<Blocker>& blockers) {
  return *toJSON(std::span<const Blocker>(blockers));
}

/// What removing a domain means for a list of values.
void removeDomain(std::vector<Blocker>& blockers, ActionType type, const std::string& domain) {
  const auto edited = std::find_if(blockers.begin(), blockers.end(), [&](const Blocker& blocker) {
    return blocker.action.type() == type;
  });
  if (edited == blockers.end()) return;
  auto& filter = edited->trigger.domainFilter;
  if (!filter || filter->type != DomainFilterType::IfDomain) return;
  std::erase(filter->values, domain);
  if (filter->values.empty()) blockers.erase(edited);
}

TEST(BlockerListText, anySequenceOfEditsGivesWhatEditingTheValuesGives) {
  const bool held = rc::check([] {
    std::vector<Blocker> blockers{anyBlocker()};
    std::string text = listText(blockers);
    const int edits = *rc::gen::inRange(1, 12);
    for (int edit = 0; edit < edits && !blockers.empty(); ++edit) {
      const int kind = *rc::gen::inRange(0, 4);
      if (kind < 2) {
        const auto blocker = anyBlocker();
        text = kind == 0 ? prependingToList(text, *toJSON(blocker))
                         : appendingToList(text, *toJSON(blocker));
        blockers.insert(kind == 0 ? blockers.begin() : blockers.end(), blocker);
        continue;
      }
      const auto type = kind == 2 ? ActionType::IgnorePreviousRules : ActionType::makeHttps;
      const auto domain = *rc::gen::element<std::string>("a.test", "b.test", "c.test", "]", "\"");
      text = removingDomain(text, "\"type\":\"" + std::string(rawValue(type)) + "\"",
                            *toJSON(std::string_view(domain)))
                 .text;
      removeDomain(blockers, type, domain);
    }
    RC_ASSERT(text == listText(blockers));
  });
  EXPECT_TRUE(held);
}

}  // namespace
}  // namespace orvane::test
