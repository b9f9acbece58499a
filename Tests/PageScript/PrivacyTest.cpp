#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/PageScript/ScriptedView.h"

namespace orvane::test {
namespace {

using ::testing::IsEmpty;
/// Writes down each event that reaches a listener of the page, which it adds as early as a page
/// can.
constexpr const char* ears = R"html(<!doctype html><meta charset=utf-8><script>
  window.heard = [];
  window.moved = [];
  const listen = (types, list) => {
    for (const type of types) {
      for (const target of [window, document]) {
        target.addEventListener(type, (event) => list.push(type), true);
      }
    }
  };
  listen(["pointerdown", "pointerup", "mousedown", "mouseup", "click", "dblclick", "auxclick",
          "contextmenu", "dragstart", "selectstart", "keydown", "keypress", "keyup", "focusin",
          "focusout", "focus", "blur", "toggle", "beforetoggle", "submit", "hashchange"], heard);
  listen(["pointermove", "mousemove", "pointerover", "mouseover"], moved);
</script><style>body { margin: 0 } a, iframe { display: block; width: 300px; height: 100px }</style>
<a id=link href="#followed" onclick="heard.push('onclick')">A link</a>)html";

class Privacy : public ::testing::Test {
 protected:
  void forgetWhatWasHeard() { view.run("heard.length = 0; moved.length = 0;", World::Page); }
  std::string heard() { return view.value("heard", World::Page); }

