#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <random>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "Platform/CloudKit/CloudBackend.h"
#include "Tests/Linux/ClientProcess.h"
#include "Tests/Linux/CloudClient.h"

namespace orvane::test {

/// Processes that use the same cloud at once.
class CloudWriters {
 public:
  /// The address is the one that they find it by. There is an empty zone in it.
  CloudWriters(CloudBackend& cloud, std::string address)
      : cloud_(cloud), address_(std::move(address)) {}

  /// Follows the changes in small pages while that many processes save records of their own: each
  /// record that they were told is saved comes once and with the tag that they were told, in the
  /// order of the tags, and nothing else comes.
  void follow(int count) {
    start("write", count);
    for (bool isLast = false; !isLast;) {
      isLast = haveEnded();
      ASSERT_NO_FATAL_FAILURE(fetchTheRest());
    }
    std::map<std::string, std::string> told;
    for (auto& process : processes_) {
      std::istringstream lines(process.rest());
      std::string name;
      std::string tag;
      while (lines >> name >> tag) told[name] = tag;
      EXPECT_EQ(process.exitStatus(), 0);
    }
    EXPECT_EQ(told.size(), static_cast<std::size_t>(count * batchesOfAWriter * recordsOfABatch));
    EXPECT_EQ(tags_, told);
    EXPECT_GT(pagesWhileWriting_, 1);
  }

  /// That many processes each add to the number of one record; an addition that is lost shows.
  void addToOneNumber(int count) {
    CKRecord record("Rule", {"one", zoneOfClients});
    record.setValue("number", CKRecordValue(std::int64_t{0}));
    ASSERT_TRUE(cloud_.modifyRecords({zoneOfClients, {record}, {}}, {}));
    start("add", count);
    for (auto& process : processes_) EXPECT_EQ(process.exitStatus(), 0);
    EXPECT_EQ(numberOf("one"), count * additionsOfAClient);
  }

  /// Kills that many processes, one after the other, that each save two records with the same
  /// number again and again: both are there or neither, what they were told is there, and at most
  /// one more. `settle` is called after each kill.
  void killAtWork(int kills, const std::function<void()>& settle) {
    std::mt19937 random(20261121);
    std::int64_t told = 0;
    int killedAtWork = 0;
    for (int kill = 0; kill < kills; ++kill) {
      ClientProcess writer("write-for-ever", address_, cloudClient);
      const int wanted = std::uniform_int_distribution(0, 8)(random);
      for (int read = 0; read < wanted; ++read) {
        ASSERT_EQ(::read(writer.output(), &told, sizeof told), static_cast<ssize_t>(sizeof told));
      }
      spin(std::chrono::microseconds(std::uniform_int_distribution(0, 3000)(random)));
      writer.kill();
      const auto rest = writer.rest();
      ASSERT_EQ(rest.size() % sizeof told, 0U);
      if (!rest.empty()) {
        rest.copy(reinterpret_cast<char*>(&told), sizeof told, rest.size() - sizeof told);
      }
      settle();
      killedAtWork += wanted > 0 ? 1 : 0;
      if (told == 0) continue;
      const auto number = numberOf("a").value();
      ASSERT_EQ(numberOf("b"), number) << "after kill " << kill;
      ASSERT_GE(number, told) << "after kill " << kill;
      ASSERT_LE(number, told + 1) << "after kill " << kill;
      told = number;
    }
    EXPECT_GT(killedAtWork, kills / 2);
    EXPECT_GT(told, kills);
  }

  std::optional<std::int64_t> numberOf(const std::string& name) {
    const auto changes = cloud_.fetchChanges(zoneOfClients, std::nullopt, 100, {});
    for (const auto& record : changes->changed) {
      const auto* number = record.as<std::int64_t>("number");
      if (record.recordID().recordName == name && number != nullptr) return *number;
    }
    return std::nullopt;
  }

 private:
  static void spin(std::chrono::microseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) {
    }
  }

  /// Change tags and tokens begin with a number that counts the changes of the zone.
  static std::int64_t numberIn(const std::string& mark) { return std::stoll(mark); }

  void start(const std::string& command, int count) {
    for (int process = 0; process < count; ++process) {
      processes_.emplace_back(command, address_, cloudClient);
    }
  }

  bool haveEnded() {
    return std::all_of(processes_.begin(), processes_.end(),
                       [](ClientProcess& process) { return process.hasEnded(); });
  }

  void fetchTheRest() {
    for (bool isMoreComing = true; isMoreComing;) {
      constexpr std::size_t pageSize = 7;
      const auto changes = cloud_.fetchChanges(zoneOfClients, token_, pageSize, {});
      ASSERT_TRUE(changes) << changes.error().localizedDescription;
      for (const auto& record : changes->changed) {
        const auto tag = record.recordChangeTag().value();
        ASSERT_GT(numberIn(tag), last_) << "they come in their order";
        last_ = numberIn(tag);
        const auto isNew = tags_.emplace(record.recordID().recordName, tag).second;
        ASSERT_TRUE(isNew) << record.recordID().recordName << " came twice";
      }
      // The numbers of a zone begin anywhere.
      if (tags_.empty()) last_ = numberIn(changes->token.value);
      ASSERT_EQ(numberIn(changes->token.value), last_) << "a token leaves nothing behind it out";
      token_ = changes->token;
      pagesWhileWriting_ += !changes->changed.empty() && !haveEnded() ? 1 : 0;
      isMoreComing = changes->moreComing;
    }
  }

  CloudBackend& cloud_;
  std::string address_;
  std::list<ClientProcess> processes_;
  std::map<std::string, std::string> tags_;  ///< of the records that came, by their names
  std::optional<CKServerChangeToken> token_;
  std::int64_t last_ = 0;
  int pagesWhileWriting_ = 0;
};

}  // namespace orvane::test
