#include "diagnostics/picture/PictureModel.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>
#include <stdexcept>
#include <unordered_map>
#include <utility>

#include "diagnostics/graph/ChainNames.h"
#include "diagnostics/graph/DisplayText.h"
#include "diagnostics/graph/links/Cycles.h"
#include "diagnostics/graph/links/LinkTable.h"
#include "diagnostics/picture/DisplayNames.h"

// In four steps: which modules, which links among them, which of the links form cycles, and which
// modules make a chain.

namespace Tessaril::Diagnostics {
namespace {

using Mode = ApplyModuleInsertInfo::ApplyGraphInsertMode;

constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

ModuleSelection allOf(const GraphSnapshot& snapshot) {
  ModuleSelection modules(snapshot.modules.size());
  std::iota(modules.begin(), modules.end(), std::size_t{0});
  return modules;
}

ModuleSelection shownOf(const GraphSnapshot& snapshot, const PictureOptions& options) {
  ModuleSelection modules = options.shown ? *options.shown : allOf(snapshot);
  std::sort(modules.begin(), modules.end());
  modules.erase(std::unique(modules.begin(), modules.end()), modules.end());
  const bool isMarkOutside =
      !options.runMarks.empty() && options.runMarks.rbegin()->first >= snapshot.modules.size();
  if (isMarkOutside || (!modules.empty() && modules.back() >= snapshot.modules.size())) {
    throw std::out_of_range("A module that is to be drawn is not in the snapshot.");
  }
  return modules;
}

/// Gathers the entries of both lists into links.
class LinkReader {
 public:
  LinkReader(const GraphSnapshot& graphSnapshot, const ModuleSelection& shown)
      : snapshot(graphSnapshot), places(graphSnapshot.modules.size(), kNowhere) {
    for (std::size_t place = 0; place < shown.size(); ++place) {
      places[shown[place]] = place;
    }
  }

  void read(std::vector<DrawnModule>& modules) {
    for (DrawnModule& module : modules) {
      readNext(module);
    }
    for (DrawnModule& module : modules) {
      readPrevious(module);
    }
  }

  std::vector<DrawnLink> take() {
    std::stable_sort(links.begin(), links.end(), [](const DrawnLink& one, const DrawnLink& other) {
      return one.from < other.from;
    });
    return std::move(links);
  }

 private:
  void readNext(DrawnModule& module) {
    std::set<std::size_t> hidden;
    for (const SnapshotLink& entry : snapshot.modules[module.index].next) {
      if (!entry.module) {
        module.deadNext.push_back(entry.name);
      } else if (places.at(*entry.module) == kNowhere) {
        hidden.insert(*entry.module);
      } else {
        ++linkOf(module.index, *entry.module).nextEntries;
      }
    }
    module.hiddenNext = hidden.size();
  }

  void readPrevious(DrawnModule& module) {
    std::set<std::size_t> hidden;
    for (const SnapshotLink& entry : snapshot.modules[module.index].previous) {
      if (!entry.module) {
        module.deadPrevious.push_back(entry.name);
      } else if (places.at(*entry.module) == kNowhere) {
        hidden.insert(*entry.module);
      } else {
        ++linkOf(*entry.module, module.index).previousEntries;
      }
    }
    module.hiddenPrevious = hidden.size();
  }

  DrawnLink& linkOf(std::size_t from, std::size_t to) {
    const auto [place, isNew] = placeOfLink.emplace(std::pair(from, to), links.size());
    if (isNew) {
      links.push_back(newLink(from, to));
    }
    return links[place->second];
  }

  DrawnLink newLink(std::size_t from, std::size_t to) const {
    const SnapshotModule& first = snapshot.modules[from];
    const SnapshotModule& second = snapshot.modules[to];
    DrawnLink link;
    link.from = places[from];
    link.to = places[to];
    link.nextListKnown = hasKnownLists(snapshot, first);
    link.previousListKnown = hasKnownLists(snapshot, second);
    link.withinChain = first.insertMode && second.insertMode && first.chainId == second.chainId;
    link.onMainLine = link.withinChain && first.chainId.isNull();
    return link;
  }

