#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "BlockerKit/Model/Package.h"
#include "BlockerKit/SyncManager/FieldDictionary.h"
#include "BlockerKit/SyncManager/RecordKind.h"
#include "Platform/CloudKit/CKRecord.h"
#include "Platform/Foundation/KeyValueDatabase.h"
#include "Platform/Foundation/LineOutput.h"

namespace orvane {

/// What may be done to the queue of local changes within one transaction.
///
/// The names of the queue's records are the identifiers of packages and rules. Under each key of
/// added records is a dictionary from names to field dictionaries, under each key of deleted ones
/// an array of names, each once, in the order of the deletions. What is there and is something else
/// reads as empty, or, as an entry of a dictionary, as absent.
///
/// One package or rule that no record can hold, because of a text that is none or a name that is
/// empty or too long, must not keep the others from being stored: it is left out, and the system
/// log says so.
class LocalChangesEdit {
 public:
  using Identifiers = std::vector<std::string>;
  using Transaction = KeyValueDatabase::Transaction;

  static std::string_view addedKey(RecordKind kind);
  static std::string_view deletedKey(RecordKind kind);

  LocalChangesEdit(Transaction& transaction, LineOutput& systemLog)
      : transaction_(transaction), systemLog_(systemLog) {}

  /// Each replaces what was added under the same identifier.
  void addPackage(const std::string& identifier, const std::string& name);
  void addRules(std::span<const Rule> rules, const std::string& packageIdentifier);

  /// Whether a rule or a package of that name was added.
  bool isAdded(const std::string& recordName);

  /// Identifiers that were not added are ignored.
  void removeAdded(const Identifiers& identifiers, RecordKind kind);

  /// Lists those at the end that are not listed.
  void markDeleted(const Identifiers& identifiers, RecordKind kind);

  /// Takes the first occurrence of each from the list, if there is a list.
  void unmarkDeleted(const Identifiers& identifiers, RecordKind kind);

  /// Takes the names from all that was added and deleted: their changes have reached the cloud, or
  /// are overtaken by those of others.
  void forget(const Identifiers& recordNames);

  // What was added may have been edited or deleted here since it was sent as `record`; then it
  // stays as it is.

  /// The cloud has it. False when it was edited.
  bool removeSent(const CKRecord& record);
  /// The cloud had it before.
  void forgetSent(const CKRecord& record);
  /// It was merged with what the cloud has.
  void replaceSent(const CKRecord& record, const FieldDictionary& fields);

  /// Replaces all that was added by these packages and their rules. Of two rules with the same
  /// identifier the later one counts. What was deleted stays.
  void replaceAdded(const std::vector<Package>& packages);

 private:
  bool isStillAsSent(const CKRecord& record);
  bool canTravel(const std::string& identifier, const FieldDictionary& fields) const;

  Transaction& transaction_;
  LineOutput& systemLog_;
};

}  // namespace orvane
