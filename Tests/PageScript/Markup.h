#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace orvane::test {

/// A page as they are written, with something on it that is to go.
struct Markup {
  std::string name;
  /// The element to be picked follows the comment "pick", one that has to stay the comment "keep".
  /// {hash} stands for what is drawn by lot at every visit, {number} for what a program counted up,
  /// {more} for what other visits show there.
  std::string html;
  /// What {more} is on the second visit.
  std::string more;
  std::string selector;
  std::string contentType = "text/html; charset=utf-8";

  std::string firstVisit() const;
  std::string secondVisit() const;

  /// What a test with this page is called.
  friend std::ostream& operator<<(std::ostream& stream, const Markup& page) {
    return stream << page.name;
  }
};

std::vector<Markup> pagesAsTheyAreWritten();

}  // namespace orvane::test
