#pragma once

#include <optional>
#include <string>

#include "Apps/Companion/HideCommand.h"
#include "Apps/Companion/InputCheck.h"

namespace orvane {

/// The text without blanks around it.
std::string trimmedSelector(const std::string& text);

std::string selectorOf(const Rule& rule);

/// Whether both are about the same sites, in whatever order they are listed.
bool isSameFilter(const std::optional<DomainFilter>& one, const std::optional<DomainFilter>& other);

/// "on every site", "on a.com, b.com" or "on every site but a.com".
std::string placesOf(const std::optional<DomainFilter>& filter);

/// The sites as a rule lists them; false, having said why, when one is no domain.
bool makeFilter(InputCheck& check, const Hidden& hidden, std::optional<DomainFilter>& filter);

/// Writes "selector", and "on" or "except", of the object that is being written.
void writeHidden(JSONWriter& writer, const Rule& rule);

}  // namespace orvane