  const GraphSnapshot& snapshot;
  /// By the index in the snapshot.
  std::vector<std::size_t> places;
  std::map<std::pair<std::size_t, std::size_t>, std::size_t> placeOfLink;
  std::vector<DrawnLink> links;
};

/// A cycle counts also where a part of it is not drawn.
void findCycles(const GraphSnapshot& snapshot, PictureModel& model) {
  const auto parts = cyclicParts(LinkTable(snapshot).successors());
  std::vector<std::size_t> partOf(snapshot.modules.size(), kNowhere);
  for (std::size_t part = 0; part < parts.size(); ++part) {
    for (const std::size_t module : parts[part]) {
      partOf[module] = part;
    }
  }
  for (DrawnLink& link : model.links) {
    const std::size_t from = model.modules[link.from].index;
    const std::size_t to = model.modules[link.to].index;
    link.onCycle = from == to || (partOf[from] != kNowhere && partOf[from] == partOf[to]);
  }
}

/// Where no chains are known, the line from the first module without a previous one along each
/// first next module that does not start a side chain is what comes closest to the main chain.
void findMainLineByLinks(const GraphSnapshot& snapshot, PictureModel& model) {
  std::vector<DrawnLink*> mainNext(model.modules.size(), nullptr);
  std::vector<bool> hasPrevious(model.modules.size(), false);
  for (DrawnLink& link : model.links) {
    hasPrevious[link.to] = true;
    const std::size_t target = model.modules[link.to].index;
    if (mainNext[link.from] == nullptr && !snapshot.modules[target].startOfSideChain) {
      mainNext[link.from] = &link;
    }
  }
  const auto first = std::find(hasPrevious.begin(), hasPrevious.end(), false);
  if (first == hasPrevious.end()) {
    return;
  }
  auto place = static_cast<std::size_t>(first - hasPrevious.begin());
  while (mainNext[place] != nullptr && !mainNext[place]->onMainLine) {
    mainNext[place]->onMainLine = true;
    place = mainNext[place]->to;
  }
}

/// Which modules several others lead to, or say that they are where chains meet.
std::vector<bool> mergesOf(const GraphSnapshot& snapshot) {
  Adjacency previous = neighboursOf(snapshot, &SnapshotModule::previous);
  std::vector<bool> isMerge(previous.size());
  for (std::size_t index = 0; index < previous.size(); ++index) {
    std::erase(previous[index], index);
    isMerge[index] =
        previous[index].size() > 1 || snapshot.modules[index].insertMode == Mode::MergeFork;
  }
  return isMerge;
}

std::vector<DrawnModule> modulesOf(const GraphSnapshot& snapshot, const PictureOptions& options,
                                   const ModuleSelection& shown) {
  const DisplayNames names(snapshot);
  const std::vector<bool> isMerge = mergesOf(snapshot);
  std::vector<DrawnModule> modules;
  modules.reserve(shown.size());
  for (const std::size_t index : shown) {
    const SnapshotModule& entry = snapshot.modules[index];
    DrawnModule& module = modules.emplace_back();
    module.index = index;
    module.name = isDrawnInBrief(options, shown.size()) ? names.shortName(entry.name)
                                                        : names.longName(entry.name);
    module.startsFork = entry.insertMode == Mode::StartFork;
    module.merges = isMerge[index];
    module.recordMissing = snapshot.stored && entry.recordCount == 0;
  }
  return modules;
}

class ChainReader {
 public:
  ChainReader(const GraphSnapshot& graphSnapshot, const PictureOptions& pictureOptions)
      : snapshot(graphSnapshot), options(pictureOptions), names(graphSnapshot) {}

  void read(PictureModel& model) {
    for (std::size_t place = 0; place < model.modules.size(); ++place) {
      const SnapshotModule& module = snapshot.modules[model.modules[place].index];
      if (module.insertMode) {
        chainOf(model, module.chainId).modules.push_back(place);
      } else {
        model.withoutChain.push_back(place);
      }
    }
    std::stable_partition(model.chains.begin(), model.chains.end(),
                          [](const DrawnChain& chain) { return chain.isMain; });
  }

 private:
  DrawnChain& chainOf(PictureModel& model, const Identifier& id) {
    const auto [place, isNew] = placeOfChain.emplace(id, model.chains.size());
    if (isNew) {
      const bool isMain = id.isNull();
      model.chains.push_back({isMain, headingOf(id), isMain, {}});
    }
    return model.chains[place->second];
  }

  std::string headingOf(const Identifier& id) const {
    const auto given = options.chainNames.find(id);
    const bool isGiven = given != options.chainNames.end() && !given->second.empty();
    return cleanText(isGiven ? given->second : names.nameOf(id));
  }

  const GraphSnapshot& snapshot;
  const PictureOptions& options;
  ChainNames names;
  std::unordered_map<Identifier, std::size_t> placeOfChain;
};

}  // namespace

bool isDrawnInBrief(const PictureOptions& options, std::size_t shownModules) {
  return options.detail == PictureDetail::kBrief ||
         (options.detail == PictureDetail::kAutomatic && shownModules > kMostModulesInFull);
}

PictureModel pictureModel(const GraphSnapshot& snapshot, const PictureOptions& options) {
  const ModuleSelection shown = shownOf(snapshot, options);
  PictureModel model;
  model.modules = modulesOf(snapshot, options, shown);
  LinkReader reader(snapshot, shown);
  reader.read(model.modules);
  model.links = reader.take();
  findCycles(snapshot, model);
  ChainReader(snapshot, options).read(model);
  if (model.chains.empty()) {
    findMainLineByLinks(snapshot, model);
  }
  return model;
}

bool moveHeadings(PictureModel& model, const std::vector<double>& fromLeft) {
  std::vector<std::size_t> chainOf(model.modules.size(), kNowhere);
  for (std::size_t chain = 0; chain < model.chains.size(); ++chain) {
    for (const std::size_t place : model.chains[chain].modules) {
      chainOf[place] = chain;
    }
  }
  std::vector<double> fromTheRight(model.chains.size(), 0.0);
  for (const DrawnLink& link : model.links) {
    if (const std::size_t chain = chainOf[link.to];
        chain != kNowhere && chain != chainOf[link.from]) {
      fromTheRight[chain] += fromLeft[link.from] - fromLeft[link.to];
    }
  }
  bool hasMoved = false;
  for (std::size_t chain = 0; chain < model.chains.size(); ++chain) {
    DrawnChain& drawn = model.chains[chain];
    if (!drawn.headingAtLeft && fromTheRight[chain] > 0.0) {
      drawn.headingAtLeft = hasMoved = true;
    }
  }
  return hasMoved;
}

}  // namespace Tessaril::Diagnostics
