#pragma once

#include <string>
#include <string_view>

#include "Platform/Foundation/NSError.h"

namespace orvane {

/// Fetches what a URL names.
class NSURLLoader {
 public:
  NSURLLoader() = default;
  NSURLLoader(const NSURLLoader&) = delete;
  NSURLLoader& operator=(const NSURLLoader&) = delete;
  virtual ~NSURLLoader() = default;

  /// The whole content behind a `file:`, `http:` or `https:` URL; any other scheme is an error, and
  /// so is an HTTP status other than success. Blocks; content beyond the loader's limit of size, or
  /// not complete within its limit of time, is an error. Any thread.
  virtual Expected<std::string> contents(std::string_view url) = 0;
};

}  // namespace orvane
