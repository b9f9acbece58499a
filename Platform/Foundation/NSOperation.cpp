#include "Platform/Foundation/NSOperation.h"

#include <utility>

#include "Platform/Foundation/NSOperationQueue.h"

namespace orvane {

std::mutex NSOperation::graph;

void NSOperation::cancel() {
  const std::lock_guard lock(graph);
  cancelLocked();
}

void NSOperation::cancelLocked() {
  if (isFinished()) return;
  isCancelled_ = true;
  if (state_ == State::waiting) queue_->makeReady(*this);
}

void NSOperation::start(const std::function<void()>& finished) {
  if (!isCancelled()) main();
  finished();
}

void NSOperation::addDependency(std::shared_ptr<NSOperation> other) {
  const auto self = shared_from_this();
  const std::lock_guard lock(graph);
  if (other->state_ == State::finished) return;
  ++unfinishedDependencyCount_;
  other->dependents_.push_back(self);
  dependencies_.push_back(std::move(other));
}

void NSOperation::setCompletionBlock(std::function<void()> block) {
  // The previous block leaves with `block`, behind the lock.
  const std::lock_guard lock(graph);
  completionBlock_.swap(block);
}

void NSOperation::finish(Remains& remains) {
  state_ = State::finished;
  for (const auto& dependent : std::exchange(dependents_, {})) {
    auto operation = dependent.lock();
    if (!operation) continue;
    --operation->unfinishedDependencyCount_;
    if (operation->state_ == State::waiting && operation->unfinishedDependencyCount_ == 0) {
      operation->queue_->makeReady(*operation);
    }
    remains.operations.push_back(std::move(operation));
  }
  // Kept any longer, they would make a chain of operations that ends in one deep recursion.
  for (auto& dependency : dependencies_) remains.operations.push_back(std::move(dependency));
  dependencies_.clear();
}

void NSOperation::abandon(Remains& remains) {
  isCancelled_ = true;
  queue_ = nullptr;
  remains.completionBlocks.push_back(std::exchange(completionBlock_, {}));
  finish(remains);
}

}  // namespace orvane
