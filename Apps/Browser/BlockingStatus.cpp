#include "Apps/Browser/BlockingStatus.h"

#include <fmt/format.h>

namespace orvane {
namespace {

using Kind = BlockingStatus::Kind;

std::string grouped(std::int64_t number) {
  constexpr std::int64_t group = 1000;
  if (number < group) return fmt::format("{}", number);
  return fmt::format("{},{:03}", grouped(number / group), number % group);
}

/// What keeps the newest list from being in force although the user wants it.
BlockingStatus trouble(const BlockingFacts& facts) {
  const std::string last =
      facts.isListInForce ? " The list before it stays in force." : " Nothing is blocked.";
  if (!facts.companionError.empty()) {
    return {Kind::failing, "The List Is Not Up to Date", facts.companionError + last, "", ""};
  }
  if (facts.isListDamaged) {
    return {Kind::waiting, "The List Is Being Repaired",
            "The list is damaged or was made for another version of the browser. Orvane has been "
            "asked to make it again." +
                last,
            "", ""};
  }
  return {Kind::waiting, "There Is No List Yet",
          "Orvane is making the list in the background. Nothing is blocked until it is ready.", "",
          ""};
}

BlockingStatus withoutNumbers(const BlockingFacts& facts) {
  if (!facts.isEnabled) {
    return {Kind::failing, "The Settings Cannot Be Read",
            fmt::format("So it cannot be told whether you have switched the content blocker off: "
                        "{}",
                        facts.isEnabled.error().localizedDescription),
            "", ""};
  }
  if (!*facts.isEnabled) {
    return {Kind::off, "Blocking Is Off", "You have switched the content blocker off.", "", ""};
  }
  if (!facts.isListInForce || facts.isListDamaged || !facts.companionError.empty()) {
    return trouble(facts);
  }
  if (facts.isPaused) {
    return {Kind::off, "Blocking Is Paused",
            "Nothing is blocked until you let it go on, with the Orvane button beside the address.",
            "", ""};
  }
  return {Kind::working, "Blocking Is On",
          "Adverts, trackers and annoyances are blocked as you have chosen.", "", ""};
}

}  // namespace

BlockingStatus blockingStatus(const BlockingFacts& facts) {
  auto status = withoutNumbers(facts);
  if (!facts.isListInForce) return status;
  // The number is of the list that was tried last, which after an error is not the one in force.
  if (facts.rules && facts.companionError.empty() && !facts.isPaused) {
    status.rules = grouped(*facts.rules);
  }
  status.compiled = facts.compiled;
  return status;
}

}  // namespace orvane
