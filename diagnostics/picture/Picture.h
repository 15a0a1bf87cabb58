#pragma once

#include <map>
#include <optional>
#include <string>

#include "diagnostics/graph/GraphSnapshot.h"
#include "diagnostics/picture/Graphviz.h"
#include "diagnostics/picture/ModuleSelection.h"
#include "diagnostics/picture/RunMarks.h"

namespace Tessaril::Diagnostics {

/// How much of each module is written into a picture.
enum class PictureDetail {
  /// Full up to kMostModulesInFull modules, brief above.
  kAutomatic,
  /// The name, every flag in words, the outcome of the run with its reason.
  kFull,
  /// A short name, a letter for each flag, the duration.
  kBrief,
};

inline constexpr std::size_t kMostModulesInFull = 60;

struct PictureOptions {
  /// Stands above the picture; may be empty.
  std::string title;
  /// Only these modules are drawn, and how many of their neighbours are left out. Empty: all.
  std::optional<ModuleSelection> shown;
  RunMarks runMarks;
  /// What the headings say of these chains instead of "main chain" and "chain 1"; an empty text
  /// says nothing else.
  std::map<Identifier, std::string> chainNames;
  PictureDetail detail = PictureDetail::kAutomatic;
  /// A legend of what occurs in the picture, and of nothing else.
  bool legend = true;
};

/// The graph as a text in Graphviz's DOT language, UTF-8; the same text for the same snapshot and
/// options.
///
/// Each chain is a cluster under its heading, the main chain a straight and heavy line. A bar at
/// the left of a module says that it starts a side chain, bars at both sides that it starts a fork,
/// a bar on top that chains meet there. Blue modules are consistent, orange ones with a thick
/// outline are not; an inactive module has a broken outline; what else is out of the ordinary
/// stands on the module as a word or, in brief, as a letter. A one-sided link is broken and says
/// which list has it; a dead entry leads to a cross; links on a cycle are double.
///
/// Names that lie in one folder are written without it. The full facts of a module are in its
/// tooltip. Modules of which only a record is known are drawn without chains.
///
/// Throws std::out_of_range for a selected module, a run mark or an entry that is not in the
/// snapshot.
/// O(n log n) in modules and entries.
std::string dotText(const GraphSnapshot& snapshot, const PictureOptions& options = {});

/// The same as SVG, laid out by Graphviz; see svgOfDot(). The headings of side chains stand where
/// no link crosses them, which takes a second layout for some graphs.
std::string svgText(const GraphSnapshot& snapshot, const PictureOptions& options = {});

}  // namespace Tessaril::Diagnostics
