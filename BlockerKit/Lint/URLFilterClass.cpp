#include "BlockerKit/Lint/URLFilterClass.h"

namespace orvane {

std::optional<std::string> URLFilterClass::put(unsigned first, unsigned last) {
  if (last > 0x7F && first != last) {
    return "a range that reaches beyond the ASCII characters makes the browser crash";
  }
  if (last > 0x7F) return "only ASCII characters are supported";
  hasNull_ = hasNull_ || first == 0;
  hasOther_ = hasOther_ || last != 0;
  return std::nullopt;
}

std::optional<std::string> URLFilterClass::add(unsigned character, bool escaped) {
  switch (state_) {
    case State::Empty:
      break;
    case State::Character:
      if (character == '-' && !escaped) {
        state_ = State::Hyphen;
        return std::nullopt;
      }
      if (auto reason = put(pending_, pending_)) return reason;
      break;
    case State::Hyphen:
      if (character < pending_) return "the range runs backwards";
      // The browser crashes even on a range that is one character beyond ASCII.
      if (character > 0x7F) return put(0, character);
      state_ = State::Empty;
      return put(pending_, character);
  }
  state_ = State::Character;
  pending_ = character;
  return std::nullopt;
}

std::optional<std::string> URLFilterClass::finish() {
  if (state_ == State::Empty) return std::nullopt;
  hasOther_ = hasOther_ || state_ == State::Hyphen;
  return put(pending_, pending_);
}

}  // namespace orvane
