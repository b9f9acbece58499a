#pragma once

#include <string_view>

namespace orvane {

/// Whether a record can hold the text: valid UTF-8 without zero bytes.
bool canBeRecordText(std::string_view text);

/// Whether a record can have that name: such a text of 1 to 255 bytes.
bool canBeRecordName(std::string_view text);

}  // namespace orvane
