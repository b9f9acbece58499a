#include "Tests/Linux/WebKitGTK/BlockerGenerator.h"

#include <array>

#include <fmt/format.h>

#include "BlockerKit/JSON/RecordWriter.h"
#include "Tests/Linux/WebKitGTK/SelectorGenerator.h"
#include "Tests/Linux/WebKitGTK/URLFilterGenerator.h"

namespace orvane {
namespace {

using namespace std::literals;

constexpr std::array domainPieces{
    "a"sv, "b"sv,  "site"sv, "."sv,      "-"sv, "_"sv, "1"sv,  "*"sv,   "+"sv, "?"sv,
    "{"sv, "}"sv,  "["sv,    "]"sv,      "("sv, ")"sv, "|"sv,  "^"sv,   "$"sv, "/"sv,
    ":"sv, "\\"sv, "z-a"sv,  "\u00e9"sv, "A"sv, " "sv, "\0"sv, "{1}"sv, "!"sv, "="sv,
};

constexpr std::array conditionKeys{"if-domain"sv,      "unless-domain"sv, "if-top-url"sv,
                                   "unless-top-url"sv, "if-frame-url"sv,  "unless-frame-url"sv};

std::string quote(std::string_view text) { return toJSON(text).value(); }
std::string object(std::string_view members) { return fmt::format("{{{}}}", members); }
std::string withComma(std::string_view member) { return fmt::format(",{}", member); }
std::string arrayOf(std::string_view elements) { return fmt::format("[{}]", elements); }

class BlockerGrammar {
 public:
  explicit BlockerGrammar(Dice& dice) : dice_(dice) {}

  std::string withFilter() {
    return rule(member("url-filter", quote(randomURLFilter(dice_))), R"("type":"block")");
  }

  std::string withSelector() {
    return rule(R"("url-filter":"a")",
                R"("type":"css-display-none",)" + member("selector", quote(randomSelector(dice_))));
  }

  std::string withStructure() {
    if (dice_.percent(2)) return wrongValue();
    if (dice_.percent(4))
      return fmt::format(R"({{"trigger":{},"action":{{"type":"block"}}}})", wrongValue());
    if (dice_.percent(4))
      return fmt::format(R"({{"trigger":{{"url-filter":"a"}},"action":{}}})", wrongValue());
    return rule(trigger(), action());
  }

 private:
  static std::string member(std::string_view key, std::string_view value) {
    return fmt::format("{}:{}", quote(key), value);
  }

  static std::string rule(std::string_view trigger, std::string_view action) {
    return fmt::format(R"({{"trigger":{{{}}},"action":{{{}}}}})", trigger, action);
  }

  std::string wrongValue() {
    return dice_.pick({"7", "-1.5", "null", "true", "false", "[]", "{}", "[[]]", "[7]", "[null]",
                       "[{}]", "\"\"", "\"x\"", "[\"\"]", "[\"x\"]", "1e300", "\"image\"",
                       "\"a.com\""});
  }

  /// Mostly `good`, now and then a value of another kind.
  std::string mostly(std::string good) { return dice_.percent(93) ? good : wrongValue(); }

  template <typename Make>
  std::string array(Make make) {
    std::string text;
    for (std::size_t left = dice_.percent(95) ? 1 + dice_.below(3) : 0; left > 0; --left) {
      if (!text.empty()) text += ',';
      text += dice_.percent(96) ? quote(make()) : wrongValue();
    }
    return mostly(arrayOf(text));
  }

  std::string trigger() {
    std::string text;
    const auto add = [&](std::size_t chance, std::string_view key, auto makeValue) {
      if (!dice_.percent(chance)) return;
      if (!text.empty()) text += ',';
      text += member(key, makeValue());
    };
    add(97, "url-filter",
        [&] { return mostly(quote(dice_.percent(90) ? "a" : randomURLFilter(dice_))); });
    add(20, "url-filter-is-case-sensitive", [&] { return mostly("true"); });
    add(30, "resource-type", [&] { return array([&] { return resourceType(); }); });
    add(25, "load-type", [&] {
      return array([&] {
        return dice_.pick({"first-party", "third-party", "first-party", "third"});
      });
    });
    add(12, "load-context", [&] {
      return array([&] { return dice_.pick({"top-frame", "child-frame", "top-frame", "frame"}); });
    });
    add(12, "request-method", [&] {
      return mostly(quote(dice_.pick({"get", "head", "options", "trace", "put", "delete", "post",
                                      "patch", "connect", "GET", "other", ""})));
    });
    add(6, "top-url-filter-is-case-sensitive", [&] { return mostly("true"); });
    add(6, "frame-url-filter-is-case-sensitive", [&] { return mostly("true"); });
    add(5, "unknown", [&] { return wrongValue(); });
    add(5, "url-filter", [&] { return mostly("\"b\""); });
    add(45, dice_.pick(conditionKeys), [&] { return array([&] { return conditionElement(); }); });
    add(5, dice_.pick(conditionKeys), [&] { return array([&] { return conditionElement(); }); });
    return text;
  }

