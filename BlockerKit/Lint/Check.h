#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "BlockerKit/Lint/Finding.h"
#include "BlockerKit/Lint/TextPosition.h"

namespace orvane {

/// What a file holds.
enum class DocumentKind {
  Unknown,      ///< not JSON, or nothing of the following
  List,         ///< the browser's list: an array of blockers
  RuleList,     ///< an array of rules
  Package,      ///< an object with rules
  PackageList,  ///< an array of packages
};

/// Which package and which rule a finding is about.
struct CheckPlace {
  /// Counts from 1; absent when the file has no packages or the finding is about the file.
  std::optional<std::size_t> package;
  std::string packageID;
  /// Counts from 1 within the package or the list; absent when no rule is concerned.
  std::optional<std::size_t> rule;
  std::string ruleID;
  std::string ruleName;
  /// Where the rule begins, or else the package or the error; the first character of the file when
  /// the whole file is concerned.
  TextPosition position;
};

struct CheckFinding {
  CheckPlace place;
  Finding finding;
};

struct CheckReport {
  DocumentKind kind = DocumentKind::Unknown;
  std::size_t packages = 0;
  std::size_t rules = 0;
  /// In the order of the file; what concerns the file as a whole is at the end.
  std::vector<CheckFinding> findings;

  bool hasErrors() const;
};

/// Says what is wrong with the content of a file: a list for the browser, a list of rules, a
/// package or a list of packages. Takes any bytes. Time grows linearly with the text.
CheckReport checkText(const std::string& text);

}  // namespace orvane
