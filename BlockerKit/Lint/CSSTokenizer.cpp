#include "BlockerKit/Lint/CSSTokenizer.h"

#include <algorithm>
#include <utility>

#include "BlockerKit/Lint/CharacterKinds.h"

namespace orvane {
namespace {

bool isNewline(char character) {
  return character == '\n' || character == '\r' || character == '\f';
}

bool isSpace(char character) {
  return character == ' ' || character == '\t' || isNewline(character);
}

// A zero byte counts as the replacement character, which may be part of a name.
bool startsName(char character) {
  return isLetter(character) || character == '_' || !isASCII(character) || character == '\0';
}

bool continuesName(char character) {
  return startsName(character) || isDigit(character) || character == '-';
}

void appendUTF8(std::string& text, unsigned codePoint) {
  const auto put = [&](unsigned byte) { text.push_back(static_cast<char>(byte)); };
  if (codePoint < 0x80) return put(codePoint);
  if (codePoint < 0x800) {
    put(0xC0 | (codePoint >> 6));
  } else {
    if (codePoint < 0x10000) {
      put(0xE0 | (codePoint >> 12));
    } else {
      put(0xF0 | (codePoint >> 18));
      put(0x80 | ((codePoint >> 12) & 0x3F));
    }
    put(0x80 | ((codePoint >> 6) & 0x3F));
  }
  put(0x80 | (codePoint & 0x3F));
}

class Tokenizer {
 public:
  explicit Tokenizer(std::string_view text) : text_(text) {}

  std::vector<CSSToken> tokenize() {
    while (at_ < text_.size()) {
      if (!skipComment()) readToken();
    }
    return std::move(tokens_);
  }

 private:
  bool atEnd(std::size_t ahead = 0) const { return at_ + ahead >= text_.size(); }
  /// Beyond the end: a new line, which is part of nothing.
  char peek(std::size_t ahead = 0) const { return atEnd(ahead) ? '\n' : text_[at_ + ahead]; }
  bool next(std::string_view text) const { return text_.substr(at_).starts_with(text); }

  /// A backslash at the very end is an escape too.
  bool nextIsEscape(std::size_t ahead = 0) const {
    return !atEnd(ahead) && peek(ahead) == '\\' &&
           (atEnd(ahead + 1) || !isNewline(peek(ahead + 1)));
  }

  bool nextStartsName(std::size_t ahead = 0) const {
    return !atEnd(ahead) && (startsName(peek(ahead)) || nextIsEscape(ahead));
  }

  bool nextIsIdentifier(std::size_t ahead = 0) const {
    if (atEnd(ahead)) return false;
    if (peek(ahead) != '-') return nextStartsName(ahead);
    return nextStartsName(ahead + 1) || (!atEnd(ahead + 1) && peek(ahead + 1) == '-');
  }

  bool nextIsNumber() const {
    const std::size_t sign = peek() == '+' || peek() == '-' ? 1 : 0;
    return isDigit(peek(sign)) || (peek(sign) == '.' && isDigit(peek(sign + 1)));
  }

  bool skipComment() {
    if (!next("/*")) return false;
    const std::size_t end = text_.find("*/", at_ + 2);
    at_ = end == std::string_view::npos ? text_.size() : end + 2;
    return true;
  }

  CSSToken& put(CSSTokenType type, std::size_t length, std::string text = {}) {
    tokens_.push_back(CSSToken{.type = type, .position = at_, .text = std::move(text)});
    at_ += length;
    return tokens_.back();
  }

  void readToken() {
    const char character = text_[at_];
    if (isSpace(character)) return readSpace();
    if (character == '"' || character == '\'') return readString();
    if (character == '#' && !atEnd(1) && (continuesName(peek(1)) || nextIsEscape(1))) {
      return readHash();
    }
    if (nextIsNumber()) return readNumber();
    if (next("-->")) return void(put(CSSTokenType::Other, 3));
    if (next("<!--")) return void(put(CSSTokenType::Other, 4));
    if (nextIsIdentifier()) return readIdentifier();
    if (character == '@' && nextIsIdentifier(1)) {
      put(CSSTokenType::Other, 1);
      readName();
      return;
    }
    if (character == '(' || character == '[' || character == '{') return openBlock(character);
    if (character == ')' || character == ']' || character == '}') return closeBlock(character);
    if (next("||")) return void(put(CSSTokenType::Other, 2));
    if (next("~=") || next("|=") || next("^=") || next("$=") || next("*=")) {
      return void(put(CSSTokenType::Match, 2, std::string(text_.substr(at_, 2))));
    }
    put(CSSTokenType::Delimiter, 1, std::string(1, character));
  }

  void readSpace() {
    std::size_t length = 1;
    while (!atEnd(length) && isSpace(peek(length))) ++length;
    put(CSSTokenType::Whitespace, length);
  }

