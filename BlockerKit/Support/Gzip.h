#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// Whether the data begin with the gzip magic.
bool isGzippedData(std::string_view data);

/// The data as a gzip stream; the data themselves when they are empty or gzip data already; nothing
/// on failure, which is also when the machine has no zlib. `level` is 0 to 1, or negative for
/// zlib's default.
std::optional<std::string> gzippedDataWithCompressionLevel(std::string_view data, float level);

/// `gzippedDataWithCompressionLevel` with zlib's default.
std::optional<std::string> gzippedData(std::string_view data);

/// What the gzip stream holds; the data themselves when they are empty or no gzip data; nothing on
/// failure, which is also when the stream is damaged or ends too early.
std::optional<std::string> gunzippedData(std::string_view data);

}  // namespace orvane
