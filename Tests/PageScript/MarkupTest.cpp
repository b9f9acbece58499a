#include <chrono>
#include <optional>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "Apps/Demonstration/AsyncResult.h"
#include "BlockerKit/Lint/SelectorLint.h"
#include "Tests/PageScript/Markup.h"
#include "Tests/PageScript/ScriptedView.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t shortSelector = 80;
constexpr std::size_t longestSelector = 1000;

std::string inJSON(const std::string& text) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
  return buffer.GetString();
}

/// The element after the comment with this text.
std::string elementAfter(const std::string& comment) {
  return fmt::format(R"js((() => {{
    const comments = document.createTreeWalker(document, NodeFilter.SHOW_COMMENT);
    while (comments.nextNode()) {{
      if (comments.currentNode.data === "{}") return comments.currentNode.nextElementSibling;
    }}
    return null;
  }})())js",
                     comment);
}

class Pages : public ::testing::TestWithParam<Markup> {
 protected:
  /// Has the browser hide what the selector matches, as a rule of the blocker list does.
  void hide(const std::string& selector) {
    auto* store = webkit_user_content_filter_store_new(folder.path().c_str());
    const auto json =
        R"([{"trigger":{"url-filter":".*"},"action":{"type":"css-display-none","selector":)" +
        inJSON(selector) + "}}]";
    GBytes* source = g_bytes_new(json.data(), json.size());
    const AsyncResult answer;
    webkit_user_content_filter_store_save(store, "hiding", source, nullptr, AsyncResult::callback,
                                          answer.callbackData());
    const auto result = answer.wait("Compiling", 20s);
    ASSERT_TRUE(result.has_value());
    GError* error = nullptr;
    auto* filter = webkit_user_content_filter_store_save_finish(store, *result, &error);
    ASSERT_NE(filter, nullptr) << error->message;
    webkit_user_content_manager_add_filter(view.contentManager(), filter);
    webkit_user_content_filter_unref(filter);
    g_bytes_unref(source);
    g_object_unref(store);
  }

  std::string isHidden(const std::string& comment) {
    return view.value("getComputedStyle(" + elementAfter(comment) + ").display === 'none'");
  }

  std::string matches(const std::string& comment, const std::string& selector) {
    return view.value(fmt::format("Element.prototype.matches.call({}, {})", elementAfter(comment),
                                  inJSON(selector)));
  }

  TemporaryDirectory folder;
  ScriptedView view;
};

TEST_P(Pages, whatWasPickedIsFoundAndHiddenAlsoAtTheNextVisit) {
  const auto& page = GetParam();
  view.show(page.firstVisit(), page.contentType);
  const auto selector = view.pick(elementAfter("pick"));
  ASSERT_EQ(selector, page.selector);
  EXPECT_EQ(lintSelector(selector), std::nullopt);
  const bool isByPosition = selector.starts_with("body");
  EXPECT_LE(selector.size(), isByPosition ? longestSelector : shortSelector);
  EXPECT_EQ(matches("pick", selector), "true");
  EXPECT_EQ(matches("keep", selector), "false");

  hide(selector);
  view.show(page.secondVisit(), page.contentType);
  EXPECT_EQ(isHidden("pick"), "true");
  EXPECT_EQ(isHidden("keep"), "false");
}

INSTANTIATE_TEST_SUITE_P(AsTheyAreWritten, Pages, ::testing::ValuesIn(pagesAsTheyAreWritten()),
                         [](const auto& page) { return page.param.name; });

}  // namespace
}  // namespace orvane::test