  std::string resourceType() {
    return dice_.pick({"document", "image", "style-sheet", "script", "font", "raw", "svg-document",
                       "media", "popup", "ping", "fetch", "websocket", "other", "csp-report",
                       "top-document", "child-document", "Image", "svg", "object"});
  }

  std::string conditionElement() {
    std::string text =
        dice_.pick({"", "", "*"}) + dice_.pick({"site.test", "a.com", "x", "*.site.test"});
    if (dice_.percent(50)) return text;
    for (std::size_t left = 1 + dice_.below(5); left > 0; --left) text += dice_.pick(domainPieces);
    return dice_.percent(50) ? text : dice_.mutated(text, domainPieces);
  }

  std::string action() {
    switch (dice_.below(5)) {
      case 0:
        return R"("type":"css-display-none")" +
               (dice_.percent(95) ? withComma(member("selector", selector())) : "");
      case 1:
        return R"("type":"notify",)" + member("notification", mostly("\"n\""));
      case 2:
        return R"("type":"redirect",)" + member("redirect", mostly(object(redirect())));
      case 3:
        return R"("type":"modify-headers")" + headers();
      default:
        break;
    }
    const auto type = dice_.pick({"block", "block-cookies", "ignore-previous-rules", "make-https",
                                  "ignore-following-rules", "Block", "unknown"});
    return member("type", mostly(quote(type))) + (dice_.percent(10) ? R"(,"selector":"((")" : "");
  }

  std::string selector() {
    return mostly(quote(dice_.percent(60) ? dice_.pick({"a", ".b > c"}) : randomSelector(dice_)));
  }

  std::string redirect() {
    switch (dice_.below(4)) {
      case 0:
        return member(
            "url", mostly(quote(dice_.pick({"http://a.com", "https://a.com:80/b?c#d", "a:b", "x",
                                            "", "/a", "javascript:1", " JavaScript:1", "http://",
                                            "http://a:99999", "http://a b", "http://u@a.com/"}))));
      case 1:
        return member("extension-path", mostly(quote(dice_.pick({"/a", "/", "a", ""}))));
      case 2:
        return member("regex-substitution", mostly("\"x\""));
      default:
        break;
    }
    return member("transform", mostly(object(transform())));
  }

  std::string transform() {
    switch (dice_.below(6)) {
      case 0:
        return member(
            "port",
            mostly(quote(dice_.pick({"80", "", "0", "65535", "65536", "-1", "8a", " 80", "+80"}))));
      case 1:
        return member("fragment", mostly(quote(dice_.pick({"#a", "#", "", "a"}))));
      case 2:
        return member("query", mostly(quote(dice_.pick({"?a", "?", "", "a"}))));
      case 3:
        return member(
            "scheme",
            mostly(quote(dice_.pick({"http", "a+b", "1a", "", "javascript", "JAVASCRIPT"}))));
      case 4:
        return member("query-transform",
                      object(member("remove-parameters", array([] { return "p"s; }))));
      default:
        break;
    }
    const auto parameter = object(
        fmt::format("{},{}", member("key", mostly("\"k\"")), member("value", mostly("\"v\""))));
    return member("query-transform",
                  object(member("add-or-replace-parameters", mostly(arrayOf(mostly(parameter))))));
  }

  std::string headers() {
    std::string text;
    if (dice_.percent(95)) {
      text += withComma(
          member("priority", mostly(dice_.pick({"0", "1", "7", "1.5", "-0.5", "-1", "2147483647",
                                                "2147483648", "4294967296"}))));
    }
    for (const auto key : {"request-headers"sv, "response-headers"sv}) {
      if (dice_.percent(50)) text += withComma(member(key, mostly(arrayOf(mostly(operation())))));
    }
    return text;
  }

  std::string operation() {
    std::string text =
        member("operation", mostly(quote(dice_.pick({"set", "append", "remove", "Remove"}))));
    if (dice_.percent(95)) text += withComma(member("header", mostly("\"h\"")));
    if (dice_.percent(80)) text += withComma(member("value", mostly("\"v\"")));
    return object(text);
  }

  Dice& dice_;
};

}  // namespace

std::string randomBlocker(Dice& dice) {
  BlockerGrammar grammar(dice);
  if (dice.percent(35)) return grammar.withFilter();
  return dice.percent(50) ? grammar.withSelector() : grammar.withStructure();
}

}  // namespace orvane