  /// A string that reaches the end of the text is complete, one that reaches the end of its line
  /// is not a string.
  void readString() {
    const char quote = text_[at_];
    auto& token = put(CSSTokenType::String, 1);
    while (!atEnd()) {
      if (nextIsEscape()) {
        appendUTF8(token.text, readEscape());
        continue;
      }
      const char character = text_[at_];
      if (isNewline(character)) {
        token.type = CSSTokenType::Other;
        return;
      }
      ++at_;
      if (character == quote) return;
      if (character == '\\') {
        skipNewline();
      } else {
        token.text.push_back(character);
      }
    }
  }

  void skipNewline() { at_ += next("\r\n") ? 2 : 1; }

  void readHash() {
    auto& token = put(CSSTokenType::Hash, 1);
    token.isIdentifier = nextIsIdentifier();
    token.text = readName();
  }

  std::string readName() {
    std::string name;
    while (!atEnd()) {
      if (nextIsEscape()) {
        appendUTF8(name, readEscape());
      } else if (continuesName(peek())) {
        name.push_back(text_[at_++]);
      } else {
        break;
      }
    }
    return name;
  }

  unsigned readEscape() {
    constexpr unsigned replacement = 0xFFFD;
    ++at_;
    if (atEnd()) return replacement;
    // The following bytes of the character go into the name by themselves.
    if (!isHexDigit(peek())) return readEscapedByte();
    unsigned value = 0;
    for (int digits = 0; digits < 6 && isHexDigit(peek()); ++digits) {
      value = value * 16 + hexValue(text_[at_++]);
    }
    if (next("\r\n")) {
      at_ += 2;
    } else if (!atEnd() && isSpace(peek())) {
      ++at_;
    }
    const bool isSurrogate = value >= 0xD800 && value <= 0xDFFF;
    return value == 0 || isSurrogate || value > 0x10FFFF ? replacement : value;
  }

  unsigned readEscapedByte() {
    const char character = text_[at_++];
    if (isASCII(character)) return static_cast<unsigned>(character);
    while (!atEnd() && !isASCII(peek()) && (static_cast<unsigned char>(peek()) & 0xC0) == 0x80)
      ++at_;
    return 0xFFFD;
  }

  void readNumber() {
    auto& token = put(CSSTokenType::Number, 0);
    token.isInteger = true;
    token.hasSign = peek() == '+' || peek() == '-';
    if (token.hasSign) ++at_;
    skipDigits();
    if (peek() == '.' && isDigit(peek(1))) {
      token.isInteger = false;
      ++at_;
      skipDigits();
    }
    const bool hasExponent = lowered(peek()) == 'e';
    const std::size_t sign = hasExponent && (peek(1) == '+' || peek(1) == '-') ? 1 : 0;
    if (hasExponent && isDigit(peek(1 + sign))) {
      token.isInteger = false;
      at_ += 1 + sign;
      skipDigits();
    }
    if (nextIsIdentifier()) {
      token.type = CSSTokenType::Dimension;
      token.text = readName();
    } else if (peek() == '%') {
      token.type = CSSTokenType::Other;
      ++at_;
    }
  }

  void skipDigits() {
    while (isDigit(peek())) ++at_;
  }

  void readIdentifier() {
    auto& token = put(CSSTokenType::Ident, 0);
    token.text = readName();
    if (peek() != '(') return;
    ++at_;
    if (equalsIgnoringCase(token.text, "url") && !nextIsQuoted()) {
      token.type = CSSTokenType::Other;
      return skipURL();
    }
    token.type = CSSTokenType::Function;
    openBlocks_.push_back(')');
  }

  bool nextIsQuoted() const {
    std::size_t ahead = 0;
    while (!atEnd(ahead) && isSpace(peek(ahead))) ++ahead;
    return peek(ahead) == '"' || peek(ahead) == '\'';
  }

  /// Skips an unquoted URL. One that is not valid also ends with the first ")".
  void skipURL() {
    while (!atEnd() && peek() != ')') at_ += nextIsEscape() ? 2 : 1;
    at_ = std::min(at_ + 1, text_.size());
  }

  void openBlock(char bracket) {
    openBlocks_.push_back(bracket == '(' ? ')' : bracket == '[' ? ']' : '}');
    put(CSSTokenType::OpenBlock, 1, std::string(1, bracket));
  }

  void closeBlock(char bracket) {
    const bool closes = !openBlocks_.empty() && openBlocks_.back() == bracket;
    if (closes) openBlocks_.pop_back();
    put(closes ? CSSTokenType::CloseBlock : CSSTokenType::Other, 1, std::string(1, bracket));
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::vector<char> openBlocks_;
  std::vector<CSSToken> tokens_;
};

}  // namespace

std::vector<CSSToken> tokenizeCSS(std::string_view text) { return Tokenizer(text).tokenize(); }

}  // namespace orvane
