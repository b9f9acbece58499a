#include "BlockerKit/Lint/URLFilterLint.h"

#include <cstdint>
#include <set>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "BlockerKit/Lint/CharacterKinds.h"
#include "BlockerKit/Lint/URLFilterClass.h"
#include "BlockerKit/Support/Quoted.h"

namespace orvane {
namespace {

/// The counts of a quantifier beyond this are "without end".
constexpr std::uint64_t unlimited = 0xFFFFFFFF;

/// Reads a URL filter the way the browser does: as a JavaScript regular expression without the
/// unicode flag, of which only a part is supported.
class URLFilterReader {
 public:
  explicit URLFilterReader(std::string_view text) : text_(text) {}

  std::optional<std::string> read() {
    rejectNonASCII();
    while (!reason_ && at_ < text_.size()) readTerm();
    if (!reason_ && !openGroups_.empty()) {
      failAt(openGroups_.back(), "(", "the group is never closed");
    }
    return std::move(reason_);
  }

 private:
  void rejectNonASCII() {
    for (std::size_t at = 0; at < text_.size(); ++at) {
      if (isASCII(text_[at])) continue;
      reason_ = fmt::format(
          "the character at position {} is not ASCII; write it the way it stands in a URL, "
          "percent-encoded, and a host name in Punycode",
          at + 1);
      return;
    }
  }

  void readTerm() {
    const std::size_t begin = at_;
    const char character = text_[at_];
    if (character == '{' && !startsQuantifier()) return putLiteral(begin, 1);
    switch (character) {
      case '|':
        return fail(begin, 1, "alternatives are not supported; write one rule for each");
      case '^':
        return readLineStart();
      case '$':
        sinkTerm();
        return putTerm(begin, 1, /*endsLine=*/true, /*repeatable=*/false);
      case '(':
        return readGroupStart();
      case ')':
        return readGroupEnd();
      case '[':
        return readClass();
      case '\\':
        return readEscape();
      case '*':
      case '+':
      case '?':
      case '{':
        return readQuantifier();
      default:
        return putLiteral(begin, 1);
    }
  }

  void readLineStart() {
    if (!openGroups_.empty() || hasSunkTerm_ || hasTerm_) {
      return fail(at_, 1, "the start of the URL can only be asked for at the very beginning");
    }
    repeatable_ = false;
    ++at_;
  }

  void readGroupStart() {
    const std::size_t begin = at_;
    sinkTerm();
    if (reason_) return;
    ++at_;
    if (next("?") && !readGroupKind(begin)) return;
    openGroups_.push_back(begin);
    hasTerm_ = false;
    repeatable_ = false;
  }

  /// Reads what follows "(" when that is a "?". False when it is refused.
  bool readGroupKind(std::size_t begin) {
    if (skip("?:")) return true;
    if (next("?=") || next("?!")) return refuse(begin, 3, "look-ahead is not supported");
    if (next("?<=") || next("?<!")) return refuse(begin, 4, "look-behind is not supported");
    if (skip("?<")) return readGroupName(begin);
    return refuse(begin, 2, "this kind of group is not known");
  }

  bool readGroupName(std::size_t begin) {
    std::string name;
    while (!next(">")) {
      const auto character = readNameCharacter();
      if (!character || !fitsName(*character, name.empty())) {
        return refuse(begin, 3, "the name of the group is not valid");
      }
      name.push_back(static_cast<char>(*character));
    }
    ++at_;
    if (name.empty()) return refuse(begin, 3, "the name of the group is empty");
    if (seesNamedReference_) return refuse(begin, 3, "named references are not supported");
    if (!groupNames_.insert(name).second) {
      return refuse(begin, 3, "another group has the same name");
    }
    return true;
  }

  /// The browser also takes escaped letters of other scripts, which no URL filter has a use for.
  static bool fitsName(unsigned character, bool isFirst) {
    if (character > 0x7F) return false;
    const char ascii = static_cast<char>(character);
    return isLetter(ascii) || ascii == '$' || ascii == '_' || (!isFirst && isDigit(ascii));
  }

  /// One character of a group's name; nothing when it is a broken escape or the text ends.
  std::optional<unsigned> readNameCharacter() {
    if (at_ >= text_.size()) return std::nullopt;
    if (!next("\\")) return static_cast<unsigned>(text_[at_++]);
    if (!skip("\\u")) return std::nullopt;
    const auto value = skip("{") ? readBracedHex() : readHex(4);
    const bool isSurrogate = value && *value >= 0xD800 && *value <= 0xDFFF;
    return isSurrogate ? std::nullopt : value;
  }

