#include <array>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/Lint/SelectorLint.h"
#include "Tests/PageScript/ScriptedView.h"

namespace orvane::test {
namespace {

/// Names that no author would give. Each is the JavaScript expression of a string.
constexpr std::array names{
    "'n'.repeat(100000)",
    "'quote \" and apostrophe \\''",
    "'line\\nline'",
    "'return\\r'",
    "'tab\\tand\\fform feed'",
    "'nul \\u0000 inside'",
    "'\\u0000'",
    "'back\\\\slash'",
    "'\\\\'",
    "'\\ud83d\\ude00'",
    "'\\u{1f468}\\u200d\\u{1f469}'",
    "'lone \\ud83d'",
    "'\\udc00lone'",
    "'turned \\u202e round'",
    "'line \\u2028 separator'",
    "'delete \\u007f'",
    "'-'",
    "'--'",
    "'-1'",
    "'0'",
    "' '",
    "''",
    "'a b  c'",
    "']'",
    "'} * { display: none'",
    "'a,b'",
    "'a>b'",
    "'/* comment'",
    "'*/'",
    "'</style><script>'",
    "'::before'",
    "':has(a)'",
    "'url(x)'",
    "'!important'",
    "'\\ufeffmark'",
    "'e\\u0301'",
    "'\\ufffd'",
    "'constructor'",
    "'__proto__'",
};

class HostileNames : public ::testing::Test {
 protected:
  HostileNames() {
    view.show(R"html(<!doctype html><meta charset=utf-8><body>
      <div id=before>Before</div><p style="height: 50px">Target</p><div>After</div>)html");
  }

  /// What the script makes for the paragraph, which has the name in this attribute.
  void nameParagraph(const std::string& attribute, const std::string& name) {
    view.run(fmt::format("document.querySelector('p').setAttribute('{}', {});", attribute, name));
  }

  /// The selector as text, with what JSON would have to escape shown by its code.
  std::string selector() {
    std::string text;
    const auto json = view.value(R"js(
        [...(orvane.selectorFor(document.querySelector("p"))?.selector ?? "none")]
            .map((character) => character.codePointAt(0)).join(" "))js",
                                 World::Script);
    codePoints = json.substr(1, json.size() - 2);
    for (std::size_t at = 0; at < codePoints.size();) {
      const auto code = static_cast<std::uint32_t>(std::stoul(codePoints.substr(at)));
      GString* character = g_string_append_unichar(g_string_new(nullptr), code);
      text.append(character->str, character->len);
      g_string_free(character, TRUE);
      at = codePoints.find(' ', at);
      if (at == std::string::npos) break;
      ++at;
    }
    return text;
  }

  bool hasCharactersThatCannotBeSeen() {
    return view.run("return /[\\p{C}\\p{Zl}\\p{Zp}]/u.test(String.fromCodePoint(..." +
                    fmt::format("'{}'", codePoints) + ".split(' ').map(Number)));") == "true";
  }

  void expectGoodSelector() {
    const auto text = selector();
    SCOPED_TRACE(text);
    EXPECT_LE(text.size(), 1000U);
    EXPECT_FALSE(hasCharactersThatCannotBeSeen());
    EXPECT_EQ(lintSelector(text), std::nullopt);
    EXPECT_EQ(view.value(R"js((() => {
        const found = document.querySelectorAll(orvane.selectorFor(document.querySelector("p"))
            .selector);
        return found.length === 1 && found[0] === document.querySelector("p");
      })())js",
                         World::Script),
              "true");
  }

  ScriptedView view;
  std::string codePoints;
};

TEST_F(HostileNames, inAnAttributeStillGiveASelectorForTheElement) {
  for (const char* attribute : {"id", "class", "data-x", "name", "role", "aria-label", "title",
                                "alt", "type", "src", "href", "data"}) {
    for (const char* name : names) {
      SCOPED_TRACE(std::string(attribute) + " " + name);
      nameParagraph(attribute, name);
      expectGoodSelector();
    }
    view.run(fmt::format("document.querySelector('p').removeAttribute('{}');", attribute));
  }
}

TEST_F(HostileNames, inAttributesOfTheParentStillGiveASelectorForTheElement) {
  for (const char* attribute : {"id", "class", "data-x"}) {
    for (const char* name : names) {
      SCOPED_TRACE(std::string(attribute) + " " + name);
      view.run(fmt::format("document.body.setAttribute('{}', {});", attribute, name));
      expectGoodSelector();
    }
    view.run(fmt::format("document.body.removeAttribute('{}');", attribute));
  }
}

TEST_F(HostileNames, ofTheElementItselfStillGiveASelector) {
  view.run(R"js(
    document.body.innerHTML = '<a"b[c] id=x>One</a"b[c]><svg:rect>Two</svg:rect><:r1:>Three';)js");
  for (const char* found : {"document.querySelector('#x')", "document.body.children[0]"}) {
    EXPECT_EQ(
        view.value(fmt::format("document.querySelectorAll(orvane.selectorFor({0}).selector)[0]"
                               " === {0}",
                               found),
                   World::Script),
        "true");
  }
}

TEST_F(HostileNames, ofLengthyListsOfClassesAndAttributesAreNotAllTried) {
  view.run(R"js(
    const target = document.querySelector("p");
    target.className = Array.from({ length: 20000 }, (_, at) => `class-${at}-x`).join(" ");
    for (let at = 0; at < 5000; ++at) target.setAttribute(`data-a${at}`, `value ${at}`);)js");
  EXPECT_EQ(selector(), ".class-0-x");
}

TEST_F(HostileNames, thatChangeAtEachVisitAreNotUsed) {
  for (const char* name : {"css-1x2y3z",
                           "sc-bdVaJa",
                           "jsx-123456",
                           "ember1234",
                           "yui_3_18_1_1",
                           ":r1:",
                           "bdVaJa",
                           "svelte-1qk2ab",
                           "data-v-7ba5bd90",
                           "gwt-uid-12",
                           "ext-gen1023",
                           "radix-:r3:",
                           "3f2504e0-4f89-11d3-9a0c-0305e82c3301",
                           "post_20261121",
                           "a1b2c3d4",
                           "x8zQ1k",
                           "active",
                           "is-open",
                           "has-video",
                           "menu-open",
                           "tab--selected",
                           "hover",
                           "visible",
                           "lazyloaded"}) {
    for (const char* attribute : {"id", "class"}) {
      nameParagraph(attribute, fmt::format("'{}'", name));
      EXPECT_EQ(selector(), "body > p") << attribute << " " << name;
      view.run(fmt::format("document.querySelector('p').removeAttribute('{}');", attribute));
    }
  }
}

TEST_F(HostileNames, thatAnAuthorGaveAreUsed) {
  for (const char* name :
       {"header", "top-banner", "left-column", "video_player", "adSlot", "articleTeaser",
        "h264-player", "mp4", "vertical", "scroller", "section", "general", "ad-300x250",
        "related2", "isOnTop", "sign-in", "content-ad", "react-to-this", "genre-list"}) {
    for (const auto& [attribute, sign] : {std::pair{"id", "#"}, std::pair{"class", "."}}) {
      nameParagraph(attribute, fmt::format("'{}'", name));
      EXPECT_EQ(selector(), std::string(sign) + name);
      view.run(fmt::format("document.querySelector('p').removeAttribute('{}');", attribute));
    }
  }
}

}  // namespace
}  // namespace orvane::test
