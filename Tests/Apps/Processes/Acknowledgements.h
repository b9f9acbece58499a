#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace orvane::test {

/// The changes that a process makes one after the other, named so that they are told from those of
/// other processes.
inline std::string nameOfChange(const std::string& process, std::int32_t number) {
  return process + "-" + std::to_string(number);
}

/// A package, and whether it is switched off: each is switched on again by the change after the
/// next.
inline std::pair<std::string, bool> switchOf(const std::string& process, std::int32_t number) {
  const bool isDisabled = number % 2 == 0;
  const auto package = isDisabled ? number / 2 : number / 2 - 1;
  return {nameOfChange(process, package), isDisabled};
}

}  // namespace orvane::test
