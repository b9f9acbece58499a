#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "Platform/Foundation/NSError.h"

namespace orvane {

struct SFContentBlockerState {
  /// Whether the user has the content blocker switched on in the browser's settings.
  bool isEnabled = true;
};

/// The browser, as far as a content blocker may ask something of it. Any thread may ask;
/// completions arrive on the main queue, never inside the call that they answer.
class SFContentBlockerManager {
 public:
  /// Either the state or the error is there.
  using StateCompletion =
      std::function<void(std::optional<SFContentBlockerState>, std::optional<NSError>)>;
  using ReloadCompletion = std::function<void(std::optional<NSError>)>;

  SFContentBlockerManager() = default;
  SFContentBlockerManager(const SFContentBlockerManager&) = delete;
  SFContentBlockerManager& operator=(const SFContentBlockerManager&) = delete;
  virtual ~SFContentBlockerManager() = default;

  /// Whether this browser can be asked for the state; an old one cannot.
  virtual bool hasStateQuery() const = 0;

  virtual void getStateOfContentBlocker(std::string_view identifier,
                                        StateCompletion completion) = 0;

  /// Makes the browser read the blocker list again. Completes without an error once the browser has
  /// the list that the file held at the call, or a newer one; after an error the last good list
  /// stays in force.
  virtual void reloadContentBlocker(std::string_view identifier, ReloadCompletion completion) = 0;
};

}  // namespace orvane
