#include "BlockerKit/Support/Gzip.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <dlfcn.h>
#include <zlib.h>

namespace orvane {
namespace {

constexpr const char* zlibVersion = "1.2.11";
constexpr int gzipWindowBits = 15 + 16;
constexpr int anyHeaderWindowBits = 15 + 32;
constexpr int memoryLevel = 8;
constexpr std::size_t compressionStep = 16384;

/// zlib is not linked: it is on every machine, its development files are not.
void* zlib() {
  static void* const library = [] {
    for (const char* name : {"/usr/lib/libz.dylib", "libz.so.1"}) {
      if (void* opened = ::dlopen(name, RTLD_LAZY)) return opened;
    }
    return static_cast<void*>(nullptr);
  }();
  return library;
}

template <typename Function>
Function* lookUp(const char* name) {
  void* library = zlib();
  return library == nullptr ? nullptr : reinterpret_cast<Function*>(::dlsym(library, name));
}

struct Compressor {
  decltype(::deflateInit2_)* init = lookUp<decltype(::deflateInit2_)>("deflateInit2_");
  decltype(::deflate)* run = lookUp<decltype(::deflate)>("deflate");
  decltype(::deflateEnd)* end = lookUp<decltype(::deflateEnd)>("deflateEnd");
};

struct Decompressor {
  decltype(::inflateInit2_)* init = lookUp<decltype(::inflateInit2_)>("inflateInit2_");
  decltype(::inflate)* run = lookUp<decltype(::inflate)>("inflate");
  decltype(::inflateEnd)* end = lookUp<decltype(::inflateEnd)>("inflateEnd");
};

template <typename Functions>
const Functions* loaded() {
  static const Functions functions;
  const bool complete = functions.init && functions.run && functions.end;
  return complete ? &functions : nullptr;
}

/// The library's own counters of a stream hold 32 bits.
bool fits(std::string_view data) { return data.size() <= std::numeric_limits<uInt>::max(); }

z_stream streamFrom(std::string_view data) {
  z_stream stream{};
  // The interface is older than const; the input is only read.
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  stream.avail_in = static_cast<uInt>(data.size());
  return stream;
}

/// Makes room when all of `output` is written, and points the stream at the free tail.
void offerTail(z_stream& stream, std::string& output, std::size_t step) {
  if (stream.total_out >= output.size()) output.resize(output.size() + step);
  stream.next_out = reinterpret_cast<Bytef*>(output.data() + stream.total_out);
  stream.avail_out = static_cast<uInt>(output.size() - stream.total_out);
}

}  // namespace

bool isGzippedData(std::string_view data) { return data.starts_with("\x1F\x8B"); }

std::optional<std::string> gzippedDataWithCompressionLevel(std::string_view data, float level) {
  if (data.empty() || isGzippedData(data)) return std::string(data);
  const auto* functions = loaded<Compressor>();
  const float zlibLevel = level < 0 ? Z_DEFAULT_COMPRESSION : std::round(level * 9);
  if (functions == nullptr || !fits(data) || !(zlibLevel <= Z_BEST_COMPRESSION)) {
    return std::nullopt;
  }
  z_stream stream = streamFrom(data);
  if (functions->init(&stream, static_cast<int>(zlibLevel), Z_DEFLATED, gzipWindowBits, memoryLevel,
                      Z_DEFAULT_STRATEGY, zlibVersion, sizeof stream) != Z_OK) {
    return std::nullopt;
  }
  std::string output(compressionStep, '\0');
  do {
    offerTail(stream, output, compressionStep);
    functions->run(&stream, Z_FINISH);
  } while (stream.avail_out == 0);
  functions->end(&stream);
  output.resize(stream.total_out);
  return output;
}

std::optional<std::string> gzippedData(std::string_view data) {
  return gzippedDataWithCompressionLevel(data, -1.0F);
}

std::optional<std::string> gunzippedData(std::string_view data) {
  if (data.empty() || !isGzippedData(data)) return std::string(data);
  const auto* functions = loaded<Decompressor>();
  if (functions == nullptr || !fits(data)) return std::nullopt;
  z_stream stream = streamFrom(data);
  if (functions->init(&stream, anyHeaderWindowBits, zlibVersion, sizeof stream) != Z_OK) {
    return std::nullopt;
  }
  // Twice a length that just fits would not fit.
  std::string output(std::min<std::size_t>(data.size() * 2, std::numeric_limits<uInt>::max()),
                     '\0');
  int status = Z_OK;
  do {
    offerTail(stream, output, data.size() / 2);
    status = functions->run(&stream, Z_SYNC_FLUSH);
  } while (status == Z_OK);
  const bool ended = functions->end(&stream) == Z_OK && status == Z_STREAM_END;
  if (!ended) return std::nullopt;
  output.resize(stream.total_out);
  return output;
}

}  // namespace orvane
