#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/PageScript/ScriptedView.h"

namespace orvane::test {
namespace {

using ::testing::IsEmpty;
constexpr const char* advert = R"html(<!doctype html><meta charset=utf-8>
  <div id=offer style="width: 300px; height: 100px">Buy</div>)html";
constexpr const char* offer = "document.querySelector('#offer')";

/// The page script at work on pages that do what they can against it.
class HostilePage : public ::testing::Test {
 protected:
  ScriptedView view;
};

TEST_F(HostilePage, changesEveryPrototype) {
  view.show(std::string(advert) + R"html(<script>
    const fail = () => { throw new Error("changed"); };
    const define = Object.defineProperty;
    const namesOf = Object.getOwnPropertyNames;
    const { apply } = Reflect;
    const { setAttribute } = Element.prototype;
    const root = document.documentElement;
    const types = [String, Array, RegExp, Map, Set, WeakSet, WeakMap, Promise, Node, Element,
                   HTMLElement, Document, HTMLDocument, EventTarget, Event, MouseEvent,
                   KeyboardEvent, Range, NodeList, HTMLCollection, CSSStyleSheet, CSS, JSON, URL,
                   Reflect, MutationObserver, Function, Object];
    for (const type of types) {
      for (const object of [type, type.prototype]) {
        if (!object) continue;
        for (const name of namesOf(object)) {
          if (name === "constructor") continue;
          try {
            define(object, name, { get: fail, set: fail, configurable: true });
          } catch (error) {}
        }
      }
    }
    for (const name of ["requestAnimationFrame", "getComputedStyle", "addEventListener", "URL",
                        "CSS", "Reflect", "JSON", "setInterval", "MutationObserver"]) {
      define(window, name, { value: fail, configurable: true });
    }
    let failures = 0;
    try { document.querySelector("p"); } catch { failures += 1; }
    try { [1].map(String); } catch { failures += 1; }
    try { ({}).toString(); } catch { failures += 1; }
    try { addEventListener("click", () => {}); } catch { failures += 1; }
    apply(setAttribute, root, ["lang", failures + " failures"]);
  </script>)html");
  EXPECT_EQ(view.value("document.documentElement.lang"), R"("4 failures")");
  EXPECT_EQ(view.pick(offer), "#offer");
}

TEST_F(HostilePage, shadowsWhatTheDocumentAndTheWindowInherit) {
  std::string html = advert;
  for (const char* name :
       {"querySelector", "querySelectorAll", "body", "documentElement", "elementsFromPoint",
        "createElementNS", "createRange", "activeElement", "visibilityState", "baseURI",
        "getElementsByTagName", "orvane", "webkit", "location", "CSS", "requestAnimationFrame"}) {
    html += fmt::format("<img name={0}><form id={0}><input name=messageHandlers></form>", name);
  }
  view.show(html);
  EXPECT_EQ(view.value("document.body.tagName", World::Page), R"("IMG")");
  EXPECT_EQ(view.pick("Document.prototype.querySelector.call(document, '#offer')"), "#offer");
}

TEST_F(HostilePage, shadowsWhatAFormInherits) {
  std::string html = "<!doctype html><body><form style='height: 100px'>";
  for (const char* name : {"parentElement", "getAttribute", "getAttributeNames", "matches",
                           "localName", "contains", "getBoundingClientRect", "isConnected",
                           "scrollWidth", "scrollHeight", "clientHeight", "scrollBy", "remove"}) {
    html += fmt::format("<input type=hidden name={}>", name);
  }
  view.show(html + "</form><p>Text");
  EXPECT_EQ(view.value("document.forms[0].parentElement.name", World::Page), R"("parentElement")");
  EXPECT_EQ(view.pick("document.querySelector('form')"), "body > form");
}

TEST_F(HostilePage, floodsTheWindowWithEventsAndMessages) {
  view.show(std::string(advert) + R"html(<script>
    setInterval(() => {
      for (let count = 0; count < 200; ++count) {
        const at = { clientX: count, clientY: count, bubbles: true };
        document.body.dispatchEvent(new PointerEvent("pointermove", at));
        document.body.dispatchEvent(new MouseEvent("click", at));
        window.dispatchEvent(new Event("scroll"));
        window.dispatchEvent(new KeyboardEvent("keydown", { key: "Enter" }));
        window.postMessage({ page: "page", name: "hideSelector", userInfo: { sel: "body" } });
      }
    }, 1);
  </script>)html");
  EXPECT_EQ(view.pick(offer), "#offer");
  view.settle();
  EXPECT_EQ(view.messages().size(), 1U);
}

TEST_F(HostilePage, removesTheOverlayWheneverItComes) {
  view.show(std::string(advert) + R"html(<script>
    window.removed = 0;
    new MutationObserver((records) => {
      for (const { addedNodes } of records) {
        for (const node of addedNodes) { node.remove(); removed += 1; }
      }
    }).observe(document.documentElement, { childList: true });
  </script>)html");
  for (int attempt = 1; attempt <= 3; ++attempt) {
    view.script().dispatch(view.view(), "page", "showSelector");
    EXPECT_TRUE(view.becomes("removed === " + std::to_string(attempt), World::Page));
    EXPECT_TRUE(view.ends());
  }
  view.script().dispatch(view.view(), "page", "showSelector");
  EXPECT_TRUE(view.becomes("removed === 4", World::Page));
  view.run("addEventListener('click', () => { removed = 'clicked'; });", World::Page);
  view.hover(offer);
  view.click();
  EXPECT_TRUE(view.becomes("removed === 'clicked'", World::Page)) << "the mode has ended";
  EXPECT_THAT(view.messages(), IsEmpty());
}

TEST_F(HostilePage, takesTheOverlayOutOfTheTopLayer) {
  view.show(std::string(advert));
  view.startPicking();
  view.run("document.documentElement.lastElementChild.hidePopover();", World::Page);
  EXPECT_TRUE(view.ends());
  EXPECT_THAT(view.messages(), IsEmpty());
}

TEST_F(HostilePage, changesTheOverlay) {
  view.show(std::string(advert) + R"html(<style>
    * { display: none !important; opacity: 0 !important; transition: all 9s !important }
    html, body, #offer { display: block !important; opacity: 1 !important }
  </style>)html");
  view.startPicking();
  view.run(R"js(
    const host = document.documentElement.lastElementChild;
    host.style.cssText = "display: none !important; width: 1px !important; inset: auto !important";
    host.className = "offer";
    host.id = "host";
    host.hidden = true;)js",
           World::Page);
  view.hover(offer);
  EXPECT_EQ(view.shownSelector(), "#offer");
  EXPECT_EQ(view.value("(({ width, height }) => [width, height])"
                       "(test.overlay.host.getBoundingClientRect())",
                       World::Script),
            "[1000,800]");
  EXPECT_EQ(view.value("test.overlay.querySelector('.panel').checkVisibility()", World::Script),
            "true");
  view.click();
  ASSERT_TRUE(view.hears(1));
  EXPECT_EQ(view.pickedSelector(), "#offer");
}

