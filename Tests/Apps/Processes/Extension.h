#pragma once

#include <optional>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>

#include "Linux/LinuxPlatform.h"
#include "Linux/Posix/DescriptorOutput.h"
#include "Linux/Posix/FileDescriptor.h"
#include "Process/Process.h"
#include "Tests/Support/MainLoop.h"

namespace orvane::test {

/// The browser's side of the product, in the process that makes it.
class Extension {
 public:
  using Message = Communication::Message;

  /// What the product prints or says to the system goes to `log`.
  explicit Extension(const std::filesystem::path& log)
      : log_(::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600)) {
    observation_ = process.defaults().addObserver("reloadTab", [this] { ++answers; });
  }

  void send(Message message = Message::reloadRulesFromDisk) {
    process.communication().send(message);
  }
  /// Another signal, and what the companion is asked for in the end.
  void setPaused(bool paused) {
    EXPECT_TRUE(process.defaults().setObject(paused, Communication::pausedKey));
  }
  bool block(const std::string& urlFilter) {
    const Rule rule{urlFilter, "", {{.urlFilter = urlFilter}, *Action::make(ActionType::Block)}};
    return process.dataManager().addRule(rule, "block-url");
  }
  bool whitelist(const std::string& host) {
    const auto rule = process.perSiteRules().whitelistRuleForDomains({host}, std::nullopt, "");
    return rule && process.dataManager().addRule(*rule, "whitelist");
  }
  BlockerPreferenceManager& preferences() { return process.dataManager().preferenceManager(); }

  std::string status(const std::string& name) {
    const auto entry = process.defaults().entry("CompanionStatus", name);
    const auto* text = entry ? entry->as<std::string>() : nullptr;
    return text == nullptr ? "" : *text;
  }

  /// Waits for the answer to all that was sent. More may have come only after more were sent.
  void waitForAnswers(int count) {
    loop.runUntil([&] { return answers >= count; });
    loop.runUntilIdle();
  }
  /// Sends a signal and waits for its answer; afterwards every answer to what was sent before is
  /// there as well.
  void makeARoundTrip() {
    const int before = answers;
    send();
    // The first answer that comes may be to an earlier signal, from a companion that is gone.
    loop.lookUntil([&] { return isAnswered() && answers > before; });
    loop.runUntilIdle();
  }
  /// Whether the companion notes that it has answered the signal that was sent last.
  bool isAnswered() {
    const auto* key = "reloadRulesFromDisk";
    return process.defaults().entry("AnsweredSignals", key) == process.defaults().object(key);
  }
  template <typename Condition>
  void waitUntil(Condition condition) {
    loop.lookUntil(condition);
  }

 private:
  FileDescriptor log_;
  DescriptorOutput systemLog_{log_.get()};

 public:
  MainLoop loop;
  LinuxPlatform machine{PersistentStore::applicationGroup, log_.get(), systemLog_};
  Process process{machine.platform()};
  int answers = 0;

 private:
  std::unique_ptr<NSUserDefaults::Observation> observation_;
};

}  // namespace orvane::test
