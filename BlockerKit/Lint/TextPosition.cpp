#include "BlockerKit/Lint/TextPosition.h"

namespace orvane {

TextPosition TextPositions::at(std::size_t offset) {
  if (offset < offset_) {
    offset_ = 0;
    position_ = {};
  }
  for (; offset_ < offset && offset_ < text_.size(); ++offset_) {
    const auto byte = static_cast<unsigned char>(text_[offset_]);
    if (byte == '\n') {
      ++position_.line;
      position_.column = 1;
    } else if ((byte & 0xC0) != 0x80) {
      ++position_.column;
    }
  }
  return position_;
}

}  // namespace orvane
