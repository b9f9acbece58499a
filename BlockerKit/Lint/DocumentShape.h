#pragma once

#include <string>

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/Lint/Check.h"

namespace orvane {

struct DocumentShape {
  DocumentKind kind = DocumentKind::Unknown;
  /// Of an unknown kind: why, in a sentence.
  std::string reason;
};

/// Tells the kind of a document from the keys of its objects.
DocumentShape documentShape(const JSONValue& root);

}  // namespace orvane
