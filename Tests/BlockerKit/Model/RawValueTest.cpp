#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "BlockerKit/Model/Package.h"
#include "BlockerKit/Model/RawValue.h"

namespace orvane {
namespace {

template <typename Enum>
using Words = std::vector<std::pair<Enum, std::string_view>>;

/// The table is exactly `expected`, in order, and both directions follow it.
template <typename Enum>
void expectWords(const Words<Enum>& expected) {
  const auto& table = RawValues<Enum>::table;
  EXPECT_EQ(Words<Enum>(table.begin(), table.end()), expected);
  int position = 0;
  for (const auto& [value, word] : expected) {
    EXPECT_EQ(static_cast<int>(value), position++) << word;
    EXPECT_EQ(rawValue(value), word);
    EXPECT_EQ(fromRawValue<Enum>(word), value) << word;
  }
}

/// No change of case and nothing that is longer or shorter is a raw value.
template <typename Enum>
void expectOnlyExactWords() {
  EXPECT_FALSE(fromRawValue<Enum>(""));
  for (const auto& [value, word] : RawValues<Enum>::table) {
    std::string other(word);
    other[0] = static_cast<char>(std::toupper(other[0]));
    if (other != word) {
      EXPECT_FALSE(fromRawValue<Enum>(other)) << other;
    }
    EXPECT_FALSE(fromRawValue<Enum>(std::string(word) + " ")) << word;
    EXPECT_FALSE(fromRawValue<Enum>(std::string(word) + '\0')) << word;
    EXPECT_FALSE(fromRawValue<Enum>(word.substr(1))) << word;
  }
}

TEST(RawValueTest, ResourceTypesHaveTheBrowsersWordsInOrder) {
  expectWords<ResourceType>({{ResourceType::Document, "document"},
                             {ResourceType::Image, "image"},
                             {ResourceType::StyleSheet, "style-sheet"},
                             {ResourceType::Script, "script"},
                             {ResourceType::Font, "font"},
                             {ResourceType::Raw, "raw"},
                             {ResourceType::SVG, "svg-document"},
                             {ResourceType::Media, "media"},
                             {ResourceType::Popup, "popup"}});
}

TEST(RawValueTest, LoadTypesHaveTheBrowsersWordsInOrder) {
  expectWords<LoadType>(
      {{LoadType::FirstParty, "first-party"}, {LoadType::ThirdParty, "third-party"}});
}

TEST(RawValueTest, DomainFilterTypesHaveTheBrowsersWordsInOrder) {
  expectWords<DomainFilterType>({{DomainFilterType::IfDomain, "if-domain"},
                                 {DomainFilterType::UnlessDomain, "unless-domain"}});
}

TEST(RawValueTest, ActionTypesHaveTheBrowsersWordsInOrder) {
  expectWords<ActionType>({{ActionType::Block, "block"},
                           {ActionType::BlockCookies, "block-cookies"},
                           {ActionType::Hide, "css-display-none"},
                           {ActionType::IgnorePreviousRules, "ignore-previous-rules"},
                           {ActionType::makeHttps, "make-https"}});
}

TEST(RawValueTest, PackageTypesHaveTheirFileNamesInOrder) {
  expectWords<PackageType>({{PackageType::blockAds, "block-ads.json"},
                            {PackageType::blockAdult, "block-adult.json"},
                            {PackageType::blockAnnoyances, "block-annoyances.json"},
                            {PackageType::blockComments, "block-comments.json"},
                            {PackageType::blockTrackers, "block-trackers.json"},
                            {PackageType::blockInternational, "block-international.json"},
                            {PackageType::blockCustom, "block-custom.json"},
                            {PackageType::PreinstalledPackages, "PreinstalledPackages.json"},
                            {PackageType::ConfigurablePackages, "ConfigurablePackages.json"},
                            {PackageType::CustomPackages, "CustomPackages.json"}});
}

TEST(RawValueTest, ConfigurablePackageTypesHaveTheirIdentifiersInOrder) {
  expectWords<ConfigurablePackageType>({{ConfigurablePackageType::BlockURL, "block-url"},
                                        {ConfigurablePackageType::BlockCookies, "block-cookies"},
                                        {ConfigurablePackageType::HideElements, "hide-elements"},
                                        {ConfigurablePackageType::Whitelist, "whitelist"},
                                        {ConfigurablePackageType::makeHttps, "make-https"}});
}

TEST(RawValueTest, OnlyTheExactWordGivesACase) {
  expectOnlyExactWords<ResourceType>();
  expectOnlyExactWords<LoadType>();
  expectOnlyExactWords<DomainFilterType>();
  expectOnlyExactWords<ActionType>();
  expectOnlyExactWords<PackageType>();
  expectOnlyExactWords<ConfigurablePackageType>();
}

TEST(RawValueTest, SvgDocumentIsTheWordForSVG) {
  EXPECT_EQ(fromRawValue<ResourceType>("svg-document"), ResourceType::SVG);
  EXPECT_FALSE(fromRawValue<ResourceType>("svg"));
  EXPECT_FALSE(fromRawValue<ResourceType>("Image"));
}

TEST(RawValueTest, ACaseNameIsNotARawValue) {
  EXPECT_FALSE(fromRawValue<ActionType>("hide"));
  EXPECT_FALSE(fromRawValue<ActionType>("Hide"));
  EXPECT_FALSE(fromRawValue<ActionType>("makeHttps"));
  EXPECT_FALSE(fromRawValue<PackageType>("block-ads"));
  EXPECT_FALSE(fromRawValue<PackageType>("blockAds"));
}

TEST(RawValueTest, PackageKindsAreHashable) {
  std::unordered_set<PackageType> types;
  for (const auto& [type, word] : RawValues<PackageType>::table) types.insert(type);
  EXPECT_EQ(types.size(), 10U);
  std::unordered_set<ConfigurablePackageType> configurable;
  for (const auto& [type, word] : RawValues<ConfigurablePackageType>::table) {
    configurable.insert(type);
  }
  EXPECT_EQ(configurable.size(), 5U);
  const std::unordered_set<PackageCollectionType> headings{PackageCollectionType::general,
                                                           PackageCollectionType::international,
                                                           PackageCollectionType::custom};
  EXPECT_EQ(headings.size(), 3U);
}

TEST(RawValueTest, ACaseIsPrintedByItsOwnWord) {
  const std::vector<std::string_view> expected{
      "blockAds",      "blockAdult",           "blockAnnoyances",
      "blockComments", "blockTrackers",        "blockInternational",
      "blockCustom",   "PreinstalledPackages", "ConfigurablePackages",
      "CustomPackages"};
  std::vector<std::string_view> names;
  for (const auto& [type, word] : RawValues<PackageType>::table) names.push_back(caseName(type));
  EXPECT_EQ(names, expected);
}

}  // namespace
}  // namespace orvane
