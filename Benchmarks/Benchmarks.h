#pragma once

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
/// A cloud in a file with 150,000 rule records, saved in batches of 400 and fetched in pages of
/// 2,000, beside the same rows in a bare table.
void registerCloud();

/// What the program does when it is started with this option and the path of user defaults: until
/// it is killed it sets "pong" whenever "ping" changes.
inline constexpr const char* echoDefaultsOption = "--echo-defaults";
int echoDefaults(const std::string& path);

}  // namespace orvane::benchmarks