TEST_F(HostilePage, writesItsDocumentAnew) {
  view.show(advert);
  view.startPicking();
  view.run("document.open(); document.write(`<p id=new>New page</p>`); document.close();",
           World::Page);
  EXPECT_TRUE(view.ends());
  EXPECT_EQ(view.pick("document.querySelector('#new')"), "#new");
  view.settle();
  EXPECT_EQ(view.messages().size(), 1U);
}

TEST_F(HostilePage, hasNoBody) {
  view.show(R"html(<!doctype html><script>
    document.body?.remove();
    const box = document.createElement("div");
    box.title = "Offer";
    box.style = "height: 100px; background: red";
    document.documentElement.append(box);
    document.addEventListener("DOMContentLoaded", () => document.body?.remove());
  </script>)html");
  ASSERT_EQ(view.value("document.body"), "null");
  EXPECT_EQ(view.pick("document.querySelector('div')"), R"(div[title="Offer"])");
}

TEST_F(HostilePage, hasNothingAtAll) {
  view.show("<!doctype html>");
  view.run("document.documentElement.remove();", World::Page);
  view.script().dispatch(view.view(), "page", "showSelector");
  view.settle();
  EXPECT_EQ(view.value("test.overlay === null", World::Script), "true");
  EXPECT_EQ(view.value("typeof orvane.receive", World::Script), R"("function")");
}

TEST_F(HostilePage, losesItsRootInTheMode) {
  view.show(advert);
  view.startPicking();
  view.run("document.documentElement.remove();", World::Page);
  EXPECT_TRUE(view.ends());
  view.settle();
  EXPECT_THAT(view.messages(), IsEmpty());
}

TEST_F(HostilePage, removesWhatIsUnderThePointer) {
  view.show(advert);
  view.startPicking();
  view.hover(offer);
  view.press("Up");
  view.run("document.querySelector('#offer').remove();", World::Page);
  for (const char* key : {"Up", "Down", "Up"}) view.press(key);
  view.hoverAt(500, 500);
  EXPECT_EQ(view.shownSelector(), "");
  view.press("Escape");
  EXPECT_TRUE(view.ends());
}

