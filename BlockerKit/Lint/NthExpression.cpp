#include "BlockerKit/Lint/NthExpression.h"

#include <charconv>

#include "BlockerKit/Lint/CharacterKinds.h"

namespace orvane {
namespace {

class NthReader {
 public:
  explicit NthReader(std::span<const CSSToken> tokens) : tokens_(tokens) {}

  std::size_t read() {
    if (!readTerms()) return 0;
    skipSpace();
    return at_;
  }

 private:
  bool readTerms() {
    if (at_ == tokens_.size()) return false;
    const CSSToken& first = tokens_[at_++];
    if (first.type == CSSTokenType::Number) return first.isInteger;
    if (isWord(first)) return true;
    std::string_view step = first.text;
    if (first.isDelimiter('+') && nextIs(CSSTokenType::Ident)) {
      step = tokens_[at_++].text;
    } else if (first.type == CSSTokenType::Ident) {
      if (step.starts_with('-')) step.remove_prefix(1);
    } else if (first.type != CSSTokenType::Dimension || !first.isInteger) {
      return false;
    }
    skipSpace();
    return readOffset(step);
  }

  static bool isWord(const CSSToken& token) {
    return token.type == CSSTokenType::Ident &&
           (equalsIgnoringCase(token.text, "odd") || equalsIgnoringCase(token.text, "even"));
  }

  /// `step` is "n" and perhaps what the tokens glue to it: "n-" or "n-3".
  bool readOffset(std::string_view step) {
    if (step.empty() || lowered(step[0]) != 'n') return false;
    if (step.size() > 1 && step[1] != '-') return false;
    if (step.size() > 2) return isInteger(step.substr(1));
    if (step.size() == 2) return readNumber(/*hasSign=*/false);
    if (at_ < tokens_.size() && tokens_[at_].type == CSSTokenType::Delimiter) {
      if (!tokens_[at_].isDelimiter('+') && !tokens_[at_].isDelimiter('-')) return false;
      ++at_;
      skipSpace();
      return readNumber(/*hasSign=*/false);
    }
    return !nextIs(CSSTokenType::Number) || readNumber(/*hasSign=*/true);
  }

  bool readNumber(bool hasSign) {
    if (!nextIs(CSSTokenType::Number)) return false;
    const CSSToken& number = tokens_[at_++];
    return number.isInteger && number.hasSign == hasSign;
  }

  /// An integer of 32 bits, as the browser wants it in this place alone.
  static bool isInteger(std::string_view text) {
    int value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
  }

  bool nextIs(CSSTokenType type) const { return at_ < tokens_.size() && tokens_[at_].type == type; }

  void skipSpace() {
    while (nextIs(CSSTokenType::Whitespace)) ++at_;
  }

  std::span<const CSSToken> tokens_;
  std::size_t at_ = 0;
};

}  // namespace

std::size_t nthExpressionLength(std::span<const CSSToken> tokens) {
  return NthReader(tokens).read();
}

}  // namespace orvane
