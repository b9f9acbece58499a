#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Foundation/Executor.h"
#include "Platform/Foundation/NSOperation.h"

namespace orvane {

/// Runs operations in the order in which they become ready: with all they depend on finished, or
/// cancelled. Nothing runs inside a call of this class. Any thread.
class NSOperationQueue {
 public:
  struct Properties {
    std::string name;
    /// At least 1.
    std::size_t maxConcurrentOperationCount = 1;
    NSQualityOfService qualityOfService = NSQualityOfService::utility;
  };

  /// `makeSerialQueue` makes what the operations run on: one for each operation that is added while
  /// the others have not finished, up to the maximum. It outlives the queue.
  NSOperationQueue(SerialQueueFactory& makeSerialQueue, Properties properties);
  NSOperationQueue(const NSOperationQueue&) = delete;
  NSOperationQueue& operator=(const NSOperationQueue&) = delete;
  /// Waits for the operations that run on its threads, and for their completion blocks; one that
  /// waits for others is left to finish by itself. Those that have not begun
  /// never will: they are cancelled and finished without a call of their completion blocks, and
  /// what depends on them on other queues proceeds. So is what a running operation adds meanwhile.
  /// Not to be called from an operation or a completion block of this queue.
  ~NSOperationQueue();

  const Properties& properties() const { return properties_; }

  void addOperation(std::shared_ptr<NSOperation> operation);

  /// Cancels the operations that wait and those that run.
  void cancelAllOperations();

  /// The operations that were added and are not finished.
  std::size_t operationCount() const;

 private:
  friend class NSOperation;

  /// The operations in the order in which they were added.
  using Operations = std::map<std::uint64_t, std::shared_ptr<NSOperation>>;

  /// Makes one more lane, if there can be work for it.
  void provideLane();
  /// What a lane runs for each operation.
  void runNext(Executor& lane);
  /// The operation is done; the lane is there for another one if the queue still is.
  static void finish(NSOperation& operation, NSOperationQueue* const& queue, Executor& lane);

  // With the graph locked:
  void makeReady(NSOperation& operation);
  std::shared_ptr<NSOperation> takeReady();
  /// Runs the first operation that is ready; without one, the lane is idle.
  void engage(Executor& lane);

  SerialQueueFactory& makeSerialQueue_;
  const Properties properties_;
  bool ends_ = false;
  /// This queue, or null once it ends: an operation may finish later than that.
  std::shared_ptr<NSOperationQueue*> self_ = std::make_shared<NSOperationQueue*>(this);
  std::uint64_t addedCount_ = 0;
  Operations unfinished_;
  std::deque<NSOperation*> ready_;
  std::size_t laneCount_ = 0;  ///< with the lanes that are being made
  std::vector<std::unique_ptr<Executor>> lanes_;
  std::vector<Executor*> idleLanes_;
};

}  // namespace orvane
