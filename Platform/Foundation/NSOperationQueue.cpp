#include "Platform/Foundation/NSOperationQueue.h"

#include <algorithm>
#include <utility>

#include "Platform/Foundation/FatalError.h"

namespace orvane {

NSOperationQueue::NSOperationQueue(SerialQueueFactory& makeSerialQueue, Properties properties)
    : makeSerialQueue_(makeSerialQueue), properties_(std::move(properties)) {}

NSOperationQueue::~NSOperationQueue() {
  NSOperation::Remains remains;
  Operations unfinished;
  std::vector<std::unique_ptr<Executor>> lanes;
  const std::lock_guard lock(NSOperation::graph);
  ends_ = true;
  *self_ = nullptr;
  idleLanes_.clear();
  unfinished.swap(unfinished_);
  for (const auto& [number, operation] : unfinished) {
    if (operation->state_ != NSOperation::State::running) operation->abandon(remains);
  }
  ready_.clear();
  lanes.swap(lanes_);
}

void NSOperationQueue::addOperation(std::shared_ptr<NSOperation> operation) {
  NSOperation::Remains remains;
  {
    const std::lock_guard lock(NSOperation::graph);
    if (operation->state_ != NSOperation::State::created) {
      fatalError("An operation is added a second time", "Platform/Foundation");
    }
    if (ends_) return operation->abandon(remains);
    operation->state_ = NSOperation::State::waiting;
    operation->queue_ = this;
    operation->number_ = addedCount_++;
    unfinished_.emplace(operation->number_, operation);
    const bool mayBegin = operation->isCancelled() || operation->unfinishedDependencyCount_ == 0;
    if (mayBegin) makeReady(*operation);
  }
  provideLane();
}

void NSOperationQueue::cancelAllOperations() {
  const std::lock_guard lock(NSOperation::graph);
  for (const auto& [number, operation] : unfinished_) operation->cancelLocked();
}

std::size_t NSOperationQueue::operationCount() const {
  const std::lock_guard lock(NSOperation::graph);
  return unfinished_.size();
}

void NSOperationQueue::provideLane() {
  {
    const std::lock_guard lock(NSOperation::graph);
    const auto most = std::min(properties_.maxConcurrentOperationCount, unfinished_.size());
    if (laneCount_ >= most) return;
    ++laneCount_;
  }
  auto lane = makeSerialQueue_(properties_.name);
  const std::lock_guard lock(NSOperation::graph);
  lanes_.push_back(std::move(lane));
  engage(*lanes_.back());
}

void NSOperationQueue::engage(Executor& lane) {
  if (ready_.empty()) return idleLanes_.push_back(&lane);
  lane.post([this, &lane] { runNext(lane); });
}

void NSOperationQueue::makeReady(NSOperation& operation) {
  operation.state_ = NSOperation::State::ready;
  ready_.push_back(&operation);
  if (idleLanes_.empty()) return;
  auto* lane = idleLanes_.back();
  idleLanes_.pop_back();
  engage(*lane);
}

void NSOperationQueue::runNext(Executor& lane) {
  std::shared_ptr<NSOperation> operation;
  {
    const std::lock_guard lock(NSOperation::graph);
    operation = takeReady();
  }
  if (operation) {
    return operation->start(
        [operation, queue = self_, &lane] { finish(*operation, *queue, lane); });
  }
  const std::lock_guard lock(NSOperation::graph);
  engage(lane);
}

std::shared_ptr<NSOperation> NSOperationQueue::takeReady() {
  if (ready_.empty()) return nullptr;
  auto& operation = *ready_.front();
  ready_.pop_front();
  operation.state_ = NSOperation::State::running;
  operation.queue_ = nullptr;
  return operation.shared_from_this();
}

void NSOperationQueue::finish(NSOperation& operation, NSOperationQueue* const& queue,
                              Executor& lane) {
  std::function<void()> completed;
  {
    const std::lock_guard lock(NSOperation::graph);
    operation.state_ = NSOperation::State::completing;
    if (queue != nullptr) queue->unfinished_.erase(operation.number_);
    completed.swap(operation.completionBlock_);
  }
  if (completed) completed();
  NSOperation::Remains remains;
  const std::lock_guard lock(NSOperation::graph);
  operation.finish(remains);
  // One task an operation: on a clock that tests turn, other queues have their turn in between.
  if (queue != nullptr) queue->engage(lane);
}

}  // namespace orvane
