#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Foundation/KeyValueStore.h"
#include "Platform/Foundation/LookLog.h"

namespace orvane {

/// A suite of user defaults. Reading and writing on any thread, observing on the main queue.
class NSUserDefaults : public KeyValueStore {
 public:
  /// An observation lasts as long as this value; once it is destroyed its callback is not called.
  class Observation {
   public:
    Observation(const Observation&) = delete;
    Observation& operator=(const Observation&) = delete;
    ~Observation() = default;

   private:
    friend class NSUserDefaults;
    struct Observed;
    explicit Observation(std::shared_ptr<Observed> observed) : observed_(std::move(observed)) {}
    std::shared_ptr<Observed> observed_;
  };

  /// `database` has no other listener.
  NSUserDefaults(KeyValueDatabase& database, LineOutput& systemLog);
  ~NSUserDefaults();

  /// From now on calls `changed` on the main queue as often as any process, this one included,
  /// changes the value under `key`. What other keys do does not count.
  [[nodiscard]] std::unique_ptr<Observation> addObserver(std::string_view key,
                                                         std::function<void()> changed);

 private:
  void tellObservers();

  bool isListening_ = false;
  /// Shared with a round of calls, which may destroy this object.
  std::shared_ptr<LookLog> looks_;
  std::vector<std::weak_ptr<Observation::Observed>> observed_;
};

/// Opens the suite of that name: null when it cannot be opened. The suite lives as long as the
/// platform. Main queue.
using UserDefaultsSuites = std::function<NSUserDefaults*(std::string_view suiteName)>;

}  // namespace orvane
