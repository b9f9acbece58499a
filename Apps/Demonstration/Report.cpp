#include "Apps/Demonstration/Report.h"

#include <algorithm>
#include <numeric>

#include <fmt/format.h>

#include "Apps/Demonstration/DemonstrationList.h"
#include "BlockerKit/JSON/RecordWriter.h"

namespace orvane {
namespace {

std::string line(std::string_view rule, std::string_view thing, std::string_view without,
                 std::string_view with, std::string_view verdict) {
  return fmt::format("{:<17} {:<37} {:<17} {:<21} {}\n", rule, thing, without, with, verdict);
}

std::string verdictOn(const Row& row) {
  if (row.isRight()) return "as it should be";
  return fmt::format(R"(WRONG: should be "{}" and "{}")", nameOf(row.expectation.without),
                     nameOf(row.expectation.with));
}

std::size_t resourceCountOf(const Visits& visits) {
  return std::accumulate(
      visits.begin(), visits.end(), std::size_t{0},
      [](std::size_t sum, const auto& visit) { return sum + resourceCount(visit.second); });
}

}  // namespace

Expected<std::string> listReport() {
  std::string text = "The list\n\n";
  for (const auto& rule : demonstrationRules()) {
    const auto json = toJSON(rule.blocker);
    if (!json) return tl::unexpected(json.error());
    text += fmt::format("{:<17} {}\n", nameOf(rule.kind), *json);
  }
  return text;
}

std::string tableReport(std::span<const Row> rows) {
  std::string text = "What the browser did\n\n";
  text += line("Rule", "On the page", "Without the list", "With the list", "Verdict");
  text += std::string(112, '-') + '\n';
  for (const auto& row : rows) {
    text += line(row.expectation.rule, row.expectation.thing, nameOf(row.without), nameOf(row.with),
                 verdictOn(row));
  }
  return text;
}

std::string summaryReport(std::span<const Row> rows, const Visits& without, const Visits& with) {
  const Summary summary = summaryOf(rows);
  const auto wrong =
      std::count_if(rows.begin(), rows.end(), [](const Row& row) { return !row.isRight(); });
  auto text = fmt::format(
      "With the list: {} blocked, {} hidden, {} upgraded to https, {} stripped of cookies, "
      "{} let through.\n",
      summary.blocked, summary.hidden, summary.upgraded, summary.cookiesStripped,
      summary.letThrough);
  if (summary.other > 0) text += fmt::format("{} changed in some other way.\n", summary.other);
  text += fmt::format("Resources asked for over the network: {} without the list, {} with it.\n",
                      resourceCountOf(without), resourceCountOf(with));
  if (isAllRight(rows))
    return text + fmt::format("All {} rows are as they should be.\n", rows.size());
  return text + fmt::format("{} of {} rows are WRONG.\n", wrong, rows.size());
}

}  // namespace orvane
