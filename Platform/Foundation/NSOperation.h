#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace orvane {

class NSOperationQueue;

/// How soon a user waits for the work. A label.
enum class NSQualityOfService { utility = 17, userInitiated = 25 };

/// A piece of work for an `NSOperationQueue`. It is owned by a shared pointer, and added to one
/// queue, once. Any thread.
class NSOperation : public std::enable_shared_from_this<NSOperation> {
 public:
  NSOperation() = default;
  NSOperation(const NSOperation&) = delete;
  NSOperation& operator=(const NSOperation&) = delete;
  virtual ~NSOperation() = default;

  /// Asks the operation not to go on; without effect once it is finished. One that has not begun is
  /// finished without a call of `main` when its turn in its queue comes, whether or not what it
  /// depends on is finished. One that runs may look at `isCancelled`.
  void cancel();
  bool isCancelled() const { return isCancelled_; }

  /// Whether `main` has returned, or its turn has come after a cancellation, or its queue has ended
  /// before it could begin.
  bool isFinished() const { return state_ >= State::completing; }

  /// This operation does not begin before `other` is finished; a cancelled operation counts as
  /// finished when its turn has come. Called before this operation is added to a queue; `other` may
  /// be on any queue, in any state. Operations must not depend on each other in a circle.
  void addDependency(std::shared_ptr<NSOperation> other);

  /// Called once, on the queue's thread, when the operation is finished, also when it was
  /// cancelled, and before what depends on the operation begins. Set before the operation is added
  /// to a queue.
  void setCompletionBlock(std::function<void()> block);

  /// Without one it is the queue's. Set before the operation is added to a queue.
  void setQualityOfService(NSQualityOfService quality) { qualityOfService_ = quality; }
  std::optional<NSQualityOfService> qualityOfService() const { return qualityOfService_; }

 protected:
  /// The work of an operation that is done when this returns. Called once, on one of the queue's
  /// threads, unless the operation was cancelled before.
  virtual void main() {}

  /// What the queue calls in the operation's turn, on one of its threads, also when it has been
  /// cancelled. Does the work and calls `finished`, once, when it is done: at any time, on any
  /// thread. An operation that waits for others overrides it, so that no thread waits with it.
  virtual void start(const std::function<void()>& finished);

 private:
  friend class NSOperationQueue;

  enum class State {
    created,     ///< on no queue
    waiting,     ///< for what it depends on
    ready,       ///< for a thread
    running,     ///< `main`
    completing,  ///< finished; what depends on it must still wait for the completion block
    finished,
  };
  /// What was let go of while the graph was locked; destroyed behind the lock, since the last
  /// reference to anything may be in it.
  struct Remains {
    std::vector<std::shared_ptr<NSOperation>> operations;
    std::vector<std::function<void()>> completionBlocks;
  };

  // With the graph locked:
  void cancelLocked();
  /// Lets what depends on this operation begin.
  void finish(Remains& remains);
  /// Finishes the operation without its queue.
  void abandon(Remains& remains);

  /// Guards the fields below and the queues' own, of all operations and queues: what depends on an
  /// operation may be on any of them.
  static std::mutex graph;

  std::atomic<bool> isCancelled_ = false;
  std::atomic<State> state_ = State::created;
  std::function<void()> completionBlock_;
  std::optional<NSQualityOfService> qualityOfService_;
  std::vector<std::shared_ptr<NSOperation>> dependencies_;
  std::size_t unfinishedDependencyCount_ = 0;
  std::vector<std::weak_ptr<NSOperation>> dependents_;
  NSOperationQueue* queue_ = nullptr;  ///< while it waits or is ready
  std::uint64_t number_ = 0;           ///< in its queue
};

}  // namespace orvane
