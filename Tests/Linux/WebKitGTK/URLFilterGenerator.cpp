#include "Tests/Linux/WebKitGTK/URLFilterGenerator.h"

#include <array>

namespace orvane {
namespace {

using namespace std::literals;

constexpr std::array pieces{
    "a"sv,           "b"sv,       "z"sv,
    "0"sv,           "1"sv,       "8"sv,
    "-"sv,           "_"sv,       "."sv,
    "."sv,           "*"sv,       "+"sv,
    "?"sv,           "*"sv,       "+"sv,
    "?"sv,           "{"sv,       "}"sv,
    "["sv,           "]"sv,       "[^"sv,
    "("sv,           ")"sv,       ")"sv,
    "(?:"sv,         "(?<x>"sv,   "(?<y>"sv,
    "(?="sv,         "(?!"sv,     "(?<!"sv,
    "(?<="sv,        "(?i:"sv,    "(?"sv,
    "|"sv,           "^"sv,       "$"sv,
    "\\"sv,          "\\0"sv,     "\\1"sv,
    "\\12"sv,        "\\377"sv,   "\\400"sv,
    "\\8"sv,         "\\c"sv,     "\\cA"sv,
    "\\c1"sv,        "\\c_"sv,    "\\x"sv,
    "\\x4"sv,        "\\x41"sv,   "\\xe9"sv,
    "\\x00"sv,       "\\u"sv,     "\\u00"sv,
    "\\u0041"sv,     "\\u0100"sv, "\\u{41}"sv,
    "\\k"sv,         "\\k<"sv,    "\\k<x>"sv,
    "\\d"sv,         "\\w"sv,     "\\S"sv,
    "\\b"sv,         "\\B"sv,     "\\n"sv,
    "\\t"sv,         "\\/"sv,     "\\."sv,
    "\\-"sv,         "\\]"sv,     "\\p{L}"sv,
    "{0,1}"sv,       "{1,}"sv,    "{0,}"sv,
    "{1}"sv,         "{,1}"sv,    "{2,1}"sv,
    "{0,9}"sv,       "{00,01}"sv, "{0,4294967295}"sv,
    "a-z"sv,         "z-a"sv,     "a-\\x7f"sv,
    "[a-z]"sv,       "[^/]"sv,    "[]"sv,
    "[^]"sv,         "/"sv,       ":"sv,
    "(?<\\u0061>"sv, "(?<1>"sv,   "<"sv,
    ">"sv,           "="sv,       "!"sv,
    ","sv,           "\u00e9"sv,  "\0"sv,
    " "sv,           "\n"sv,      "[a-\\xff]"sv,
    "[\\0]"sv,
};

constexpr std::array plainPieces{
    "a"sv,   "b"sv,    "z"sv,     "0"sv,      "1"sv,  "9"sv, "-"sv,     "_"sv,
    "\\."sv, "/"sv,    ":"sv,     ","sv,      "="sv,  "."sv, "[a-z]"sv, "[^/]"sv,
    "(a)"sv, "(b*)"sv, "(?:b)"sv, "(c?d)+"sv, "[]"sv, "{"sv, "\\0"sv,   "https?"sv,
};

std::string fromPieces(Dice& dice) {
  std::string text;
  for (std::size_t left = 1 + dice.below(8); left > 0; --left) text += dice.pick(pieces);
  return text;
}

std::string fromGrammar(Dice& dice) {
  std::string text = dice.percent(30) ? "^" : "";
  for (std::size_t left = 1 + dice.below(6); left > 0; --left) {
    text += dice.pick(plainPieces) + dice.pick({"", "", "", "", "*", "+", "?", "*?", "{0,1}"});
  }
  if (dice.percent(30)) text += "$";
  return dice.percent(50) ? dice.mutated(text, pieces) : text;
}

}  // namespace

std::string randomURLFilter(Dice& dice) {
  return dice.percent(45) ? fromPieces(dice) : fromGrammar(dice);
}

}  // namespace orvane
