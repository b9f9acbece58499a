#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <libpq-fe.h>

#include "Platform/Foundation/NSError.h"

namespace orvane {

struct FreeConninfo {
  void operator()(PQconninfoOption* options) const { PQconninfoFree(options); }
};
/// Options as libpq lists them.
using ConninfoOptions = std::unique_ptr<PQconninfoOption, FreeConninfo>;

/// Empty when there is none.
std::string valueOf(const ConninfoOptions& options, std::string_view keyword);

/// What a connection string or URI of libpq says itself. An error, which does not repeat the text,
/// when libpq does not understand it, or when it would take a part of a URI's password for
/// something else: there "@" and "/" are written "%40" and "%2F".
Expected<ConninfoOptions> parsedAddress(const std::string& address);

}  // namespace orvane
