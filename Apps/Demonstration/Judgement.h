#pragma once

#include <cstddef>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Apps/Demonstration/LoopbackProxy.h"

namespace orvane {

/// What became of one thing on a page.
enum class Outcome {
  NotRequested,
  Requested,  ///< over http
  RequestedOverHTTPS,
  WithCookie,
  WithoutCookie,
  Shown,
  Hidden,
  Missing,  ///< the page has no such element
};

std::string_view nameOf(Outcome outcome);

/// Whether a resource was asked for, and how.
struct RequestFor {
  std::string host;
  std::string path;
};

/// Whether the request for a resource carried a cookie.
struct CookieFor {
  std::string host;
  std::string path;
};

/// Whether the element with this id can be seen.
struct Element {
  std::string id;
};

using Subject = std::variant<RequestFor, CookieFor, Element>;

/// What shall become of one thing on a page, before and after the list came into force.
struct Expectation {
  std::string rule;   ///< what a person calls the rule that it shows
  std::string thing;  ///< what a person calls the thing
  std::string page;   ///< the address that is opened
  Subject subject;
  Outcome without;
  Outcome with;
};

/// What was observed while a page was open.
struct Visit {
  /// Every request that reached the network.
  std::vector<LoopbackProxy::Request> requests;
  /// `Shown`, `Hidden` or `Missing`, by element id.
  std::map<std::string, Outcome> elements;
};

/// How many different addresses were asked for; a browser may ask for one twice.
std::size_t resourceCount(const Visit& visit);

/// By the address of the page.
using Visits = std::map<std::string, Visit>;

/// An expectation, and what was observed.
struct Row {
  Expectation expectation;
  Outcome without;
  Outcome with;

  bool isRight() const { return without == expectation.without && with == expectation.with; }
};

/// What the visits say about the subject on its page. A page that was not visited had no requests
/// and no elements. One plain request among encrypted ones, or one cookie, is enough to count.
Outcome observed(const Visits& visits, const std::string& page, const Subject& subject);

/// A row for each expectation, in the same order.
std::vector<Row> judge(std::span<const Expectation> expectations, const Visits& without,
                       const Visits& with);

/// Whether there are rows and every one of them is right.
bool isAllRight(std::span<const Row> rows);

/// How many of the observed things the list did something to.
struct Summary {
  std::size_t blocked = 0;
  std::size_t hidden = 0;
  std::size_t upgraded = 0;
  std::size_t cookiesStripped = 0;
  std::size_t letThrough = 0;
  std::size_t other = 0;  ///< changed in a way that no list can ask for, or missing

  friend bool operator==(const Summary&, const Summary&) = default;
};

Summary summaryOf(std::span<const Row> rows);

}  // namespace orvane
