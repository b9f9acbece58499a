#include "Platform/Foundation/Executor.h"

#include <future>

namespace orvane {

void Executor::runAndWait(Task task) {
  auto ran = std::make_shared<std::promise<void>>();
  const auto end = ran->get_future();
  // A task that is dropped destroys the promise with it, which ends the wait too.
  post([&task, ran = std::move(ran)] {
    task();
    ran->set_value();
  });
  end.wait();
}

}  // namespace orvane
