#include "BlockerKit/Lint/SelectorLint.h"

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "BlockerKit/Lint/CSSTokenizer.h"
#include "BlockerKit/Lint/CharacterKinds.h"
#include "BlockerKit/Lint/NthExpression.h"
#include "BlockerKit/Lint/SelectorNames.h"
#include "BlockerKit/Support/Quoted.h"

namespace orvane {
namespace {

/// The browser crashes on selectors that are nested some thousand levels deep.
constexpr int deepest = 1000;

/// For each token that opens a block the index of the one that closes it, or the number of tokens
/// when none does: the end of the text closes every block.
std::vector<std::size_t> closingTokens(std::span<const CSSToken> tokens) {
  std::vector<std::size_t> closing(tokens.size(), tokens.size());
  std::vector<std::size_t> open;
  for (std::size_t at = 0; at < tokens.size(); ++at) {
    if (tokens[at].opensBlock()) open.push_back(at);
    if (tokens[at].type != CSSTokenType::CloseBlock) continue;
    closing[open.back()] = at;
    open.pop_back();
  }
  return closing;
}

std::string inLowerCase(std::string_view text) {
  std::string result(text);
  for (char& character : result) character = lowered(character);
  return result;
}

/// Each function that reads something gives false once something is wrong.
class SelectorReader {
 public:
  explicit SelectorReader(std::string_view text)
      : text_(text),
        tokens_(tokenizeCSS(text)),
        closing_(closingTokens(tokens_)),
        end_(tokens_.size()) {}

  std::optional<std::string> read() {
    skipSpace();
    if (readList(&SelectorReader::readOutermost) && at_ < end_) fail("is not expected here");
    return std::move(reason_);
  }

 private:
  using Reader = bool (SelectorReader::*)();

  bool readList(Reader readElement) {
    while ((this->*readElement)()) {
      if (!nextIsDelimiter(',')) return true;
      skipWithSpace();
    }
    return false;
  }

  bool readOutermost() {
    pseudoElement_.reset();
    return readComplex();
  }

  bool readRelative() {
    if (nextIsCombinator()) skipWithSpace();
    return readComplex();
  }

  bool readComplex() {
    if (!readCompound()) return false;
    while (true) {
      const bool hasSpace = skipSpace();
      const bool hasCombinator = nextIsCombinator();
      if (!hasSpace && !hasCombinator) return true;
      if (hasCombinator) skipWithSpace();
      if (!hasCombinator && !startsCompound()) return true;
      if (pseudoElement_ && nesting_ == 0) return fail("may not follow a pseudo-element");
      if (!readCompound()) return false;
    }
  }

  bool startsCompound() const {
    if (at_ == end_) return false;
    const auto& token = tokens_[at_];
    return token.type == CSSTokenType::Ident || token.type == CSSTokenType::Hash ||
           token.opens('[') ||
           (token.type == CSSTokenType::Delimiter &&
            std::string_view("*|.:&").find(token.text[0]) != std::string_view::npos);
  }

  bool readCompound() {
    if (!startsCompound()) return fail("is not the beginning of a selector");
    if (!readName()) return false;
    while (startsSimple()) {
      if (!readSimple()) return false;
    }
    return true;
  }

  bool startsSimple() const {
    return startsCompound() && tokens_[at_].type != CSSTokenType::Ident && !nextIsDelimiter('*') &&
           !nextIsDelimiter('|');
  }

  /// Reads the name of an element or an attribute, if there is one, with its namespace.
  bool readName() {
    const bool hasPrefix = nextIs(CSSTokenType::Ident) || nextIsDelimiter('*');
    // An escaped "*" is any namespace too.
    const bool isDeclared = hasPrefix && tokens_[at_].text == "*";
    const std::size_t begin = at_;
    if (hasPrefix) ++at_;
    if (!nextIsDelimiter('|')) return true;
    ++at_;
    if (!nextIs(CSSTokenType::Ident) && !nextIsDelimiter('*')) {
      return fail("is not a name, which has to follow \"|\"");
    }
    if (hasPrefix && !isDeclared) return failAt(begin, "is a namespace that is not declared");
    ++at_;
    return true;
  }

  bool readSimple() {
    if (nextIsDelimiter(':')) return readPseudo();
    if (pseudoElement_) return fail("may not follow a pseudo-element");
    if (nextIs(CSSTokenType::Hash)) {
      if (!tokens_[at_].isIdentifier) return fail("is not an id: an id may not begin with a digit");
      ++at_;
      return true;
    }
    if (tokens_[at_].opens('[')) return readBlock(&SelectorReader::readAttribute);
    const bool isClass = nextIsDelimiter('.');
    ++at_;
    if (!isClass) return true;
    if (!nextIs(CSSTokenType::Ident)) return fail("is not a class name, which has to follow \".\"");
    ++at_;
    return true;
  }

