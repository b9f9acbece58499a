#pragma once

#include <optional>

#include "Linux/PostgreSQL/PostgreSQLConnection.h"
#include "Platform/CloudKit/CloudBackend.h"

namespace orvane {

// The statements of the key-value store, and what the last of them gives.

CKResult<PostgreSQLConnection::Statements> exchangeStatements(
    const CloudKeyValueChanges& changes, const std::optional<CKServerChangeToken>& token);

CKResult<CloudKeyValues> exchangedKeyValues(const PostgreSQLResult& result);

}  // namespace orvane
