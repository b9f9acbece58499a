#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "Platform/Foundation/Executor.h"
#include "Platform/Foundation/NSOperation.h"

namespace orvane {

/// How soon a user waits for the work. A label.
enum class NSQualityOfService { utility = 17, userInitiated = 25 };

/// Runs operations in the order in which they become ready. Any thread.
class NSOperationQueue {
 public:
  struct Properties {
    std::string name;
    std::size_t maxConcurrentOperationCount = 1;
    NSQualityOfService qualityOfService = NSQualityOfService::utility;
  };

  /// `makeSerialQueue` makes what the operations run on, at their first use.
  NSOperationQueue(SerialQueueFactory& makeSerialQueue, Properties properties);
  NSOperationQueue(const NSOperationQueue&) = delete;
  NSOperationQueue& operator=(const NSOperationQueue&) = delete;
  /// Waits for the operations that run; those that have not begun never will.
  ~NSOperationQueue();

  const Properties& properties() const { return properties_; }

  void addOperation(std::shared_ptr<NSOperation> operation);

  /// Cancels the operations that wait and those that run.
  void cancelAllOperations();

  /// The operations that were added and are not finished.
  std::size_t operationCount() const;

 private:
  Properties properties_;
};

}  // namespace orvane