  bool readAttribute() {
    if (!nextIs(CSSTokenType::Ident) && !nextIsDelimiter('*') && !nextIsDelimiter('|')) {
      return fail("is not the name of an attribute");
    }
    if (!readName()) return false;
    skipSpace();
    if (at_ == end_) return true;
    if (!nextIs(CSSTokenType::Match) && !nextIsDelimiter('=')) {
      return fail("is not a comparison of attributes, which are = ~= |= ^= $= and *=");
    }
    skipWithSpace();
    if (!nextIs(CSSTokenType::Ident) && !nextIs(CSSTokenType::String)) {
      return fail("is not a value for an attribute; put the value in quotes");
    }
    skipWithSpace();
    if (nextIs(CSSTokenType::Ident) && equalsIgnoringCase(tokens_[at_].text, "i")) skipWithSpace();
    return true;
  }

  bool readPseudo() {
    const std::size_t begin = at_++;
    const bool isElement = nextIsDelimiter(':');
    if (isElement) ++at_;
    if (!nextIs(CSSTokenType::Ident) && !nextIs(CSSTokenType::Function)) {
      return fail("is not a name, which has to follow \":\"");
    }
    const std::string name = inLowerCase(tokens_[at_].text);
    const bool isFunction = nextIs(CSSTokenType::Function);
    if (isElement || (!isFunction && isLegacyPseudoElement(name))) {
      return readPseudoElement(begin, name, isFunction);
    }
    return readPseudoClass(begin, name, isFunction);
  }

  bool readPseudoElement(std::size_t begin, std::string_view name, bool isFunction) {
    const auto function = functionalPseudoElement(name);
    const auto kind = isFunction ? (function ? std::optional(function->kind) : std::nullopt)
                                 : orvane::pseudoElement(name);
    if (!kind) return failAt(begin, "is not a pseudo-element that the browser knows");
    if (nesting_ > 0) return failAt(begin, "is a pseudo-element, which is not allowed in here");
    if (pseudoElement_ && !mayFollowAsElement(*pseudoElement_, name)) {
      return failAt(begin, "may not follow another pseudo-element");
    }
    if (!isFunction) {
      ++at_;
    } else if (!readArgument(function->argument)) {
      return false;
    }
    pseudoElement_ = kind;
    return true;
  }

  bool readArgument(PseudoElementArgument argument) {
    switch (argument) {
      case PseudoElementArgument::CompoundList:
        return readSelectors(&SelectorReader::readCompoundList);
      case PseudoElementArgument::Compound:
        return readSelectors(&SelectorReader::readCompound);
      case PseudoElementArgument::Identifier:
        return readBlock(&SelectorReader::readIdentifier);
      case PseudoElementArgument::Identifiers:
        break;
    }
    return readBlock(&SelectorReader::readIdentifiers);
  }

  bool readPseudoClass(std::size_t begin, std::string_view name, bool isFunction) {
    const auto argument = functionalPseudoClass(name);
    if (isFunction ? !argument : !isPseudoClass(name)) {
      return failAt(begin, isFunction || !argument
                               ? "is not a pseudo-class that the browser knows"
                               : "is a pseudo-class that needs something in parentheses");
    }
    if (pseudoElement_ && !mayFollow(*pseudoElement_, name)) {
      return failAt(begin, "may not follow this pseudo-element");
    }
    if (isFunction) return readArgument(begin, *argument);
    ++at_;
    return true;
  }

  bool readArgument(std::size_t begin, PseudoClassArgument argument) {
    switch (argument) {
      case PseudoClassArgument::ForgivingList:
        at_ = std::min(closing_[at_] + 1, end_);
        return true;
      case PseudoClassArgument::List:
        return readSelectors(&SelectorReader::readComplexList);
      case PseudoClassArgument::RelativeList:
        return readHas(begin);
      case PseudoClassArgument::Compound:
        return readSelectors(&SelectorReader::readCompound);
      case PseudoClassArgument::Nth:
        return readBlock(&SelectorReader::readNth);
      case PseudoClassArgument::NthOf:
        return readSelectors(&SelectorReader::readNthOf);
      case PseudoClassArgument::Languages:
        return readBlock(&SelectorReader::readLanguages);
      case PseudoClassArgument::Identifier:
        break;
    }
    return readBlock(&SelectorReader::readIdentifier);
  }

