#include "Tests/Linux/WebKitGTK/SelectorGenerator.h"

#include <array>

#include <fmt/format.h>

namespace orvane {
namespace {

using namespace std::literals;

constexpr std::array pieces{
    "a"sv,
    "b"sv,
    "div"sv,
    ".c"sv,
    "#d"sv,
    "[e]"sv,
    "[f=g]"sv,
    "[f=\"g\"]"sv,
    "[f~='g' i]"sv,
    "[f^=g s]"sv,
    "*"sv,
    "&"sv,
    "|"sv,
    "||"sv,
    ":"sv,
    "::"sv,
    "."sv,
    "#"sv,
    "["sv,
    "]"sv,
    "("sv,
    ")"sv,
    ")"sv,
    ")"sv,
    "{"sv,
    "}"sv,
    ","sv,
    ">"sv,
    "+"sv,
    "~"sv,
    "'"sv,
    "\""sv,
    "\\"sv,
    "\\61 "sv,
    "\\000041x"sv,
    "/*"sv,
    "*/"sv,
    "/**/"sv,
    ";"sv,
    "!"sv,
    "@a"sv,
    "%"sv,
    "1"sv,
    "2n"sv,
    "n+1"sv,
    "-n"sv,
    "1e1"sv,
    ".5"sv,
    "-"sv,
    "--"sv,
    "-->"sv,
    "<!--"sv,
    "="sv,
    "~="sv,
    "|="sv,
    "*="sv,
    "$="sv,
    "url("sv,
    "url(x)"sv,
    "of"sv,
    "odd"sv,
    ":nth-child("sv,
    ":nth-of-type("sv,
    ":not("sv,
    ":is("sv,
    ":where("sv,
    ":has("sv,
    ":lang("sv,
    ":dir("sv,
    ":host("sv,
    "::slotted("sv,
    "::part("sv,
    "::cue("sv,
    "::highlight("sv,
    ":state("sv,
    ":-webkit-any("sv,
    ":matches("sv,
    "foo("sv,
    "\u00e9"sv,
    "_x"sv,
    "--x"sv,
    "#1"sv,
    ":first-child"sv,
    "::before"sv,
    ":hover"sv,
    ":before"sv,
    " "sv,
    " "sv,
    " "sv,
    "\n"sv,
    "\0"sv,
    "\r\n"sv,
    "i"sv,
    ":visited"sv,
    ":fullscreen"sv,
    ":foo"sv,
};

constexpr std::array pseudoClasses{
    "hover"sv,           "active"sv,       "focus"sv,        "first-child"sv, "root"sv,
    "empty"sv,           "checked"sv,      "link"sv,         "visited"sv,     "host"sv,
    "scope"sv,           "target"sv,       "horizontal"sv,   "start"sv,       "enabled"sv,
    "window-inactive"sv, "foo"sv,          "before"sv,       "first-line"sv,  "HOVER"sv,
    "placeholder"sv,     "only-of-type"sv, "popover-open"sv, "any-link"sv,
};

constexpr std::array pseudoElements{
    "before"sv,
    "after"sv,
    "first-line"sv,
    "placeholder"sv,
    "selection"sv,
    "marker"sv,
    "backdrop"sv,
    "cue"sv,
    "part"sv,
    "slotted"sv,
    "foo"sv,
    "-webkit-scrollbar"sv,
    "-webkit-scrollbar-thumb"sv,
    "-webkit-foo"sv,
    "details-content"sv,
    "BEFORE"sv,
    "-moz-foo"sv,
    "file-selector-button"sv,
    "view-transition"sv,
    "-webkit-resizer"sv,
};

class SelectorGrammar {
 public:
  explicit SelectorGrammar(Dice& dice) : dice_(dice) {}

  std::string list(int depth) {
    std::string text = complex(depth);
    while (dice_.percent(25)) text += gap() + "," + gap() + complex(depth);
    return text;
  }

 private:
  std::string gap() { return dice_.pick({"", "", "", "", "", "", " ", "/**/", " /**/ ", "\n"}); }

  std::string name() {
    return dice_.pick(
        {"a", "b", "div", "x-y", "_z", "-w", "--v", "\u00e9", "\\31 a", "A", "n", "of"});
  }

  std::string element() { return dice_.pick({"a", "b", "div", "*", "*|a", "|a", "a|b", "span"}); }

