#include "BlockerKit/Lint/DocumentShape.h"

namespace orvane {
namespace {

DocumentKind kindOfElement(const JSONValue& element) {
  if (element["trigger"].exists() || element["action"].exists()) return DocumentKind::List;
  if (element["content"].exists()) return DocumentKind::RuleList;
  if (element["rules"].exists()) return DocumentKind::PackageList;
  return DocumentKind::Unknown;
}

DocumentShape shapeOfObject(const JSONValue& root) {
  switch (kindOfElement(root)) {
    case DocumentKind::PackageList:
      return {DocumentKind::Package, {}};
    case DocumentKind::List:
    case DocumentKind::RuleList:
      return {DocumentKind::Unknown, "This is a single rule. Put it in an array: \"[{…}]\"."};
    default:
      break;
  }
  return {DocumentKind::Unknown,
          "This is an object without \"rules\", so it is not a package. A list for the browser is "
          "an array."};
}

DocumentShape shapeOfArray(simdjson::dom::array elements) {
  DocumentKind kind = DocumentKind::Unknown;
  for (const auto element : elements) {
    const auto other = kindOfElement(JSONValue(element));
    if (other == DocumentKind::Unknown || other == kind) continue;
    if (kind != DocumentKind::Unknown) {
      return {DocumentKind::Unknown,
              "The array holds a mixture: some elements are rules of the browser's list (with "
              "\"trigger\" and \"action\"), rules with an id (with \"content\") or packages (with "
              "\"rules\"). All of them have to be of one kind."};
    }
    kind = other;
  }
  if (kind != DocumentKind::Unknown) return {kind, {}};
  if (elements.begin() == elements.end()) return {DocumentKind::List, {}};
  return {
      DocumentKind::Unknown,
      "No element of the array is a rule (with \"trigger\" and \"action\", or with \"content\") "
      "or a package (with \"rules\")."};
}

}  // namespace

DocumentShape documentShape(const JSONValue& root) {
  if (root.object()) return shapeOfObject(root);
  if (const auto elements = root.array()) return shapeOfArray(*elements);
  return {DocumentKind::Unknown,
          "The file has to hold an array of rules, an array of packages or a package."};
}

}  // namespace orvane