  std::optional<unsigned> readBracedHex() {
    unsigned value = 0;
    const std::size_t begin = at_;
    while (at_ < text_.size() && isHexDigit(text_[at_])) {
      value = value * 16 + hexValue(text_[at_++]);
      if (value > 0x10FFFF) return std::nullopt;
    }
    if (at_ == begin || !skip("}")) return std::nullopt;
    return value;
  }

  void readGroupEnd() {
    if (openGroups_.empty()) return fail(at_, 1, "there is no group to close");
    sinkTerm();
    if (reason_) return;
    const std::size_t begin = openGroups_.back();
    openGroups_.pop_back();
    putTerm(begin, at_ - begin + 1, /*endsLine=*/false, /*repeatable=*/true);
  }

  void readClass() {
    const std::size_t begin = at_;
    sinkTerm();
    if (reason_) return;
    ++at_;
    skip("^");
    URLFilterClass characters;
    while (at_ < text_.size() && text_[at_] != ']') {
      const std::size_t place = at_;
      const bool escaped = text_[at_] == '\\';
      const auto character =
          escaped ? readEscapedCharacter(/*inClass=*/true) : static_cast<unsigned>(text_[at_++]);
      if (reason_) return;
      if (auto reason = characters.add(*character, escaped)) {
        return fail(place, at_ - place, *reason);
      }
    }
    if (at_ >= text_.size()) return fail(begin, 1, "the character class is never closed");
    if (auto reason = characters.finish()) return fail(begin, at_ - begin + 1, *reason);
    putTerm(begin, at_ - begin + 1, characters.namesOnlyNull(), /*repeatable=*/true);
  }

  void readEscape() {
    const std::size_t begin = at_;
    const auto character = readEscapedCharacter(/*inClass=*/false);
    if (reason_) return;
    if (*character > 0x7F) return fail(begin, at_ - begin, "only ASCII characters are supported");
    sinkTerm();
    if (reason_) return;
    putTerm(begin, at_ - begin, *character == 0, /*repeatable=*/true);
  }

  /// Reads an escape and gives the character it stands for, or nothing when it is refused.
  std::optional<unsigned> readEscapedCharacter(bool inClass) {
    const std::size_t begin = at_++;
    if (at_ >= text_.size()) {
      fail(begin, 1, "there is nothing behind the backslash");
      return std::nullopt;
    }
    const char kind = text_[at_];
    if (kind >= '0' && kind <= '7') return readOctal();
    ++at_;
    switch (kind) {
      case 'd':
      case 'D':
      case 's':
      case 'S':
      case 'w':
      case 'W':
        fail(begin, 2, "this character class is not supported; write it out in brackets");
        return std::nullopt;
      case 'b':
        if (inClass) return '\b';
        break;
      case 'k':
        return readNamedReference(begin, inClass);
      case 'f':
        return '\f';
      case 'n':
        return '\n';
      case 'r':
        return '\r';
      case 't':
        return '\t';
      case 'v':
        return '\v';
      case 'c':
        return readControl(inClass);
      case 'x':
        return readHex(2).value_or('x');
      case 'u':
        return readHex(4).value_or('u');
      default:
        break;
    }
    if (!inClass && lowered(kind) == 'b') {
      fail(begin, 2, "word boundaries are not supported");
      return std::nullopt;
    }
    return static_cast<unsigned>(kind);
  }

  /// "\k" stands for "k", unless a group anywhere in the expression has a name. Even then the
  /// browser looks for a name behind it and stumbles over a broken escape there.
  std::optional<unsigned> readNamedReference(std::size_t begin, bool inClass) {
    seesNamedReference_ = true;
    if (!groupNames_.empty()) {
      fail(begin, 2, "named references are not supported");
      return std::nullopt;
    }
    const std::size_t end = at_;
    bool isFirst = true;
    for (bool inName = !inClass && skip("<"); inName && at_ < text_.size(); isFirst = false) {
      const auto character = readNameCharacter();
      if (!character) {
        fail(begin, 2, "the name behind it holds an escape that is not valid");
        return std::nullopt;
      }
      inName = fitsName(*character, isFirst);
    }
    at_ = end;
    return 'k';
  }

  unsigned readOctal() {
    unsigned value = 0;
    for (int digits = 0; digits < 3 && at_ < text_.size(); ++digits) {
      const char digit = text_[at_];
      if (digit < '0' || digit > '7') break;
      const unsigned longer = value * 8 + static_cast<unsigned>(digit - '0');
      if (longer > 0xFF) break;
      value = longer;
      ++at_;
    }
    return value;
  }

  /// Reads exactly `count` hexadecimal digits, or none.
  std::optional<unsigned> readHex(std::size_t count) {
    if (text_.size() - at_ < count) return std::nullopt;
    unsigned value = 0;
    for (const char digit : text_.substr(at_, count)) {
      if (!isHexDigit(digit)) return std::nullopt;
      value = value * 16 + hexValue(digit);
    }
    at_ += count;
    return value;
  }

