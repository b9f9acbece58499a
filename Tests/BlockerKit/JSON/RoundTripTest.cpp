#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "BlockerKit/JSON/JSONText.h"
#include "BlockerKit/JSON/RecordWriter.h"
#include "Tests/BlockerKit/JSON/RecordReading.h"
#include "Tests/Support/ModelGenerators.h"

namespace orvane::test {
namespace {

/// Whether a white-space character stands outside of all strings.
bool hasWhiteSpaceBetweenTokens(std::string_view json) {
  for (std::size_t at = 0; at < json.size();) {
    if (json[at] == '"') {
      at = endOfJSONString(json, at);
    } else if (skipJSONWhitespace(json, at) != at) {
      return true;
    } else {
      ++at;
    }
  }
  return false;
}

RC_GTEST_PROP(RoundTrip, AnyPackagesSurviveWritingAndReading, ()) {
  const auto original = *packageLists();
  RecordReading reading;
  RC_ASSERT(reading.packages(toJSON(std::span<const Package>(original)).value()) == original);
  RC_ASSERT(reading.output.lines.empty());
  RC_ASSERT(reading.uuidCount == 0);
}

RC_GTEST_PROP(RoundTrip, AnyPackageSurvivesWritingAndReading, ()) {
  const auto original = *packages();
  RecordReading reading;
  RC_ASSERT(reading.package(toJSON(original).value()) == original);
  RC_ASSERT(reading.output.lines.empty());
}

RC_GTEST_PROP(RoundTrip, AnyRulesSurviveWritingAndReading, ()) {
  const auto original = *rc::gen::container<std::vector<Rule>>(rules());
  RecordReading reading;
  RC_ASSERT(reading.rules(toJSON(std::span<const Rule>(original)).value()) == original);
  RC_ASSERT(reading.output.lines.empty());
}

RC_GTEST_PROP(RoundTrip, AnyTextSurvivesWritingAndReading, ()) {
  const auto original = *texts();
  const auto document = JSONDocument::parse(toJSON(std::string_view(original)).value());
  RC_ASSERT(document.has_value());
  RC_ASSERT(document->root().string() == original);
}

RC_GTEST_PROP(RoundTrip, WhatIsWrittenHasNoWhiteSpaceBetweenTokens, ()) {
  const auto json = toJSON(std::span<const Package>(*packageLists())).value();
  RC_ASSERT(!hasWhiteSpaceBetweenTokens(json));
}

RC_GTEST_PROP(RoundTrip, AListOfBlockersIsTheirObjectsInOrder, ()) {
  const auto list = *rc::gen::container<std::vector<Blocker>>(blockers());
  std::vector<std::string> objects;
  objects.reserve(list.size());
  for (const auto& blocker : list) objects.push_back(toJSON(blocker).value());
  RC_ASSERT(toJSON(std::span<const Blocker>(list)) ==
            arrayOf(fmt::format("{}", fmt::join(objects, ","))));
}

}  // namespace
}  // namespace orvane::test