  bool readHas(std::size_t begin) {
    if (insideHas_) return failAt(begin, "may not stand inside of another :has()");
    insideHas_ = true;
    const bool isRead = readSelectors(&SelectorReader::readRelativeList);
    insideHas_ = false;
    return isRead;
  }

  bool readComplexList() { return readList(&SelectorReader::readComplex); }
  bool readRelativeList() { return readList(&SelectorReader::readRelative); }

  bool readCompoundList() { return readList(&SelectorReader::readCompoundAndSpace); }

  bool readCompoundAndSpace() {
    if (!readCompound()) return false;
    skipSpace();
    return true;
  }

  bool readIdentifier() {
    if (!nextIs(CSSTokenType::Ident)) return fail("is not a name");
    ++at_;
    return true;
  }

  bool readIdentifiers() {
    do {
      if (!readIdentifier()) return false;
      skipSpace();
    } while (at_ < end_);
    return true;
  }

  bool readLanguages() { return readList(&SelectorReader::readLanguage); }

  bool readLanguage() {
    if (!nextIs(CSSTokenType::Ident) && !nextIs(CSSTokenType::String)) {
      return fail("is not a language");
    }
    if (tokens_[at_].text.starts_with("--")) return fail("is not a language");
    skipWithSpace();
    return true;
  }

  bool readNth() {
    const std::size_t length = nthExpressionLength(std::span(tokens_).subspan(at_, end_ - at_));
    if (length == 0) return fail("is not an expression like \"2n+1\", \"odd\" or \"3\"");
    at_ += length;
    return true;
  }

  bool readNthOf() {
    if (!readNth()) return false;
    if (at_ == end_) return true;
    if (!nextIs(CSSTokenType::Ident) || !equalsIgnoringCase(tokens_[at_].text, "of")) {
      return fail("is not expected here; only \"of\" may follow");
    }
    skipWithSpace();
    return readComplexList();
  }

  /// Reads a block of selectors, in which pseudo-elements are not allowed.
  bool readSelectors(Reader readContent) {
    ++nesting_;
    if (nesting_ > deepest) return fail("is nested too deeply; the browser may crash");
    const bool isRead = readBlock(readContent);
    --nesting_;
    return isRead;
  }

  /// Reads the block that the next token opens.
  bool readBlock(Reader readContent) {
    const std::size_t closing = closing_[at_];
    const std::size_t outerEnd = std::exchange(end_, closing);
    ++at_;
    skipSpace();
    if (!(this->*readContent)()) return false;
    skipSpace();
    if (at_ < end_) return fail("is not expected here");
    end_ = outerEnd;
    at_ = std::min(closing + 1, end_);
    return true;
  }

  bool nextIs(CSSTokenType type) const { return at_ < end_ && tokens_[at_].type == type; }
  bool nextIsDelimiter(char character) const {
    return at_ < end_ && tokens_[at_].isDelimiter(character);
  }
  bool nextIsCombinator() const {
    return nextIsDelimiter('>') || nextIsDelimiter('+') || nextIsDelimiter('~');
  }

  bool skipSpace() {
    const std::size_t begin = at_;
    while (nextIs(CSSTokenType::Whitespace)) ++at_;
    return at_ > begin;
  }

  void skipWithSpace() {
    ++at_;
    skipSpace();
  }

  bool fail(std::string_view reason) { return failAt(at_, reason); }

  /// The token at `index`, with what has been read since, is what is wrong.
  bool failAt(std::size_t index, std::string_view reason) {
    if (index >= tokens_.size()) {
      reason_ = tokens_.empty() ? "it is empty" : "it ends where something has to follow";
      return false;
    }
    const std::size_t last = std::max(index, std::min(at_, tokens_.size() - 1));
    const std::size_t begin = tokens_[index].position;
    const std::size_t end = last + 1 < tokens_.size() ? tokens_[last + 1].position : text_.size();
    reason_ = fmt::format("{} at position {} {}", quoted(text_.substr(begin, end - begin)),
                          begin + 1, reason);
    return false;
  }

  std::string_view text_;
  std::vector<CSSToken> tokens_;
  std::vector<std::size_t> closing_;
  std::size_t at_ = 0;
  std::size_t end_;
  int nesting_ = 0;
  bool insideHas_ = false;
  /// The last pseudo-element of the compound selector that is read, or of the one around it.
  std::optional<PseudoElementKind> pseudoElement_;
  std::optional<std::string> reason_;
};

}  // namespace

std::optional<std::string> lintSelector(std::string_view selector) {
  return SelectorReader(selector).read();
}

}  // namespace orvane