  unsigned readControl(bool inClass) {
    const char letter = at_ < text_.size() ? text_[at_] : '\0';
    if (!isLetter(letter) && !(inClass && (isDigit(letter) || letter == '_'))) {
      --at_;
      return '\\';
    }
    ++at_;
    return static_cast<unsigned>(letter) & 0x1F;
  }

  bool startsQuantifier() const {
    std::size_t at = at_ + 1;
    const auto skipDigits = [&] {
      const std::size_t begin = at;
      while (at < text_.size() && isDigit(text_[at])) ++at;
      return at > begin;
    };
    if (!skipDigits()) return false;
    if (at < text_.size() && text_[at] == ',') {
      ++at;
      skipDigits();
    }
    return at < text_.size() && text_[at] == '}';
  }

  std::uint64_t readCount() {
    std::uint64_t value = 0;
    for (; isDigit(text_[at_]); ++at_) {
      value = value * 10 + static_cast<unsigned>(text_[at_] - '0');
      if (value > unlimited) value = unlimited;
    }
    return value;
  }

  void readQuantifier() {
    const std::size_t begin = at_;
    std::uint64_t minimum = 0;
    std::uint64_t maximum = unlimited;
    const char kind = text_[at_++];
    if (kind == '+') minimum = 1;
    if (kind == '?') maximum = 1;
    if (kind == '{') {
      minimum = maximum = readCount();
      if (skip(",")) maximum = isDigit(text_[at_]) ? readCount() : unlimited;
      ++at_;
    }
    const std::size_t length = at_ - begin;
    if (!repeatable_) return fail(begin, length, "there is nothing to repeat");
    if (maximum < minimum) return fail(begin, length, "the counts are in the wrong order");
    const bool supported = (minimum == 0 && (maximum == 1 || maximum == unlimited)) ||
                           (minimum == 1 && maximum == unlimited);
    if (!supported) {
      return fail(begin, length, "counted repetitions are not supported; only *, + and ? are");
    }
    skip("?");
    repeatable_ = false;
  }

  void putLiteral(std::size_t begin, std::size_t length) {
    sinkTerm();
    if (reason_) return;
    putTerm(begin, length, text_[begin] == '\0', /*repeatable=*/true);
  }

  /// Makes `text_[begin, begin + length)` the term that a quantifier would apply to, and goes on
  /// behind what has been read of it.
  void putTerm(std::size_t begin, std::size_t length, bool endsLine, bool repeatable) {
    hasTerm_ = true;
    termBegin_ = begin;
    termLength_ = length;
    termEndsLine_ = endsLine;
    repeatable_ = repeatable;
    at_ = begin + length;
  }

  /// Something follows the term, or its group ends.
  void sinkTerm() {
    if (!hasTerm_) return;
    hasTerm_ = false;
    hasSunkTerm_ = true;
    if (!termEndsLine_) return;
    if (text_[termBegin_] == '$') {
      return fail(termBegin_, 1,
                  "the end of the URL can only be asked for at the very end, outside of groups");
    }
    fail(termBegin_, termLength_,
         "the browser takes the character 0 for the end of the URL, so nothing may follow it");
  }

  bool next(std::string_view text) const { return text_.substr(at_).starts_with(text); }

  bool skip(std::string_view text) {
    if (!next(text)) return false;
    at_ += text.size();
    return true;
  }

  void fail(std::size_t begin, std::size_t length, std::string_view reason) {
    failAt(begin, text_.substr(begin, length), reason);
  }

  void failAt(std::size_t begin, std::string_view what, std::string_view reason) {
    if (!reason_) reason_ = fmt::format("{} at position {}: {}", quoted(what), begin + 1, reason);
  }

  bool refuse(std::size_t begin, std::size_t length, std::string_view reason) {
    fail(begin, length, reason);
    return false;
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::optional<std::string> reason_;
  std::vector<std::size_t> openGroups_;
  std::set<std::string> groupNames_;
  bool seesNamedReference_ = false;
  /// Whether any term is complete.
  bool hasSunkTerm_ = false;
  /// The last term, when nothing follows it yet.
  bool hasTerm_ = false;
  std::size_t termBegin_ = 0;
  std::size_t termLength_ = 0;
  bool termEndsLine_ = false;
  bool repeatable_ = false;
};

}  // namespace

std::optional<std::string> lintURLFilter(std::string_view urlFilter) {
  if (urlFilter.empty()) return "it is empty";
  return URLFilterReader(urlFilter).read();
}

}  // namespace orvane
