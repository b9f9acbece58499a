#include "Linux/PostgreSQL/PostgreSQLSchema.h"

#include <utility>

#include <fmt/format.h>

#include "Linux/PostgreSQL/PostgreSQLFailure.h"

namespace orvane {
namespace {

constexpr int schemaVersion = 1;

/// The server cuts the name of a role short, and not the name of an owner.
constexpr std::size_t longestName = 63;

/// Two who prepare the same database at once do it one after the other.
constexpr const char* lockPreparation = "SELECT pg_advisory_xact_lock(1332903521)";

/// Roles belong to all databases of the server.
constexpr const char* makeGroup = R"sql(
DO $$ BEGIN
  CREATE ROLE orvane_user NOLOGIN;
EXCEPTION WHEN duplicate_object OR unique_violation THEN
  NULL;
END $$)sql";

/// An error when the version is another one; only a newer one can be, as long as this is the first.
constexpr const char* makeVersion = R"sql(
DO $$ BEGIN
  CREATE SCHEMA IF NOT EXISTS orvane;
  CREATE TABLE IF NOT EXISTS orvane.version (version integer NOT NULL);
  INSERT INTO orvane.version SELECT 1 WHERE NOT EXISTS (SELECT FROM orvane.version);
  IF EXISTS (SELECT FROM orvane.version WHERE version <> 1) THEN
    RAISE 'The database was prepared by a newer version of this program.'
      USING ERRCODE = 'invalid_schema_name';
  END IF;
END $$)sql";

constexpr const char* makeTables = R"sql(
DO $$ BEGIN
  CREATE TABLE IF NOT EXISTS orvane.accounts (
    owner text COLLATE "C" PRIMARY KEY,
    channel text NOT NULL DEFAULT 'orvane_' || replace(gen_random_uuid()::text, '-', ''),
    epoch text NOT NULL DEFAULT left(replace(gen_random_uuid()::text, '-', ''), 12),
    seq bigint NOT NULL DEFAULT 0,
    key_count bigint NOT NULL DEFAULT 0 CHECK (key_count <= 1024),
    byte_count bigint NOT NULL DEFAULT 0 CHECK (byte_count <= 1000000));

  CREATE TABLE IF NOT EXISTS orvane.zones (
    id bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
    owner text COLLATE "C" NOT NULL DEFAULT current_user,
    zone text COLLATE "C" NOT NULL,
    epoch text NOT NULL DEFAULT left(replace(gen_random_uuid()::text, '-', ''), 12),
    seq bigint NOT NULL DEFAULT 0,
    subscription text,
    UNIQUE (owner, zone),
    UNIQUE (id, owner));

  -- With the owner in the key, nobody can put a row into another's zone.
  CREATE TABLE IF NOT EXISTS orvane.records (
    zone_id bigint NOT NULL,
    owner text COLLATE "C" NOT NULL DEFAULT current_user,
    name text COLLATE "C" NOT NULL,
    type text NOT NULL,
    tag bigint NOT NULL,
    deleted boolean NOT NULL DEFAULT false,
    fields jsonb NOT NULL,
    device text NOT NULL,
    modified timestamptz NOT NULL DEFAULT now(),
    PRIMARY KEY (zone_id, name),
    UNIQUE (zone_id, tag),
    FOREIGN KEY (zone_id, owner) REFERENCES orvane.zones (id, owner) ON DELETE CASCADE);

  CREATE TABLE IF NOT EXISTS orvane.key_values (
    owner text COLLATE "C" NOT NULL DEFAULT current_user,
    key text COLLATE "C" NOT NULL,
    value text,
    seq bigint NOT NULL,
    PRIMARY KEY (owner, key));

  CREATE TABLE IF NOT EXISTS orvane.reports (
    id text PRIMARY KEY,
    owner text COLLATE "C" NOT NULL DEFAULT current_user,
    type text NOT NULL,
    fields jsonb NOT NULL,
    device text NOT NULL,
    received timestamptz NOT NULL DEFAULT now());
END $$)sql";

/// A session's setting would be no protection: a user who speaks SQL sets it.
constexpr const char* protectRows = R"sql(
DO $$ DECLARE
  name text;
