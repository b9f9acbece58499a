#include "Tests/PageScript/Markup.h"

#include <utility>

namespace orvane::test {
namespace {

std::string filled(std::string text,
                   const std::vector<std::pair<std::string, std::string>>& values) {
  for (const auto& [placeholder, value] : values) {
    for (std::size_t at = 0; (at = text.find(placeholder, at)) != std::string::npos;
         at += value.size()) {
      text.replace(at, placeholder.size(), value);
    }
  }
  return text;
}

std::string nested(int levels) {
  std::string html = "<!doctype html><body>";
  for (int i = 0; i < levels; ++i) html += "<div>";
  return html + "{more}<!--pick--><p>Deep below</p><!--keep--><ul><li>List</ul>";
}

}  // namespace

std::string Markup::firstVisit() const {
  return filled(html, {{"{hash}", "k3Xb9f"}, {"{number}", "1041"}, {"{more}", ""}});
}

std::string Markup::secondVisit() const {
  return filled(html, {{"{hash}", "Zq7w2Rt"}, {"{number}", "20877"}, {"{more}", more}});
}

std::vector<Markup> pagesAsTheyAreWritten() {
  return {
      {.name = "newsWithAdSlots",
       .html = R"html(<!doctype html><body><main><!--keep--><p>Story</p>{more}
           <!--pick--><div class="ad-slot top">One</div><p>More<div class=ad-slot>Two</div></main>
           <aside><div class="ad-slot is-loaded">Three</div></aside>)html",
       .more = "<div class=ad-slot>New</div>",
       .selector = ".ad-slot"},
      {.name = "styleInScript",
       .html = R"html(<!doctype html><body><div class="sc-{hash} {hash}">{more}
           <!--pick--><div class="sc-a{hash} css-{hash}" data-testid="promo-box">Buy</div>
           <!--keep--><div class="sc-a{hash}" data-testid="story">Story</div></div>)html",
       .more = R"html(<div class="sc-a1">New</div>)html",
       .selector = R"css([data-testid="promo-box"])css"},
      {.name = "styleModules",
       .html = R"html(<!doctype html><body><div class="Page_page__{hash}">{more}
           <!--pick--><div class="Teaser_shopBox__{hash}">Buy</div>
           <!--keep--><div class="Teaser_story__{hash}">Story</div></div>)html",
       .more = R"html(<div class="Teaser_story__x">New</div>)html",
       .selector = R"css([class*="Teaser_shopBox__"])css"},
      {.name = "utilityClasses",
       .html = R"html(<!doctype html><body><div class="container mx-auto">{more}
           <!--keep--><div class="mt-4 p-2">Story</div>
           <!--pick--><div class="mt-4 flex p-2 md:w-1/2 hover:bg-red-500">Buy</div>
           <div class="flex mt-8">Story</div></div>)html",
       .more = R"html(<div class="mt-4 flex-1">New</div>)html",
       .selector = R"css(div.mt-4.flex)css"},
      {.name = "cookieBanner",
       .html = R"html(<!doctype html><body><!--keep--><p>Story</p>{more}<!--pick-->
           <div id="cookie-banner" class="is-visible" style="position: fixed; bottom: 0">Yes</div>)html",
       .more = "<div>New</div>",
       .selector = "#cookie-banner"},
      {.name = "stickyVideo",
       .html = R"html(<!doctype html><body><!--keep--><p>Story</p>{more}
           <!--pick--><div class="is-stuck video-player playing"
               style="position: fixed; right: 0; width: 200px; height: 100px"></div>)html",
       .more = "<div class=video>New</div>",
       .selector = ".video-player"},
      {.name = "tableLayout",
       .html =
           R"html(<!doctype html><body><center>{more}</center><table width=600><tr><td width=100>Menu</td>
           <!--pick--><td bgcolor=yellow>Buy</td><!--keep--><td>Story</td>{more}</table>)html",
       .more = "<td>New</td>",
       .selector = "body > table > tbody > tr > td:nth-of-type(2)"},
      {.name = "listOfEquals",
       .html = R"html(<!doctype html><body><!--keep--><h1>Shop</h1><ul>{more}<li class=card>One</li>
           <!--pick--><li class=card>Two</li><li class=card>Three</li></ul>)html",
       .more = "<li class=card>New</li><li class=card>Newer</li>",
       .selector = ".card"},
      {.name = "listWithNames",
       .html =
           R"html(<!doctype html><body><ul>{more}<!--keep--><li class=card data-article="harbour">One</li>
           <!--pick--><li class=card data-article="gulls">Two</li></ul>)html",
       .more = R"html(<li class=card data-article="storm">New</li>)html",
       .selector = R"css([data-article="gulls"])css"},
      {.name = "customElement",
       .html =
           R"html(<!doctype html><body><!--keep--><news-story style="display: block">Story</news-story>
           {more}<!--pick--><shop-window style="display: block">Buy</shop-window>)html",
       .more = R"html(<news-story style="display: block">New</news-story>)html",
       .selector = "shop-window"},
      {.name = "drawing",
       .html = R"html(<!doctype html><body><!--keep--><p>Story</p>{more}
           <!--pick--><svg class="sponsor-art" width=200 height=100><g><rect width=200 height=100 />
           <path d="M0 0 200 100" stroke=red /></g></svg>)html",
       .more = "<svg width=20 height=20></svg>",
       .selector = ".sponsor-art"},
      {.name = "pictureFromAnotherSite",
       .html =
           R"html(<!doctype html><body><!--keep--><p>Story</p><img src="/own.png" width=50 height=50>{more}
           <picture><source srcset="http://img.brightads.test/wide.png" media="(min-width: 9000px)">
           <!--pick--><img src="http://img.brightads.test/{number}.png" width=200 height=50>
           </picture>)html",
       .more = R"html(<img src="/new.png">)html",
       .selector = R"css(img[src*="//img.brightads.test/"])css"},
      {.name = "pictureInAFolder",
       .html =
           R"html(<!doctype html><body><!--keep--><img src="/photos/a.png" width=50 height=50>{more}
           <!--pick--><img src="/banners/{number}.png?x={hash}" width=200 height=50>)html",
       .more = R"html(<img src="/photos/b.png">)html",
       .selector = R"css(img[src^="/banners/"])css"},
      {.name = "frameFromAnotherSite",
       .html = R"html(<!doctype html><body><!--keep--><p>Story</p>{more}<!--pick--><iframe
           id="frame_{hash}" src="http://ads.test/frame?slot={number}" width=300 height=200>
           </iframe>)html",
       .more = R"html(<iframe src="/own"></iframe>)html",
       .selector = R"css(iframe[src*="//ads.test/"])css"},
      {.name = "linkToAnotherSite",
       .html = R"html(<!doctype html><body><!--keep--><a href="/story">Story</a>{more}
           <!--pick--><a href="https://click.adserver.test?to={hash}">Buy now</a>)html",
       .more = R"html(<a href="/new">New</a>)html",
       .selector = R"css(a[href*="//click.adserver.test"])css"},
      {.name = "idWithQuotes",
       .html = R"html(<!doctype html><body><!--keep--><p>Story</p>{more}
           <!--pick--><div id="it's &quot;new&quot; \">Buy</div>)html",
       .more = "<div>New</div>",
       .selector = R"css(#it\'s\ \"new\"\ \\)css"},
      {.name = "idThatStartsWithADigit",
       .html = R"html(<!doctype html><body><!--keep--><p>Story</p>{more}
           <!--pick--><div id="1st-offer">Buy</div>)html",
       .more = "<div>New</div>",
       .selector = R"css(#\31 st-offer)css"},
      {.name = "classWithColonsAndSlashes",
       .html = R"html(<!doctype html><body><!--keep--><div class="news/top">Story</div>{more}
           <!--pick--><div class="offers/top:right">Buy</div>)html",
       .more = "<div>New</div>",
       .selector = R"css(div.offers\/top\:right)css"},
      {.name = "idBeyondASCII",
       .html = R"html(<!doctype html><body><!--keep--><p>Story</p>{more}
           <!--pick--><div id="angebote-für-😀">Buy</div>)html",
       .more = "<div>New</div>",
       .selector = "#angebote-für-😀"},
      {.name = "fromRightToLeft",
       .html = R"html(<!doctype html><html dir=rtl lang=ar><body><!--keep--><p>خبر</p>{more}
           <!--pick--><aside class="إعلان">اشتر الآن</aside>)html",
       .more = "<aside>جديد</aside>",
       .selector = ".إعلان"},
      {.name = "withoutNames",
       .html = R"html(<!doctype html><body><div><p>Menu</div>{more}
           <div><!--keep--><p>Story</p><!--pick--><p>Buy</p></div>{more})html",
       .more = "<section><p>New</section>",
       .selector = "body > div:nth-of-type(2) > p:nth-of-type(2)"},
      {.name = "nestedDeeply",
       .html = nested(150),
       .more = "<span>New</span>",
       .selector = "body" +
                   [] {
                     std::string way;
                     for (int i = 0; i < 150; ++i) way += " > div";
                     return way;
                   }() +
                   " > p"},
      {.name = "formWhoseFieldsShadowItsProperties",
       .html = R"html(<!doctype html><body><!--keep--><p>Story</p>{more}
           <!--pick--><form name=signup style="height: 100px"><input name=parentElement>
           <input name=getAttribute><input name=matches><input name=localName><input name=contains>
           <input name=getBoundingClientRect><input name=getAttributeNames></form>)html",
       .more = "<form name=search></form>",
       .selector = R"css(form[name="signup"])css"},
      {.name = "openShadowRoot",
       .html = R"html(<!doctype html><body><!--keep--><p>Story</p>{more}
           <!--pick--><weather-box style="display: block"></weather-box><script>
           document.querySelector("weather-box").attachShadow({ mode: "open" }).innerHTML =
               "<div class=inside>Rain</div>"</script>)html",
       .more = "<div>New</div>",
       .selector = "weather-box"},
      {.name = "closedShadowRoot",
       .html = R"html(<!doctype html><body><!--keep--><p>Story</p>{more}
           <!--pick--><div title="Weather"></div><script>
           document.querySelector("[title]").attachShadow({ mode: "closed" }).innerHTML =
               "<div id=inside>Rain</div>"</script>)html",
       .more = "<div>New</div>",
       .selector = R"css(div[title="Weather"])css"},
      {.name = "documentInXML",
       .html = R"html(<?xml version="1.0"?><html xmlns="http://www.w3.org/1999/xhtml"><head><title>x
           </title></head><body><!--keep--><p>Story</p>{more}<!--pick--><div title="Offers">Buy</div>
           </body></html>)html",
       .more = "<div>New</div>",
       .selector = R"css(div[title="Offers"])css",
       .contentType = "application/xhtml+xml; charset=utf-8"},
      {.name = "idCountedUp",
       .html = R"html(<!doctype html><body><!--keep--><p>Story</p>{more}
           <!--pick--><div id="ember{number}" class="active" aria-label="Advertisement">Buy</div>)html",
       .more = R"html(<div id=ember3>New</div>)html",
       .selector = R"css(div[aria-label="Advertisement"])css"},
      {.name = "idWithAStableStart",
       .html = R"html(<!doctype html><body><!--keep--><p>Story</p>{more}
           <!--pick--><div id="div-box-ad-{number}00000-0">Buy</div>
           <div id="div-box-ad-{number}00000-1">Buy more</div>)html",
       .more = "<div id=div-box-story>New</div>",
       .selector = R"css([id^="div-box-ad-"])css"},
      {.name = "idOfAHook",
       .html = R"html(<!doctype html><body><section id=offers><!--keep--><h2>Offers</h2>{more}
           <!--pick--><div id=":r1:" data-v-{hash}>Buy</div></section><div>Story</div>)html",
       .more = "<p>New</p>",
       .selector = "#offers > div"},
      {.name = "sameIdTwice",
       .html = R"html(<!doctype html><body><!--keep--><p>Story</p>{more}
           <!--pick--><div id="banner">Buy</div><div id="banner">Buy more</div>)html",
       .more = "<div>New</div>",
       .selector = "#banner"},
  };
}

}  // namespace orvane::test
