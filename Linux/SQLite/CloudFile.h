#pragma once

#include <filesystem>

#include "Linux/SQLite/SQLiteConnection.h"

namespace orvane {

/// Opens a cloud in a file, made when it is missing; its folder is not made. A file that is
/// damaged, not such a file, or of a newer version is an error and stays as it is.
///
///     zone(id, name, first, last)          the number of its last change, and the one it began at
///     record(zone, name, type, tag, fields)
///                                          `tag` is the number of its last change, `fields` an
///                                          object in JSON, absent once it is deleted
///     subscription(zone, id, since)        `since` is the last change before it was saved
///     key_value(key, tag, value)           of the user's key-value store: the value in JSON,
///                                          absent once it is removed
///     key_value_store(first, last)         one row, as of a zone
///     public_record(name, type, fields)
///
/// Every zone and every key-value store begins at a random number, so that a tag or a token tells
/// by itself that it is not of this one. What has been committed is on the disk.
Expected<SQLiteConnection> openCloudFile(const std::filesystem::path& path, int busyTimeout);

/// The file that is written after every commit, "NAME.doorbell" for "NAME.sqlite".
std::filesystem::path doorbellOf(const std::filesystem::path& path);

}  // namespace orvane
