#pragma once

#include <filesystem>

#include "Linux/SQLite/SQLiteConnection.h"

namespace orvane {

/// Opens a file of keys and values, made with mode 0600 when it is missing; its folder is not made.
/// A file that is damaged, not such a file, or of a newer version is an error and stays as it is.
///
///     key(id, key, count, kind, value)   a row per key that ever had a value: how often it
///     changed,
///                                        and its value unless it has none or is a dictionary
///     entry(key, name, value)            a row per entry of a dictionary; `key` is the key's id
///
/// Values are encoded as PropertyListEncoding.h says. The doorbell, a file beside it, is written
/// after every commit and is also what processes lock while they open the file.
Expected<SQLiteConnection> openKeyValueFile(const std::filesystem::path& path,
                                            const std::filesystem::path& doorbell);

/// What a row of `key` holds.
enum class KeyKind : std::uint8_t { Absent = 0, Value = 1, Dictionary = 2 };

}  // namespace orvane
