#pragma once

#include "Platform/CloudKit/CKRecord.h"

namespace orvane {

/// Whether the server's record has the value of every key of `localOld`, or lacks it likewise.
bool isFullDuplicate(const CKRecord& server, const CKRecord& localOld);

/// The server's record, with its change tag, in which each key of `localNew`, the record that was
/// being saved, has been decided on; `localOld` is its ancestor.
///
/// What was not changed here stays as the server has it. What was changed here is the local value
/// where the server has none or has changed it too, and stays the server's where only this machine
/// has changed it. That may look the wrong way round; other machines go by the same rule.
CKRecord mergedRecord(CKRecord server, const CKRecord& localNew, const CKRecord& localOld);

}  // namespace orvane
