#include <cstdint>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/SyncManager/RecordMerge.h"

namespace orvane::test {
namespace {

using FieldValue = CKRecord::Value;

const CKRecordID recordID{"a", {"Zone"}};
const FieldValue absent;
const FieldValue x = CKRecordValue(std::string("x"));
const FieldValue y = CKRecordValue(std::string("y"));
const FieldValue z = CKRecordValue(std::string("z"));

CKRecord recordWith(const FieldValue& value) {
  CKRecord record("rule", recordID);
  record.setValue("key", value);
  return record;
}

CKRecord serverWith(const FieldValue& value) {
  CKRecord record("rule", recordID, "tag", {});
  if (value) return {"rule", recordID, "tag", {{"key", *value}}};
  return record;
}

/// The ancestor's, the local and the server's value, and what is to become of them.
struct Case {
  const char* name;
  FieldValue ancestor;
  FieldValue local;
  FieldValue server;
  FieldValue merged;
};

class Merge : public ::testing::TestWithParam<Case> {};

TEST_P(Merge, decidesOnTheField) {
  const auto& [name, ancestor, local, server, merged] = GetParam();
  const auto result = mergedRecord(serverWith(server), recordWith(local), recordWith(ancestor));
  EXPECT_EQ(result.value("key"), merged);
}

INSTANTIATE_TEST_SUITE_P(
    OfAField, Merge,
    ::testing::Values(
        // The local side did not change it.
        Case{"UnchangedHereAndThere", x, x, x, x}, Case{"ChangedThereOnly", x, x, y, y},
        Case{"UnchangedHereAndAbsentThere", x, x, absent, absent},
        // The local side did.
        Case{"ChangedHereOnly", x, y, x, x}, Case{"ChangedHereAndThereAlike", x, y, y, y},
        Case{"ChangedHereAndThere", x, y, z, y}, Case{"ChangedHereAndAbsentThere", x, y, absent, y},
        // The local side has cleared it.
        Case{"ClearedHereOnly", x, absent, x, x},
        Case{"ClearedHereAndChangedThere", x, absent, y, absent},
        Case{"ClearedHereAndThere", x, absent, absent, absent},
        // The ancestor had none.
        Case{"AddedHere", absent, x, absent, x}, Case{"AddedHereAndThereAlike", absent, x, x, x},
        Case{"AddedHereAndThere", absent, x, y, x},
        Case{"AddedThereOnly", absent, absent, x, absent},
        Case{"NowhereAtAll", absent, absent, absent, absent}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(MergedRecord, hasTheServersChangeTag) {
  EXPECT_EQ(mergedRecord(serverWith(x), recordWith(y), recordWith(z)).recordChangeTag(), "tag");
}

TEST(MergedRecord, keepsWhatOnlyTheServerHas) {
  auto server = serverWith(x);
  server.setValue("theirs", z);
  EXPECT_EQ(mergedRecord(server, recordWith(y), recordWith(y)).value("theirs"), z);
}

TEST(MergedRecord, ignoresWhatOnlyTheAncestorHas) {
  auto ancestor = recordWith(x);
  ancestor.setValue("earlier", z);
  EXPECT_EQ(mergedRecord(serverWith(x), recordWith(x), ancestor).value("earlier"), absent);
}

TEST(MergedRecord, takesABooleanForTheNumberThatACloudKeepsInItsPlace) {
  const FieldValue flag = CKRecordValue(true);
  const FieldValue one = CKRecordValue(std::int64_t{1});
  const FieldValue zero = CKRecordValue(std::int64_t{0});
  EXPECT_EQ(mergedRecord(serverWith(zero), recordWith(flag), recordWith(one)).value("key"), zero);
  EXPECT_EQ(mergedRecord(serverWith(one), recordWith(zero), recordWith(flag)).value("key"), one);
}

TEST(MergedRecord, tellsANumberFromATextAndFromNothing) {
  const FieldValue one = CKRecordValue(std::int64_t{1});
  const FieldValue text = CKRecordValue(std::string("1"));
  EXPECT_EQ(mergedRecord(serverWith(text), recordWith(x), recordWith(one)).value("key"), x);
  EXPECT_EQ(mergedRecord(serverWith(absent), recordWith(x), recordWith(one)).value("key"), x);
}

TEST(FullDuplicate, hasTheServersValueUnderEveryKey) {
  EXPECT_TRUE(isFullDuplicate(serverWith(x), recordWith(x)));
  EXPECT_FALSE(isFullDuplicate(serverWith(y), recordWith(x)));
  EXPECT_FALSE(isFullDuplicate(serverWith(absent), recordWith(x)));
}

TEST(FullDuplicate, lacksWhatTheServerLacks) {
  EXPECT_TRUE(isFullDuplicate(serverWith(absent), recordWith(absent)));
  EXPECT_FALSE(isFullDuplicate(serverWith(x), recordWith(absent)));
}

TEST(FullDuplicate, mayLackWhatOnlyTheServerHas) {
  EXPECT_TRUE(isFullDuplicate(serverWith(x), CKRecord("rule", recordID)));
}

TEST(FullDuplicate, takesABooleanForANumber) {
  EXPECT_TRUE(isFullDuplicate(serverWith(CKRecordValue(std::int64_t{0})),
                              recordWith(CKRecordValue(false))));
}

}  // namespace
}  // namespace orvane::test
