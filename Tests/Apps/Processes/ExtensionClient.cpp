// A process that uses the product as a test tells it.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include <fmt/format.h>
#include <unistd.h>

#include "Tests/Apps/Processes/Acknowledgements.h"
#include "Tests/Apps/Processes/SignalExchange.h"

namespace orvane::test {
namespace {

using Message = Extension::Message;

bool acknowledge(std::int32_t number) {
  return ::write(STDOUT_FILENO, &number, sizeof number) == sizeof number;
}

int exchange(Extension& extension, const std::string& count) {
  fmt::print("{}", exchangeSignals(extension, Message::reloadTab, Message::reloadRulesFromDisk,
                                   std::atoi(count.c_str())));
  return 0;
}

/// Adds rules until it is killed, and acknowledges each that is saved.
int addRules(Extension& extension, const std::string& name) {
  for (std::int32_t number = 0;; ++number) {
    if (!extension.block(nameOfChange(name, number)) || !acknowledge(number)) return 1;
    extension.loop.runUntilIdle();
  }
}

/// Switches packages off and on until it is killed, and acknowledges each change that is stored.
int switchPackages(Extension& extension, const std::string& name) {
  for (std::int32_t number = 0;; ++number) {
    const auto [package, isDisabled] = switchOf(name, number);
    auto& preferences = extension.preferences();
    const bool isStored = isDisabled
                              ? preferences.saveDisabledUserPrefenceForPackage({package, "", {}})
                              : preferences.saveEnabledUserPrefenceForPackage({package, "", {}});
    if (!isStored || !acknowledge(number)) return 1;
  }
}

}  // namespace
}  // namespace orvane::test

int main(int argc, char** argv) {
  using namespace orvane::test;
  const std::map<std::string, int (*)(Extension&, const std::string&)> commands{
      {"exchange", exchange}, {"add-rules", addRules}, {"switch-packages", switchPackages}};
  const auto command = argc == 4 ? commands.find(argv[1]) : commands.end();
  if (command == commands.end()) return 2;
  Extension extension(argv[2]);
  return command->second(extension, argv[3]);
}
