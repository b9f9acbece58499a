#pragma once

#include "Platform/CloudKit/CKRecordID.h"

namespace orvane {

/// What becomes of the record that refers to another when that one is deleted.
enum class CKReferenceAction { none };

/// Names another record in a field of a record.
struct CKReference {
  CKRecordID recordID;
  CKReferenceAction action = CKReferenceAction::none;

  friend bool operator==(const CKReference&, const CKReference&) = default;
};

}  // namespace orvane