TEST_F(HostilePage, opensADialogThatMakesTheRestInert) {
  view.show(std::string(advert) + R"html(<dialog class=newsletter style="padding: 40px">
    <button>Close</button></dialog>
    <script>document.querySelector("dialog").showModal()</script>)html");
  view.startPicking();
  view.hover("document.querySelector('dialog')");
  view.press("Up");
  view.hover("document.querySelector('button')");
  view.press("Up");
  view.press("Return");
  ASSERT_TRUE(view.hears(1));
  EXPECT_EQ(view.pickedSelector(), ".newsletter");
  EXPECT_EQ(view.value("document.querySelector('dialog').open"), "true");
}

TEST_F(HostilePage, closesAPopoverWhenItIsPressed) {
  view.show(std::string(advert) + R"html(
    <div popover id=teaser style="width: 200px; height: 200px; inset: 300px auto auto 300px">Buy
    </div><script>document.querySelector("#teaser").showPopover()</script>)html");
  EXPECT_EQ(view.pick("document.querySelector('#teaser')"), "#teaser");
}

TEST_F(HostilePage, isADrawing) {
  view.show(
      R"(<svg xmlns="http://www.w3.org/2000/svg"><rect id="r" width="90" height="90"/></svg>)",
      "image/svg+xml");
  view.script().dispatch(view.view(), "page", "showSelector");
  view.settle();
  EXPECT_EQ(view.value("test.overlay === null", World::Script), "true");
  EXPECT_EQ(view.value("document.documentElement.children.length"), "1");
}

TEST_F(HostilePage, isPlainText) {
  view.show("Nothing but text", "text/plain");
  EXPECT_EQ(view.pick("document.querySelector('pre')"), "body > pre");
}

TEST_F(HostilePage, isAPicture) {
  const GObjectPointer<GdkPixbuf> picture(gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, 90, 90));
  gdk_pixbuf_fill(picture.get(), 0xc02020ff);
  gchar* bytes = nullptr;
  gsize size = 0;
  ASSERT_TRUE(gdk_pixbuf_save_to_buffer(picture.get(), &bytes, &size, "png", nullptr, nullptr));
  view.show(std::string(bytes, size), "image/png");
  g_free(bytes);
  EXPECT_EQ(view.pick("document.querySelector('img')"), "body > img");
}

TEST_F(HostilePage, isASetOfFramesThatNoRuleCanHide) {
  view.show(
      "<frameset rows='100,*'><frame name=banner src=/a><frame name=story src=/b></frameset>");
  view.startPicking();
  view.hover("document.querySelector('[name=banner]')");
  EXPECT_EQ(view.shownSelector(), "");
  view.press("Up");
  view.press("Return");
  view.click();
  view.settle();
  EXPECT_THAT(view.messages(), IsEmpty());
}

TEST_F(HostilePage, nestsElementsTooDeeplyForASelector) {
  view.show(R"html(<!doctype html><body><script>
    let deepest = document.body;
    for (let level = 0; level < 500; ++level) {
      deepest = deepest.appendChild(document.createElement("div"));
    }
    deepest.innerHTML = "<p>Deep below</p>";
  </script>)html");
  view.startPicking();
  view.hover("document.querySelector('p')");
  const auto selector = view.shownSelector();
  EXPECT_LE(selector.size(), 1000U);
  EXPECT_TRUE(selector.starts_with("div > div > ")) << selector;
  EXPECT_EQ(view.value("[...document.querySelectorAll('" + selector + "')].map((e) => e.tagName)"),
            R"(["P"])");
}

TEST_F(HostilePage, forbidsStylesAndScripts) {
  view.show(R"html(<!doctype html><meta http-equiv=Content-Security-Policy content="default-src
    'none'; style-src 'none'; script-src 'none'; require-trusted-types-for 'script'; trusted-types
    'none'"><div id=offer>Buy</div>)html");
  view.startPicking();
  view.hover(offer);
  EXPECT_EQ(
      view.value("getComputedStyle(test.overlay.querySelector('.panel')).position", World::Script),
      R"("fixed")");
  EXPECT_EQ(view.boxes().size(), 1U);
  view.click();
  ASSERT_TRUE(view.hears(1));
  EXPECT_EQ(view.pickedSelector(), "#offer");
}

}  // namespace
}  // namespace orvane::test
