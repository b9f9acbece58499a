#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

enum class CSSTokenType {
  Ident,
  Function,  ///< an identifier and the "(" behind it
  Hash,      ///< "#" and characters of a name
  String,
  Number,
  Dimension,  ///< a number and its unit
  Delimiter,  ///< one character
  Whitespace,
  OpenBlock,   ///< "(", "[" or "{"
  CloseBlock,  ///< ")", "]" or "}" that closes the block that is open
  Match,       ///< "~=", "|=", "^=", "$=" or "*="
  Other,       ///< anything that no selector has a use for
};

struct CSSToken {
  CSSTokenType type;
  /// In bytes from the start of the text.
  std::size_t position = 0;
  /// The name of an identifier, function or hash, the content of a string, the unit of a dimension,
  /// the character of a delimiter, or the bracket of a block. Escapes are resolved.
  std::string text;
  /// Of a hash: its name could be an identifier.
  bool isIdentifier = false;
  /// Of a number or dimension.
  bool isInteger = false;
  bool hasSign = false;

  bool isDelimiter(char character) const {
    return type == CSSTokenType::Delimiter && text[0] == character;
  }
  bool opens(char bracket) const { return type == CSSTokenType::OpenBlock && text[0] == bracket; }
  bool opensBlock() const {
    return type == CSSTokenType::OpenBlock || type == CSSTokenType::Function;
  }
};

/// The tokens of a CSS text in UTF-8, by the rules of CSS Syntax; comments leave no token.
std::vector<CSSToken> tokenizeCSS(std::string_view text);

}  // namespace orvane
