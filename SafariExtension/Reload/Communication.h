#pragma once

#include "BlockerKit/Model/RawValue.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Platform/Platform.h"

namespace orvane {

/// Signals between the browser extension and the companion application. A signal is a change of the
/// value under its key in the user defaults that they share; the value says nothing. Who wants to
/// hear of a signal observes its raw value with `NSUserDefaults::addObserver`. Any thread.
class Communication {
 public:
  /// The raw value is the key.
  enum class Message {
    reloadTab,            ///< to the extension: the browser has new rules
    reloadRulesFromDisk,  ///< to the application: the package files have changed
  };

  /// Under this key both programs see whether all blocking is paused, a boolean.
  static constexpr const char* pausedKey = "paused";

  /// Both outlive this object.
  Communication(Platform& platform, NSUserDefaults& defaults);

  /// Two sends in a row are two signals. A signal that cannot be stored is lost, and the system log
  /// says why.
  void send(Message message);

 private:
  Platform& platform_;
  NSUserDefaults& defaults_;
};

template <>
struct RawValues<Communication::Message> {
  static constexpr RawValueTable<Communication::Message, 2> table{{
      {Communication::Message::reloadTab, "reloadTab"},
      {Communication::Message::reloadRulesFromDisk, "reloadRulesFromDisk"},
  }};
};

}  // namespace orvane
