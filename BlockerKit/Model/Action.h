#pragma once

#include <optional>
#include <string>

#include "BlockerKit/Model/RawValue.h"

namespace orvane {

/// What the browser does with a load that a rule applies to.
enum class ActionType {
  Block,                ///< block the load
  BlockCookies,         ///< strip cookies from the request
  Hide,                 ///< hide the page elements that a CSS selector matches
  IgnorePreviousRules,  ///< cancel all earlier rules of the list that matched
  makeHttps,            ///< upgrade the load to HTTPS
};

template <>
struct RawValues<ActionType> {
  static constexpr RawValueTable<ActionType, 5> table{{
      {ActionType::Block, "block"},
      {ActionType::BlockCookies, "block-cookies"},
      {ActionType::Hide, "css-display-none"},
      {ActionType::IgnorePreviousRules, "ignore-previous-rules"},
      {ActionType::makeHttps, "make-https"},
  }};
};

class Action {
 public:
  /// An action that is fit for use: nothing when `type` is `Hide` and there is no selector; every
  /// other type drops the selector. An empty selector is not rejected here.
  static std::optional<Action> make(ActionType type, std::optional<std::string> selector = {});

  /// An action as a document carries it: the selector is kept whatever the type, and may be
  /// missing from a `Hide` action.
  static Action asRead(ActionType type, std::optional<std::string> selector);

  ActionType type() const { return type_; }
  /// A CSS selector list.
  const std::optional<std::string>& selector() const { return selector_; }

  friend bool operator==(const Action&, const Action&) = default;

 private:
  Action(ActionType type, std::optional<std::string> selector);

  ActionType type_;
  std::optional<std::string> selector_;
};

}  // namespace orvane
