#include "Apps/Demonstration/AsyncResult.h"

#include <utility>

#include <fmt/format.h>

#include "Apps/Demonstration/MainLoop.h"

namespace orvane {

NSError demonstrationError(std::string description) {
  return {"orvane-demonstration", 1, std::move(description)};
}

NSError timeLimitError(std::string_view step, std::chrono::milliseconds limit) {
  if (wasInterrupted()) return demonstrationError(fmt::format("{} was interrupted.", step));
  return demonstrationError(
      fmt::format("{} took longer than {} s.", step, static_cast<double>(limit.count()) / 1000));
}

void AsyncResult::callback(GObject* /*source*/, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<std::shared_ptr<Slot>> slot(static_cast<std::shared_ptr<Slot>*>(data));
  **slot = retained(result);
}

Expected<GAsyncResult*> AsyncResult::wait(std::string_view step,
                                          std::chrono::milliseconds limit) const {
  if (!runMainLoopUntil([&] { return *slot_ != nullptr; }, limit)) {
    return tl::unexpected(timeLimitError(step, limit));
  }
  return slot_->get();
}

}  // namespace orvane
