#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "diagnostics/archive/ArchiveComparison.h"
#include "diagnostics/archive/ArchiveInspector.h"

namespace Tessaril::Diagnostics {

/// The archive for people: what is wrong with it first, then classes, objects, modules, links, and
/// the links that restoring would drop. `title` is the first line; `withBlocks` adds every block
/// with its bytes. Names from the archive are made fit for a terminal.
std::string textOf(const InspectedArchive& archive, const std::string& title, bool withBlocks);
/// The same facts; docs/diagnostics.md lists the keys. The blocks are most of what is told of a
/// large archive. Bytes of names that are no UTF-8 are for dumpJson().
nlohmann::ordered_json toJson(const InspectedArchive& archive, bool withBlocks = true);

/// One line for each difference, "-" before what only the first archive has, "+" before what only
/// the second one has, "~" before what has changed. Empty for archives without a difference.
std::string textOf(const ArchiveComparison& comparison);
nlohmann::ordered_json toJson(const ArchiveComparison& comparison);

/// The text of a JSON value, indented, with a line break at its end. What is no UTF-8 in a name is
/// replaced by U+FFFD.
std::string dumpJson(const nlohmann::ordered_json& json);

}  // namespace Tessaril::Diagnostics
