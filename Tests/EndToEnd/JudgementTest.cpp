#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Apps/Demonstration/DemonstrationExpectations.h"
#include "Apps/Demonstration/DemonstrationList.h"
#include "Apps/Demonstration/Judgement.h"
#include "Apps/Demonstration/Report.h"

namespace orvane {
namespace {

using enum Outcome;

/// Makes a visit in which `subject` has `outcome`.
struct Pretend {
  Visit& visit;
  Outcome outcome;

  void operator()(const RequestFor& subject) const {
    if (outcome == NotRequested) return;
    const auto* scheme = outcome == RequestedOverHTTPS ? "https" : "http";
    visit.requests.push_back({scheme, subject.host, subject.path, ""});
  }

  void operator()(const CookieFor& subject) const {
    if (outcome == NotRequested) return;
    const auto* cookie = outcome == WithCookie ? "a=b" : "";
    visit.requests.push_back({"http", subject.host, subject.path, cookie});
  }

  void operator()(const Element& subject) const { visit.elements[subject.id] = outcome; }
};

/// What the browser does when everything is right, except that `exception` has another outcome.
Visits visitsAs(Outcome Expectation::*pass, const std::vector<Expectation>& expectations,
                const Expectation* exception = nullptr, Outcome wrong = Missing) {
  Visits visits;
  for (const auto& expectation : expectations) {
    const Outcome outcome = &expectation == exception ? wrong : expectation.*pass;
    std::visit(Pretend{visits[expectation.page], outcome}, expectation.subject);
  }
  return visits;
}

std::vector<Outcome> otherOutcomes(const Subject& subject, Outcome right) {
  std::vector<Outcome> outcomes{NotRequested, Requested, RequestedOverHTTPS};
  if (std::holds_alternative<CookieFor>(subject))
    outcomes = {NotRequested, WithCookie, WithoutCookie};
  if (std::holds_alternative<Element>(subject)) outcomes = {Missing, Shown, Hidden};
  std::erase(outcomes, right);
  return outcomes;
}

/// Things that are not looked at in two ways, so that one of them can go wrong alone.
std::vector<Expectation> independentExpectations() {
  auto expectations = demonstrationExpectations();
  std::erase_if(expectations, [](const Expectation& expectation) {
    const auto* request = std::get_if<RequestFor>(&expectation.subject);
    return request != nullptr && request->host == "share.chatterbox.test";
  });
  return expectations;
}

TEST(JudgementTest, IsContentWhenEveryObservationIsAsExpected) {
  const auto expectations = demonstrationExpectations();
  const auto rows = judge(expectations, visitsAs(&Expectation::without, expectations),
                          visitsAs(&Expectation::with, expectations));
  ASSERT_EQ(rows.size(), expectations.size());
  EXPECT_TRUE(isAllRight(rows));
  EXPECT_THAT(tableReport(rows), testing::Not(testing::HasSubstr("WRONG")));
}

TEST(JudgementTest, NoticesEveryWrongObservationWithTheList) {
  const auto expectations = independentExpectations();
  const auto without = visitsAs(&Expectation::without, expectations);
  for (const auto& expectation : expectations) {
    for (const Outcome wrong : otherOutcomes(expectation.subject, expectation.with)) {
      const auto rows = judge(expectations, without,
                              visitsAs(&Expectation::with, expectations, &expectation, wrong));
      EXPECT_FALSE(isAllRight(rows)) << expectation.thing << ": " << nameOf(wrong);
      const auto right =
          std::count_if(rows.begin(), rows.end(), [](auto& r) { return r.isRight(); });
      EXPECT_EQ(right + 1, std::ssize(rows)) << expectation.thing << ": " << nameOf(wrong);
      EXPECT_THAT(tableReport(rows), testing::HasSubstr("WRONG"));
      EXPECT_THAT(summaryReport(rows, {}, {}), testing::HasSubstr("1 of"));
    }
  }
}

TEST(JudgementTest, NoticesEveryWrongObservationWithoutTheList) {
  const auto expectations = independentExpectations();
  const auto with = visitsAs(&Expectation::with, expectations);
  for (const auto& expectation : expectations) {
    for (const Outcome wrong : otherOutcomes(expectation.subject, expectation.without)) {
      const auto without = visitsAs(&Expectation::without, expectations, &expectation, wrong);
      EXPECT_FALSE(isAllRight(judge(expectations, without, with)))
          << expectation.thing << ": " << nameOf(wrong);
    }
  }
}

TEST(JudgementTest, IsNotContentWithNothing) {
  EXPECT_FALSE(isAllRight({}));
  EXPECT_FALSE(isAllRight(judge(demonstrationExpectations(), {}, {})));
}

TEST(JudgementTest, OnePlainRequestOrOneCookieIsEnough) {
  const Visits visits{{"http://a.test/",
                       {.requests = {{"https", "b.test", "/x", ""},
                                     {"http", "b.test", "/x", ""},
                                     {"http", "c.test", "/", ""},
                                     {"http", "c.test", "/", "id=1"}},
                        .elements = {}}}};
  EXPECT_EQ(observed(visits, "http://a.test/", RequestFor{"b.test", "/x"}), Requested);
  EXPECT_EQ(observed(visits, "http://a.test/", CookieFor{"c.test", "/"}), WithCookie);
  EXPECT_EQ(observed(visits, "http://a.test/", RequestFor{"b.test", "/y"}), NotRequested);
  EXPECT_EQ(observed(visits, "http://other.test/", RequestFor{"b.test", "/x"}), NotRequested);
  EXPECT_EQ(observed(visits, "http://a.test/", Element{"story"}), Missing);
}

TEST(JudgementTest, CountsWhatTheListDid) {
  const auto row = [](Outcome without, Outcome with) {
    return Row{{"", "", "", Element{""}, without, with}, without, with};
  };
  const std::vector<Row> rows{
      row(Requested, NotRequested),
      row(RequestedOverHTTPS, NotRequested),
      row(WithCookie, NotRequested),
      row(Shown, Hidden),
      row(Shown, Hidden),
      row(Requested, RequestedOverHTTPS),
      row(WithCookie, WithoutCookie),
      row(Requested, Requested),
      row(Hidden, Shown),
      row(Missing, Missing),
  };
  EXPECT_EQ(summaryOf(rows), (Summary{.blocked = 3,
                                      .hidden = 2,
                                      .upgraded = 1,
                                      .cookiesStripped = 1,
                                      .letThrough = 1,
                                      .other = 2}));
}

TEST(JudgementTest, CountsAnAddressOnce) {
  const Visit visit{.requests = {{"http", "a.test", "/", ""},
                                 {"http", "a.test", "/", "id=1"},
                                 {"https", "a.test", "/", ""},
                                 {"http", "a.test", "/b", ""}},
                    .elements = {}};
  EXPECT_EQ(resourceCount(visit), 3U);
}

TEST(DemonstrationListTest, ShowsEveryKindOfRuleOnceAndTheExceptionLast) {
  const auto& rules = demonstrationRules();
  ASSERT_EQ(rules.size(), static_cast<std::size_t>(RuleKind::Whitelist) + 1);
  for (std::size_t i = 0; i < rules.size(); ++i) {
    EXPECT_EQ(rules[i].kind, static_cast<RuleKind>(i));
  }
  EXPECT_EQ(rules.back().blocker.action.type(), ActionType::IgnorePreviousRules);
}

TEST(DemonstrationListTest, EveryRuleButTheExceptionChangesSomething) {
  const auto expectations = demonstrationExpectations();
  for (const auto& rule : demonstrationRules()) {
    const auto changes = std::count_if(expectations.begin(), expectations.end(), [&](auto& each) {
      return each.rule == nameOf(rule.kind) && each.with != each.without;
    });
    EXPECT_EQ(changes > 0, rule.kind != RuleKind::Whitelist) << nameOf(rule.kind);
  }
}

}  // namespace
}  // namespace orvane
