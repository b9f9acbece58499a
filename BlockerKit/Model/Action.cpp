#include "BlockerKit/Model/Action.h"

#include <utility>

namespace orvane {

Action::Action(ActionType type, std::optional<std::string> selector)
    : type_(type), selector_(std::move(selector)) {}

std::optional<Action> Action::make(ActionType type, std::optional<std::string> selector) {
  if (type != ActionType::Hide) return Action(type, std::nullopt);
  if (!selector) return std::nullopt;
  return Action(type, std::move(selector));
}

Action Action::asRead(ActionType type, std::optional<std::string> selector) {
  return {type, std::move(selector)};
}

}  // namespace orvane
