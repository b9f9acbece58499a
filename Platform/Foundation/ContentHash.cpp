#include "Platform/Foundation/ContentHash.h"

#include <fmt/format.h>
#include <xxhash.h>

namespace orvane {

std::string contentHash(std::string_view bytes) {
  const XXH128_hash_t value = XXH3_128bits(bytes.data(), bytes.size());
  return fmt::format("{:016x}{:016x}", value.high64, value.low64);
}

}  // namespace orvane
