#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

namespace orvane {

/// A piece of work for an `NSOperationQueue`. It is added to one queue, once. Any thread.
class NSOperation {
 public:
  NSOperation() = default;
  NSOperation(const NSOperation&) = delete;
  NSOperation& operator=(const NSOperation&) = delete;
  virtual ~NSOperation() = default;

  /// Asks the operation not to go on. One that has not begun is finished without a call of `main`
  /// as soon as its turn comes, whether or not what it depends on is finished; one that runs may
  /// look at `isCancelled`.
  void cancel();
  bool isCancelled() const { return isCancelled_; }

  /// Whether `main` has returned, or never will be called because of a cancellation.
  bool isFinished() const { return isFinished_; }

  /// This operation does not begin before `other` is finished; a cancelled operation counts as
  /// finished. Called before either operation can begin. Operations must not depend on each other
  /// in a circle.
  void addDependency(std::shared_ptr<NSOperation> other);

  /// Called once, on the queue's thread, when the operation is finished, also when it was
  /// cancelled. Set before the operation is added to a queue.
  void setCompletionBlock(std::function<void()> block);

 protected:
  /// The work. Called by the queue on a thread of its own.
  virtual void main() = 0;

 private:
  friend class NSOperationQueue;

  std::atomic<bool> isCancelled_ = false;
  std::atomic<bool> isFinished_ = false;
};

}  // namespace orvane
