#include "Apps/Demonstration/Judgement.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <tuple>

namespace orvane {
namespace {

using Request = LoopbackProxy::Request;

std::vector<Request> requestsFor(const Visit& visit, const std::string& host,
                                 const std::string& path) {
  std::vector<Request> result;
  std::copy_if(
      visit.requests.begin(), visit.requests.end(), std::back_inserter(result),
      [&](const Request& request) { return request.host == host && request.path == path; });
  return result;
}

Outcome observedIn(const Visit& visit, const RequestFor& subject) {
  const auto requests = requestsFor(visit, subject.host, subject.path);
  if (requests.empty()) return Outcome::NotRequested;
  const bool encrypted = std::all_of(requests.begin(), requests.end(), [](const Request& request) {
    return request.scheme == "https";
  });
  return encrypted ? Outcome::RequestedOverHTTPS : Outcome::Requested;
}

Outcome observedIn(const Visit& visit, const CookieFor& subject) {
  const auto requests = requestsFor(visit, subject.host, subject.path);
  if (requests.empty()) return Outcome::NotRequested;
  const bool hasCookie = std::any_of(requests.begin(), requests.end(), [](const Request& request) {
    return !request.cookie.empty();
  });
  return hasCookie ? Outcome::WithCookie : Outcome::WithoutCookie;
}

Outcome observedIn(const Visit& visit, const Element& subject) {
  const auto found = visit.elements.find(subject.id);
  return found == visit.elements.end() ? Outcome::Missing : found->second;
}

/// Counts a row under what the list did to its thing.
std::size_t& counterFor(const Row& row, Summary& summary) {
  using enum Outcome;
  if (row.without == NotRequested || row.without == Missing) return summary.other;
  if (row.with == row.without) return summary.letThrough;
  if (row.with == NotRequested) return summary.blocked;
  if (row.without == Shown && row.with == Hidden) return summary.hidden;
  if (row.without == Requested && row.with == RequestedOverHTTPS) return summary.upgraded;
  if (row.without == WithCookie && row.with == WithoutCookie) return summary.cookiesStripped;
  return summary.other;
}

}  // namespace

std::string_view nameOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::NotRequested:
      return "not requested";
    case Outcome::Requested:
      return "requested";
    case Outcome::RequestedOverHTTPS:
      return "requested over https";
    case Outcome::WithCookie:
      return "sent with cookie";
    case Outcome::WithoutCookie:
      return "sent without cookie";
    case Outcome::Shown:
      return "shown";
    case Outcome::Hidden:
      return "hidden";
    case Outcome::Missing:
      return "missing";
  }
  return {};
}

std::size_t resourceCount(const Visit& visit) {
  std::set<std::tuple<std::string, std::string, std::string>> addresses;
  for (const auto& request : visit.requests) {
    addresses.emplace(request.scheme, request.host, request.path);
  }
  return addresses.size();
}

Outcome observed(const Visits& visits, const std::string& page, const Subject& subject) {
  static const Visit none;
  const auto found = visits.find(page);
  const Visit& visit = found == visits.end() ? none : found->second;
  return std::visit([&](const auto& kind) { return observedIn(visit, kind); }, subject);
}

std::vector<Row> judge(std::span<const Expectation> expectations, const Visits& without,
                       const Visits& with) {
  std::vector<Row> rows;
  for (const auto& expectation : expectations) {
    rows.push_back({expectation, observed(without, expectation.page, expectation.subject),
                    observed(with, expectation.page, expectation.subject)});
  }
  return rows;
}

bool isAllRight(std::span<const Row> rows) {
  return !rows.empty() &&
         std::all_of(rows.begin(), rows.end(), [](const Row& row) { return row.isRight(); });
}

Summary summaryOf(std::span<const Row> rows) {
  Summary summary;
  for (const auto& row : rows) ++counterFor(row, summary);
  return summary;
}

}  // namespace orvane
