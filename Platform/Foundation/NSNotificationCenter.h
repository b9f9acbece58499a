#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace orvane {

struct NSNotification {
  std::string name;
  std::map<std::string, std::variant<bool, std::string>> userInfo = {};
  /// The type that posts it; may be empty.
  std::string object = {};
};

/// Tells observers what happened, by name. Any thread.
class NSNotificationCenter {
 public:
  using Callback = std::function<void(const NSNotification&)>;

  /// An observation lasts as long as this value. Once it is destroyed no new call starts; a call
  /// that another thread has begun may still be running.
  class Observation {
   public:
    Observation() = default;
    Observation(Observation&& other) noexcept = default;
    Observation& operator=(Observation&& other) noexcept = default;
    Observation(const Observation&) = delete;
    Observation& operator=(const Observation&) = delete;
    ~Observation() = default;

   private:
    friend class NSNotificationCenter;
    struct Entry;
    explicit Observation(std::shared_ptr<Entry> entry) : entry_(std::move(entry)) {}
    std::shared_ptr<Entry> entry_;
  };

  NSNotificationCenter() = default;
  NSNotificationCenter(const NSNotificationCenter&) = delete;
  NSNotificationCenter& operator=(const NSNotificationCenter&) = delete;
  ~NSNotificationCenter() = default;

  /// `callback` is called for each notification named `name`, on the thread that posts it.
  [[nodiscard]] Observation addObserver(std::string_view name, Callback callback);

  /// Calls the observers of the notification's name, in the order in which they were added, before
  /// it returns.
  void post(const NSNotification& notification);

 private:
  std::mutex mutex_;
  std::vector<std::weak_ptr<Observation::Entry>> entries_;
};

}  // namespace orvane