  std::string attribute() {
    std::string text = "[";
    text += gap() + (dice_.percent(80) ? name() : dice_.pick({"*|a", "|a", "a|b", "*"}));
    if (dice_.percent(70)) {
      text += gap() + dice_.pick({"=", "~=", "|=", "^=", "$=", "*=", "!="}) + gap();
      text += dice_.percent(30) ? name() : dice_.pick({"\"q\"", "'q'", "\"q\"", "1", "#a"});
      text += dice_.pick({"", "", " i", " s", " I", "i"});
    }
    return text + gap() + "]";
  }

  std::string nth() {
    if (dice_.percent(20)) return dice_.pick({"odd", "even", "EVEN", "foo"});
    return dice_.pick({"", "", "+", "-"}) + dice_.pick({"", "1", "2", "10", "1.5", "1e1"}) +
           dice_.pick({"n", "N", "n", "", "m"}) + dice_.pick({"", " "}) +
           dice_.pick({"", "+", "-"}) + dice_.pick({"", " "}) +
           dice_.pick({"", "1", "3", "99999999999", "x"});
  }

  std::string relativeList(int depth) {
    std::string text = dice_.pick({"", "", ">", "+ ", "~"}) + complex(depth);
    if (dice_.percent(20)) text += ", " + dice_.pick({"", "> ", ">>"}) + complex(depth);
    return text;
  }

  std::string argument(std::string_view function, int depth) {
    if (function == "nth-child") return nth() + (dice_.percent(30) ? " of " + list(depth) : "");
    if (function == "nth-last-of-type") return nth();
    if (function == "lang") {
      return dice_.pick({"en", "\"en\"", "en,fr", "en, 'f'", "", "en fr", "*", "--a", "'--a'"});
    }
    if (function == "dir" || function == "state") {
      return dice_.pick({"ltr", "rtl", "x y", "", "1", "--a"});
    }
    if (function == "host") return compound(depth);
    if (function == "has") return relativeList(depth);
    return dice_.percent(95) ? list(depth) : "";
  }

  std::string pseudoClass(int depth) {
    if (depth > 3 || dice_.percent(40)) return fmt::format(":{}", dice_.pick(pseudoClasses));
    const auto function =
        dice_.pick({"not", "is", "where", "has", "-webkit-any", "nth-child", "nth-last-of-type",
                    "lang", "dir", "host", "state", "NOT", "foo"});
    return fmt::format(":{}({}{}{}{}", function, gap(), argument(function, depth + 1), gap(),
                       dice_.percent(95) ? ")" : "");
  }

  std::string pseudoElement(int depth) {
    if (dice_.percent(60)) return "::" + dice_.pick(pseudoElements);
    const auto function = dice_.pick({"slotted", "part", "cue", "highlight", "before"});
    switch (dice_.below(4)) {
      case 0:
        return "::" + function + "(" + compound(depth + 1) + ")";
      case 1:
        return "::" + function + "( " + name() + dice_.pick({" ", "/**/", ","}) + name() + " )";
      case 2:
        return "::" + function + "(" + list(depth + 1) + ")";
      default:
        return "::" + function + "(" + name() + ")";
    }
  }

  std::string simple(int depth) {
    const std::size_t kind = dice_.below(100);
    if (kind < 30) return fmt::format(".{}", name());
    if (kind < 45) return fmt::format("#{}", dice_.percent(90) ? name() : dice_.pick({"1", "-"}));
    if (kind < 65) return attribute();
    return kind < 93 ? pseudoClass(depth) : "&";
  }

  std::string compound(int depth) {
    std::string text = dice_.percent(50) ? element() : "";
    for (std::size_t left = dice_.below(3); left > 0; --left) text += simple(depth);
    if (dice_.percent(depth == 0 ? 20 : 6)) {
      text += pseudoElement(depth);
      if (dice_.percent(60)) text += pseudoClass(depth);
      if (dice_.percent(20)) text += pseudoElement(depth);
      if (dice_.percent(20)) text += pseudoClass(depth);
    }
    return text.empty() ? "a" : text;
  }

  std::string complex(int depth) {
    std::string text = compound(depth);
    while (dice_.percent(30)) {
      text += dice_.pick({" ", " > ", ">", "+", " ~ ", "  ", "||", "\n"}) + compound(depth);
    }
    return text;
  }

  Dice& dice_;
};

std::string fromPieces(Dice& dice) {
  std::string text;
  for (std::size_t left = 1 + dice.below(7); left > 0; --left) text += dice.pick(pieces);
  return text;
}

}  // namespace

std::string randomSelector(Dice& dice) {
  if (dice.percent(25)) return fromPieces(dice);
  auto text = SelectorGrammar(dice).list(0);
  return dice.percent(25) ? dice.mutated(std::move(text), pieces) : text;
}

}  // namespace orvane
