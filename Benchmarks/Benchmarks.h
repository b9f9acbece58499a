#pragma once

#include <cstddef>
#include <string>

#include "Benchmarks/Scenario.h"

namespace orvane::benchmarks {

// Each registers its benchmarks for one scenario, which outlives them.

/// The rebuild of the list, beside reading the same package bytes and writing the same list bytes.
void registerRebuild(const Scenario& scenario);

/// What a change costs from the signal to the list on disk, with the catalogue in memory, beside
/// writing the same list bytes.
void registerChange(const Scenario& scenario);

/// The edits of the list as text, beside a copy of the list file.
void registerEdits(const Scenario& scenario);

/// The rebuild of the list, beside the browser's own compilation of it.
void registerCompile(const Scenario& scenario);

/// Opening the popover until its titles are set, with 10,000 sites on the whitelist, beside reading
/// the same bytes; and a click on the whitelist button until the page is told to reload, beside the
/// browser's own compilation of the list. The fixed delay in between is the counter "delay_s" and
/// costs no time here.
void registerPopover();

/// Shared user defaults, beside the database that they are kept in and beside a pipe.
void registerDefaults();

/// Changes of a queue in which 150,000 rules wait for the cloud, beside the same in an empty one.
void registerQueue();

// That many rule records, saved in batches of 400, saved again, and fetched in pages of 2,000.

/// In a cloud in a file, beside the same rows in a bare table.
void registerCloud(std::size_t recordCount);

/// In a cloud on a server of its own, whose files are in memory and not synchronised, beside the
/// same rows in an equal table of the same server: written by an INSERT of many rows for each batch
/// and by COPY, read by a SELECT for each page and by COPY. Records per second, and what the client
/// uses of memory. First through a socket file, then encrypted through a network with 20 ms from a
/// question to its answer.
void registerPostgreSQL(std::size_t recordCount);

/// The first sync of that many rules of the user's own: sending them to an empty cloud, and
/// receiving them on a second machine, beside the same number of records saved and fetched without
/// a machine.
void registerSync(std::size_t ruleCount);

/// The fetch of that many deleted rules and their package, which comes after them or before.
void registerDeletions(std::size_t ruleCount);

/// The first sync of a machine that has that many rules which the cloud has already.
void registerRestoredSync(std::size_t ruleCount);

/// A click on the whitelist button of one machine, until the browser of another one enforces it:
/// two companions in home folders of their own, one server. The counters are seconds: "list_s"
/// until the rule is in the other machine's list, "cloud_s" of a record that is saved by one
/// connection and fetched by another as soon as that is told, and "compile_s" of the browser's own
/// compilation of the list.
void registerTwoMachines();

/// What the program does when it is started with this option and the path of user defaults: until
/// it is killed it sets "pong" whenever "ping" changes.
inline constexpr const char* echoDefaultsOption = "--echo-defaults";
int echoDefaults(const std::string& path);

}  // namespace orvane::benchmarks
