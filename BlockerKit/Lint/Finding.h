#pragma once

#include <string>
#include <utility>
#include <vector>

namespace orvane {

enum class Severity {
  Warning,  ///< accepted, but hardly what was meant
  Error,    ///< the browser refuses the whole list because of it
};

/// One thing that is wrong with a rule.
struct Finding {
  Severity severity;
  /// The key concerned, as a path from the rule: "trigger.url-filter"; empty for the whole rule.
  std::string key;
  /// Full sentences for a person who edits the list by hand.
  std::string reason;

  friend bool operator==(const Finding&, const Finding&) = default;
};

/// Collects the findings of one rule.
class Findings {
 public:
  void error(std::string key, std::string reason) {
    add(Severity::Error, std::move(key), std::move(reason));
  }
  void warn(std::string key, std::string reason) {
    add(Severity::Warning, std::move(key), std::move(reason));
  }
  void add(Severity severity, std::string key, std::string reason) {
    found_.push_back({severity, std::move(key), std::move(reason)});
  }
  void append(Findings other) {
    for (auto& finding : other.found_) found_.push_back(std::move(finding));
  }
  std::vector<Finding> take() { return std::move(found_); }

 private:
  std::vector<Finding> found_;
};

}  // namespace orvane
