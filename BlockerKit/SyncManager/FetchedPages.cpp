#include "BlockerKit/SyncManager/FetchedPages.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <iterator>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "Platform/CloudKit/RecordFieldsJSON.h"

namespace orvane {
namespace {

using Array = PropertyListValue::Array;
using Dictionary = PropertyListValue::Dictionary;

/// Behind the name of a page in that of a piece of it.
constexpr char pieceMark = '/';

constexpr const char* changedKey = "changed";
constexpr const char* deletedKey = "deleted";
constexpr const char* typeKey = "type";
constexpr const char* nameKey = "name";
constexpr const char* fieldsKey = "fields";

const std::string* textUnder(const Dictionary& dictionary, const std::string& key) {
  const auto found = dictionary.find(key);
  return found == dictionary.end() ? nullptr : found->second.as<std::string>();
}

const Array& arrayUnder(const Dictionary& dictionary, const std::string& key) {
  static const Array empty;
  const auto found = dictionary.find(key);
  const auto* array = found == dictionary.end() ? nullptr : found->second.as<Array>();
  return array == nullptr ? empty : *array;
}

std::optional<CKRecord> recordOf(const PropertyListValue& value, const CKRecordZoneID& zoneID) {
  const auto* record = value.as<Dictionary>();
  if (record == nullptr) return std::nullopt;
  const auto* type = textUnder(*record, typeKey);
  const auto* name = textUnder(*record, nameKey);
  const auto* fields = textUnder(*record, fieldsKey);
  if (type == nullptr || name == nullptr || fields == nullptr) return std::nullopt;
  auto values = recordFieldsFromJSON(*fields);
  if (!values) return std::nullopt;
  return CKRecord(*type, {*name, zoneID}, "", *std::move(values));
}

FetchPass passOf(const Dictionary& page, const CKRecordZoneID& zoneID) {
  FetchPass pass;
  for (const auto& value : arrayUnder(page, changedKey)) {
    if (auto record = recordOf(value, zoneID)) pass.changed.push_back(*std::move(record));
  }
  for (const auto& value : arrayUnder(page, deletedKey)) {
    if (const auto* name = value.as<std::string>()) pass.deleted.push_back(*name);
  }
  return pass;
}

void appendTo(FetchPass& pass, FetchPass piece) {
  std::ranges::move(piece.changed, std::back_inserter(pass.changed));
  std::ranges::move(piece.deleted, std::back_inserter(pass.deleted));
}

std::string_view pageOf(std::string_view nameOfPiece) {
  return nameOfPiece.substr(0, nameOfPiece.find(pieceMark));
}

PropertyListValue valueOf(const CKRecord& record) {
  // What the cloud has given can be written; it has come through the same text.
  return Dictionary{{typeKey, record.recordType()},
                    {nameKey, record.recordID().recordName},
                    {fieldsKey, recordFieldsToJSON(record.fields()).value_or("{}")}};
}

/// Cuts a page into pieces, which are named in their order. A database compares the names of large
/// entries with the one that it looks for by reading all of the entry: with a whole page in one, a
/// write of anything else took as long as a hundred.
class PieceWriter {
 public:
  PieceWriter(KeyValueDatabase::Transaction& transaction, const std::string& page)
      : transaction_(transaction), page_(page) {}

  void add(const char* list, PropertyListValue item) {
    constexpr std::size_t mostItems = 16;
    lists_[list].push_back(std::move(item));
    if (++itemCount_ % mostItems == 0) finish();
  }

  void finish() {
    if (lists_.empty()) return;
    Dictionary piece;
    for (auto& [list, items] : lists_) piece.emplace(list, std::move(items));
    lists_.clear();
    const auto name = fmt::format("{}{}{:06}", page_, pieceMark, ++pieceCount_);
    transaction_.setEntry(FetchedPages::key, name, std::move(piece));
  }

 private:
  KeyValueDatabase::Transaction& transaction_;
  const std::string& page_;
  std::map<std::string, Array> lists_;
  std::size_t itemCount_ = 0;
  std::size_t pieceCount_ = 0;
};

}  // namespace

std::vector<FetchedPages::Page> FetchedPages::stored(const CKRecordZoneID& zoneID) {
  const auto value = defaults_.object(key);
  const auto* dictionary = value ? value->as<Dictionary>() : nullptr;
  if (dictionary == nullptr) return {};
  std::vector<Page> pages;
  for (const auto& [name, piece] : *dictionary) {
    std::from_chars(name.data(), name.data() + name.size(), count_);
    const auto page = pageOf(name);
    if (pages.empty() || pages.back().name != page) pages.push_back({std::string(page), {}});
    const auto* content = piece.as<Dictionary>();
    if (content != nullptr) appendTo(pages.back().pass, passOf(*content, zoneID));
  }
  return pages;
}

std::string FetchedPages::nextName() { return fmt::format("{:020}", ++count_); }

void FetchedPages::store(KeyValueDatabase::Transaction& transaction, const std::string& name,
                         const FetchPass& pass) {
  PieceWriter pieces(transaction, name);
  for (const auto& record : pass.changed) pieces.add(changedKey, valueOf(record));
  for (const auto& deleted : pass.deleted) pieces.add(deletedKey, deleted);
  pieces.finish();
}

bool FetchedPages::remove(const std::vector<std::string>& names) {
  if (names.empty()) return true;
  const std::set<std::string_view> pages(names.begin(), names.end());
  const auto removed = defaults_.transact([&](KeyValueDatabase::Transaction& transaction) {
    const auto pieces = transaction.entries(key);
    for (std::size_t index = 0; index < pieces->count(); ++index) {
      const auto name = pieces->name(index);
      if (pages.contains(pageOf(name))) transaction.setEntry(key, name, std::nullopt);
    }
  });
  return removed.has_value();
}

}  // namespace orvane