  ScriptedView view;
};

TEST_F(Privacy, pageHearsOfClicksAndKeysOutsideTheMode) {
  view.show(ears);
  view.hover("document.querySelector('#link')");
  forgetWhatWasHeard();
  view.click();
  view.press("a");
  EXPECT_TRUE(view.becomes("location.hash === '#followed'"));
  EXPECT_TRUE(
      view.becomes("['mousedown', 'click', 'onclick', 'keydown', 'keyup']"
                   ".every((type) => heard.includes(type))",
                   World::Page));
}

TEST_F(Privacy, pageHearsOfNoMoveInTheMode) {
  view.show(ears);
  view.startPicking();
  view.hover("document.querySelector('#link')");
  forgetWhatWasHeard();
  view.hoverAt(100, 70);
  view.hoverAt(100, 300);
  EXPECT_EQ(view.value("moved", World::Page), "[]");
}

TEST_F(Privacy, clickThatPicksDoesNotReachThePage) {
  view.show(ears);
  view.startPicking();
  view.hover("document.querySelector('#link')");
  forgetWhatWasHeard();
  view.click();
  ASSERT_TRUE(view.hears(1));
  view.settle();
  EXPECT_EQ(heard(), "[]");
  EXPECT_EQ(view.value("location.hash"), R"("")");
}

TEST_F(Privacy, secondClickOfADoubleClickDoesNotReachThePage) {
  view.show(ears);
  view.startPicking();
  view.hover("document.querySelector('#link')");
  forgetWhatWasHeard();
  view.input({"click", "--repeat", "2", "--delay", "20", "1"});
  ASSERT_TRUE(view.hears(1));
  view.settle();
  EXPECT_EQ(heard(), "[]");
  EXPECT_EQ(view.value("location.hash"), R"("")");
}

TEST_F(Privacy, clicksReachThePageAgainAfterThat) {
  view.show(ears);
  view.startPicking();
  view.hover("document.querySelector('#link')");
  view.click();
  ASSERT_TRUE(view.hears(1));
  EXPECT_TRUE(view.ends());
  view.run("await new Promise((go) => setTimeout(go, 600));");
  view.click();
  EXPECT_TRUE(view.becomes("location.hash === '#followed'"));
}

TEST_F(Privacy, keysOfTheModeDoNotReachThePage) {
  view.show(ears);
  view.startPicking();
  view.hover("document.querySelector('#link')");
  forgetWhatWasHeard();
  for (const char* key : {"Up", "Down", "x", "space", "Return"}) view.press(key);
  ASSERT_TRUE(view.hears(1));
  view.settle();
  EXPECT_EQ(heard(), "[]");
  view.startPicking();
  view.press("Escape");
  EXPECT_TRUE(view.ends());
  view.settle();
  EXPECT_EQ(heard(), "[]");
}

TEST_F(Privacy, fieldOfThePageGetsNoLettersAndHasTheFocusAgainAfterwards) {
  view.show(std::string(ears) + "<input id=field>");
  view.hover("document.querySelector('#field')");
  view.click();
  EXPECT_TRUE(view.becomes("document.activeElement.id === 'field'"));
  view.settle();
  forgetWhatWasHeard();
  view.startPicking();
  view.press("x");
  view.press("Escape");
  EXPECT_TRUE(view.ends());
  view.settle();
  EXPECT_EQ(view.value("document.querySelector('#field').value"), R"("")");
  EXPECT_EQ(view.value("document.activeElement.id"), R"("field")");
  EXPECT_EQ(heard(), "[]");
}

TEST_F(Privacy, clickOnAFramePicksTheFrameAndFollowsNoLinkInIt) {
  view.proxy().serve("ads.test", "/",
                     {.contentType = "text/html",
                      .body = "<a href=/clicked style='position: fixed; inset: 0'>Buy",
                      .headers = {}});
  view.show(std::string(ears) + "<iframe src='http://ads.test/'></iframe>");
  view.proxy().clearLog();
  EXPECT_EQ(view.pick("document.querySelector('iframe')"), R"(iframe[src*="//ads.test/"])");
  view.settle();
  EXPECT_THAT(view.proxy().log(), IsEmpty());
}

TEST_F(Privacy, eventsThatAPageMakesDoNothing) {
  view.show(ears);
  view.startPicking();
  view.hover("document.querySelector('#link')");
  view.run(R"js(
    const host = document.documentElement.lastElementChild;
    for (const target of [window, document, document.body, host, document.links[0]]) {
      for (const type of ["pointermove", "pointerdown", "pointerup", "mousedown", "mouseup"]) {
        const at = { bubbles: true, composed: true, clientX: 5, clientY: 500, detail: 1 };
        target.dispatchEvent(new PointerEvent(type, at));
        target.dispatchEvent(new MouseEvent("click", at));
      }
      for (const key of ["ArrowUp", "Enter", "Escape"]) {
        const options = { bubbles: true, composed: true, key, code: key };
        target.dispatchEvent(new KeyboardEvent("keydown", options));
      }
      target.click?.();
    }
    dispatchEvent(new Event("pagehide"));
    document.dispatchEvent(new Event("visibilitychange"));
    await new Promise(requestAnimationFrame);)js",
           World::Page);
  view.settle();
  EXPECT_THAT(view.messages(), IsEmpty());
  EXPECT_TRUE(view.isPicking());
  EXPECT_EQ(view.shownSelector(), "#link");
}

TEST_F(Privacy, pageSeesNeitherTheScriptNorItsMessages) {
  view.show(ears);
  view.startPicking();
  EXPECT_EQ(view.value("[typeof orvane, typeof webkit, typeof test]", World::Page),
            R"(["undefined","undefined","undefined"])");
  EXPECT_EQ(
      view.value("Object.keys(window).filter((name) => /orvane|webkit$/.test(name))", World::Page),
      "[]");
  EXPECT_EQ(view.value("[typeof orvane, typeof webkit.messageHandlers.orvane]", World::Script),
            R"(["object","object"])");
}

TEST_F(Privacy, scriptPutsOneNameInTheGlobalScopeOfItsWorld) {
  view.show(ears);
  const auto names = [&](World world) {
    return view.value("Object.getOwnPropertyNames(globalThis).sort().join()", world);
  };
  const auto usual = names(World::Test);
  EXPECT_EQ(view.value("Object.getOwnPropertyNames(globalThis)"
                       ".filter((name) => !" +
                           usual + ".split(',').includes(name)).sort()",
                       World::Script),
            R"(["orvane","test"])")
      << "the second is of this test";
  EXPECT_EQ(view.value("[typeof dom, typeof names, typeof picking, typeof listen]", World::Script),
            R"(["undefined","undefined","undefined","undefined"])");
}

TEST_F(Privacy, pageDoesNotSeeIntoThePanel) {
  view.show(ears);
  view.startPicking();
  view.hover("document.querySelector('#link')");
  ASSERT_EQ(view.shownSelector(), "#link");
  EXPECT_EQ(view.run(R"js(
    const host = document.documentElement.lastElementChild;
    let attached = "no";
    try { attached = host.attachShadow({ mode: "open" }); } catch (error) {}
    return [host.shadowRoot, host.textContent, host.innerHTML, attached,
            document.styleSheets.length, document.adoptedStyleSheets.length,
            document.documentElement.innerText.includes("element")];)js",
                     World::Page),
            R"([null,"","","no",1,0,false])");
}

TEST_F(Privacy, noWordOfTheScriptIsForAFrame) {
  view.proxy().serve("news.test", "/frame",
                     {.contentType = "text/html", .body = "<p>Inside", .headers = {}});
  view.show("<iframe src='/frame'></iframe>");
  EXPECT_EQ(view.value("document.querySelector('iframe').contentWindow.orvane === undefined",
                       World::Script),
            "true");
}

}  // namespace
}  // namespace orvane::test