BEGIN
  FOREACH name IN ARRAY ARRAY['accounts', 'zones', 'records', 'key_values', 'reports'] LOOP
    EXECUTE format('ALTER TABLE orvane.%I ENABLE ROW LEVEL SECURITY', name);
    EXECUTE format('DROP POLICY IF EXISTS own_rows ON orvane.%I', name);
    EXECUTE format('CREATE POLICY own_rows ON orvane.%I USING (owner = current_user) '
                   'WITH CHECK (owner = current_user)', name);
  END LOOP;
  EXECUTE format('REVOKE TEMPORARY ON DATABASE %I FROM PUBLIC', current_database());
  REVOKE ALL ON SCHEMA public FROM PUBLIC;
END $$)sql";

/// The rows of a deleted zone go with it, whoever may delete them.
constexpr const char* grantRights = R"sql(
DO $$ BEGIN
  GRANT USAGE ON SCHEMA orvane TO orvane_user;
  GRANT SELECT ON orvane.version TO orvane_user;
  GRANT SELECT, UPDATE (seq, key_count, byte_count) ON orvane.accounts TO orvane_user;
  GRANT SELECT, INSERT (zone), UPDATE (seq, subscription), DELETE ON orvane.zones TO orvane_user;
  GRANT SELECT, INSERT, UPDATE ON orvane.records, orvane.key_values TO orvane_user;
  GRANT INSERT (id, type, fields, device) ON orvane.reports TO orvane_user;
END $$)sql";

constexpr const char* findAccount =
    "SELECT version.version, accounts.channel FROM orvane.version "
    "LEFT JOIN orvane.accounts ON accounts.owner = current_user";

/// A text as a statement holds it.
std::string literal(std::string_view text) {
  std::string quoted = "E'";
  for (const char character : text) {
    if (character == '\'' || character == '\\') quoted.push_back('\\');
    quoted.push_back(character);
  }
  return quoted + '\'';
}

PostgreSQLStatement makeRole(const std::string& role) {
  return {fmt::format("DO {} ", literal(fmt::format("BEGIN CREATE ROLE {} LOGIN; EXCEPTION WHEN "
                                                    "duplicate_object OR unique_violation THEN "
                                                    "NULL; END",
                                                    role))),
          {}};
}

}  // namespace

CKResult<void> installCloud(PostgreSQLConnection& connection, const CloudCall& call) {
  const auto done = connection.transact({{lockPreparation, {}},
                                         {makeGroup, {}},
                                         {makeVersion, {}},
                                         {makeTables, {}},
                                         {protectRows, {}},
                                         {grantRights, {}}},
                                        call);
  if (!done) return tl::unexpected(done.error());
  return {};
}

CKResult<void> addCloudUser(PostgreSQLConnection& connection, const std::string& name,
                            const std::optional<std::string>& password, const CloudCall& call) {
  if (name.empty() || name.size() > longestName) {
    return tl::unexpected(cloudError(
        {CKErrorCode::invalidArguments},
        fmt::format("The name of a user of the server has at least 1 and at most {} bytes.",
                    longestName)));
  }
  const auto role = connection.quoted(name);
  PostgreSQLConnection::Statements statements{makeRole(role),
                                              {fmt::format("GRANT orvane_user TO {}", role), {}}};
  if (password) {
    auto secret = connection.encrypted(name, *password);
    if (!secret) return tl::unexpected(std::move(secret).error());
    statements.push_back(
        {fmt::format("ALTER ROLE {} LOGIN PASSWORD {}", role, literal(*secret)), {}});
  }
  statements.push_back({"INSERT INTO orvane.accounts (owner) VALUES ($1) ON CONFLICT DO NOTHING",
                        {PostgreSQLValue::text(name)}});
  const auto done = connection.transact(statements, call);
  if (!done) return tl::unexpected(done.error());
  return {};
}

CKResult<std::string> accountChannel(PostgreSQLConnection& connection, const CloudCall& call) {
  const auto results = connection.transact({{findAccount, {}}}, call);
  if (!results) return tl::unexpected(results.error());
  const auto& found = results->front();
  if (found.rows() != 1 || found.integer(0, 0) != schemaVersion) {
    return tl::unexpected(
        cloudError({CKErrorCode::badContainer},
                   "The database was prepared for another version of this program."));
  }
  if (found.isNull(0, 1)) {
    return tl::unexpected(
        cloudError({CKErrorCode::notAuthenticated}, "The user has no account in this database."));
  }
  return std::string(found.text(0, 1));
}

}  // namespace orvane
