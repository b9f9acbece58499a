#pragma once

#include <chrono>
#include <cstddef>

#include "Platform/Foundation/NSURLLoader.h"

namespace orvane {

/// Fetches by HTTP and from files.
class URLLoader final : public NSURLLoader {
 public:
  struct Limits {
    std::size_t bytes = 64UL * 1024 * 1024;
    std::chrono::milliseconds time{std::chrono::seconds(30)};
  };

  explicit URLLoader(Limits limits) : limits_(limits) {}

  Expected<std::string> contents(std::string_view url) override;

 private:
  Limits limits_;
};

}  // namespace orvane
