#pragma once

#include <string>

#include "Platform/Foundation/NSError.h"

namespace orvane {

/// What a connection string or URI of libpq says of the server, the database and the user, for a
/// person: "the PostgreSQL server db.example, database orvane, user mia". Never a password. An
/// error, which does not repeat the text, when there is a mistake in it.
Expected<std::string> describedAddress(const std::string& address);

}  // namespace orvane
