#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "diagnostics/graph/GraphSnapshot.h"
#include "diagnostics/picture/Picture.h"

// What a picture shows, before it is written down. Internal to the picture.

namespace Tessaril::Diagnostics {

struct DrawnModule {
  /// Its place in the snapshot.
  std::size_t index = 0;
  std::string name;
  bool startsFork = false;
  bool merges = false;
  /// Stored, but only known as somebody's neighbour: its own links are not known.
  bool recordMissing = false;
  /// What the dead entries of each list name, as far as known: as many texts as entries.
  std::vector<std::string> deadPrevious;
  std::vector<std::string> deadNext;
  /// Neighbours that the picture leaves out.
  std::size_t hiddenPrevious = 0;
  std::size_t hiddenNext = 0;
};

/// All entries in both lists that stand for one link.
struct DrawnLink {
  std::size_t from = 0;
  std::size_t to = 0;
  /// Entries for `to` in the next list of `from`, and for `from` in the previous list of `to`.
  std::size_t nextEntries = 0;
  std::size_t previousEntries = 0;
  /// False where a list is not known: nothing can be missing in it.
  bool nextListKnown = true;
  bool previousListKnown = true;
  bool withinChain = false;
  bool onMainLine = false;
  /// Part of a cycle.
  bool onCycle = false;

  bool missesNext() const { return nextListKnown && nextEntries == 0; }
  bool missesPrevious() const { return previousListKnown && previousEntries == 0; }
  bool isRepeated() const { return nextEntries > 1 || previousEntries > 1; }
};

struct DrawnChain {
  bool isMain = false;
  std::string heading;
  /// At which end of the frame's upper side the heading stands.
  bool headingAtLeft = false;
  /// Places in PictureModel::modules.
  std::vector<std::size_t> modules;
};

struct PictureModel {
  /// In the order of the snapshot.
  std::vector<DrawnModule> modules;
  /// The main chain first, the others in the order of the snapshot.
  std::vector<DrawnChain> chains;
  /// Places of those whose chain is not known.
  std::vector<std::size_t> withoutChain;
  /// By the place of the module they start from, then as its next list has them. `from` and `to`
  /// are places in PictureModel::modules.
  std::vector<DrawnLink> links;
};

/// With `shownModules` modules in the picture.
bool isDrawnInBrief(const PictureOptions& options, std::size_t shownModules);

PictureModel pictureModel(const GraphSnapshot& snapshot, const PictureOptions& options);

/// Graphviz draws links over headings, and lays a chain out on whichever side of its parent chain
/// it likes. Moves the headings of side chains to the left where the links that lead into the chain
/// come from the right; true when one has moved. `fromLeft` holds for each place how far from the
/// left the module lies.
bool moveHeadings(PictureModel& model, const std::vector<double>& fromLeft);

}  // namespace Tessaril::Diagnostics
