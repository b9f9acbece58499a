#pragma once

#include <optional>
#include <string>

#include "Linux/PostgreSQL/PostgreSQLConnection.h"

namespace orvane {

/// Prepares the database that the connection is to, so that it can be a cloud. What is there
/// already stays; a database of a newer version of this program is `badContainer`.
///
///     orvane.version(version)
///     orvane.accounts(owner, channel, epoch, seq, key_count, byte_count)
///     orvane.zones(id, owner, zone, epoch, seq, subscription)
///     orvane.records(zone_id, owner, name, type, tag, deleted, fields, device, modified)
///     orvane.key_values(owner, key, value, seq)
///     orvane.reports(id, owner, type, fields, device, received)
///
/// An owner is a login role, and sees and changes rows of its own only; it adds reports and reads
/// none. A `seq` counts the changes of its zone, or of the key-value store, and whoever changes
/// something holds the lock of that row until the change is committed: so the changes become
/// visible in the order of their numbers. A record's `tag` is the zone's number at its last change.
/// A deleted record stays as a row, and so does a removed key. An epoch tells a zone from an
/// earlier one of the same name. The channel is what is notified when something of the owner's has
/// changed; since everybody may listen, its name is random.
///
/// The connection's user must be allowed to make roles, and must own the database.
CKResult<void> installCloud(PostgreSQLConnection& connection, const CloudCall& call);

/// Gives a role an account, and makes the role when it is missing. A password is set when there is
/// one; without, it depends on the server's own settings how the user is known. A name that the
/// server cannot keep whole is `invalidArguments`.
CKResult<void> addCloudUser(PostgreSQLConnection& connection, const std::string& name,
                            const std::optional<std::string>& password, const CloudCall& call);

/// The channel of the connection's user. `notAuthenticated` when the user has no account, and
/// `badContainer` when the database has not been prepared for this version.
CKResult<std::string> accountChannel(PostgreSQLConnection& connection, const CloudCall& call);

}  // namespace orvane
