#include <ostream>
#include <string>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "Tests/PageScript/ScriptedView.h"

namespace orvane::test {
namespace {

/// Counts what the script asks of the page, and takes the time of each frame that it works in.
constexpr const char* meter = R"js("use strict";
{
  const meter = { queries: 0, looks: 0, frames: 0, times: [] };
  Object.defineProperty(globalThis, "meter", { value: meter });
  const count = (name, counter) => {
    const method = Document.prototype[name];
    Document.prototype[name] = function (...values) {
      meter[counter] += 1;
      return Reflect.apply(method, this, values);
    };
  };
  count("querySelectorAll", "queries");
  count("querySelector", "queries");
  count("elementsFromPoint", "looks");
  const countFrames = () => {
    meter.frames += 1;
    requestAnimationFrame(countFrames);
  };
  countFrames();
  // Of one movement comes the first event before the script asks for a frame, the second after it;
  // so one callback runs before the script in the frame and the other after it.
  let start = 0;
  addEventListener("pointermove", () => {
    requestAnimationFrame(() => { start = performance.now(); });
  }, true);
  addEventListener("mousemove", () => {
    requestAnimationFrame(() => {
      if (start > 0) meter.times.push(performance.now() - start);
      start = 0;
    });
  }, true);
})js";

/// Each onto another element.
constexpr int movements = 50;

/// Far more than a movement takes; a script that walks through the page takes longer.
constexpr double slowest = 250;

struct Page {
  std::string name;
  std::string script;  ///< fills the body

  friend std::ostream& operator<<(std::ostream& stream, const Page& page) {
    return stream << page.name;
  }
};

class LargePage : public ::testing::TestWithParam<Page> {
 protected:
  void showPage() {
    view.show(
        "<!doctype html><style>body { margin: 0 } * { line-height: 20px }</style><body>"
        "<script>" +
        GetParam().script + "</script>");
    ASSERT_EQ(view.value("document.querySelectorAll('body *').length >= 100000"), "true");
  }

  double number(const std::string& expression) {
    return std::stod(view.value(expression, World::Script));
  }

  void sweep() {
    for (int at = 0; at < movements; ++at) view.hoverAt(20 + at % 7, 5 + (at * 20) % 780);
  }

  ScriptedView view{meter};
};

TEST_P(LargePage, pointerMovesFluently) {
  showPage();
  view.startPicking();
  view.run("Object.assign(meter, { queries: 0, looks: 0, frames: 0, times: [] });", World::Script);
  sweep();
  EXPECT_LE(number("meter.looks"), number("meter.frames"));
  EXPECT_GE(number("meter.looks"), movements);
  // For each element six queries, one for a position, and one for each of a few ids.
  EXPECT_LE(number("meter.queries") / number("meter.looks"), 10);
  const auto middle = number("meter.times.sort((a, b) => a - b)[meter.times.length >> 1]");
  EXPECT_LT(middle, slowest);
  RecordProperty("median_ms", std::to_string(middle));
  RecordProperty("slowest_ms", std::to_string(number("meter.times.at(-1)")));
  RecordProperty("queries_per_move",
                 std::to_string(number("meter.queries") / number("meter.looks")));
}

INSTANTIATE_TEST_SUITE_P(Of, LargePage,
                         ::testing::Values(Page{"cards", R"js(
                        for (let at = 0; at < 25000; ++at) {
                          const card = document.createElement("div");
                          card.className = `card kind-${at % 500}`;
                          card.dataset.key = `key-${at}`;
                          for (const tag of ["p", "span", "a"]) {
                            card.append(document.createElement(tag));
                            card.lastChild.textContent = tag;
                          }
                          document.body.append(card);
                        })js"},
                                           Page{"lines", R"js(
                        for (let at = 0; at < 100000; ++at) {
                          document.body.append(document.createElement("p"));
                          document.body.lastChild.textContent = at;
                        })js"},
                                           Page{"classesOnly", R"js(
                        for (let at = 0; at < 2000; ++at) {
                          const row = document.createElement("section");
                          row.className = `row story-x lead-x kicker-x`;
                          for (let inner = 0; inner < 49; ++inner) {
                            const cell = document.createElement("i");
                            cell.className = "cell news-x item-x";
                            cell.title = "Title";
                            cell.textContent = "x";
                            row.append(cell);
                          }
                          document.body.append(row);
                        })js"}),
                         [](const auto& page) { return page.param.name; });

}  // namespace
}  // namespace orvane::test
