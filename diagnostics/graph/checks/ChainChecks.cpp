#include "diagnostics/graph/checks/ChainChecks.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "diagnostics/graph/ChainNames.h"
#include "diagnostics/graph/checks/Wording.h"
#include "diagnostics/graph/links/LinkTable.h"

// What is an error of the application here, and what an edit may leave on purpose:
//
// - insertBefore() moves the start-of-side-chain flag to the new first module, but no insert mode:
//   the old first module stays in the mode of a start within its chain.
// - remove() hands the flag of a start on to what followed it, in whatever mode that is;
//   removeSubGraph() does not, and leaves a chain without a marked start.
// - addFork() leaves the flag of a side chain that becomes a fork; removeFork() makes a fork that
//   was never flagged a side chain without the flag. A fork may carry it or not.
// - replace() takes the flag along, but no insert information; moveStartOfSubChain() neither.
//
// None of these is more than a remark, unless an operation goes wrong with it: the way to the end
// of the graph avoids flagged modules, and the level of a chain is found through the chain ids.

namespace Tessaril::Diagnostics {
namespace {

using InsertInfo = ApplyModuleInsertInfo;

using ChainSet = std::unordered_set<Identifier>;

ChainSet setOf(const std::vector<Identifier>& chains) { return {chains.begin(), chains.end()}; }

std::vector<Identifier> distinct(const std::vector<Identifier>& chains) {
  ChainSet seen;
  std::vector<Identifier> result;
  for (const Identifier& chain : chains) {
    if (seen.insert(chain).second) {
      result.push_back(chain);
    }
  }
  return result;
}

bool contains(const std::vector<Identifier>& chains, const Identifier& chain) {
  return std::find(chains.begin(), chains.end(), chain) != chains.end();
}

/// A module with what the checks ask of its surroundings.
struct Place {
  std::size_t index = 0;
  const SnapshotModule* module = nullptr;
  /// Each once, without the module itself.
  std::vector<std::size_t> previous;
  /// The chains of the previous modules, each once, in their order.
  std::vector<Identifier> previousChains;
  /// The first previous module of the same chain.
  std::optional<std::size_t> previousInChain;

  bool isOnMainChain() const { return module->chainId.isNull(); }
  bool isFirstOfSideChain() const { return !isOnMainChain() && !previousInChain; }
  bool isIn(InsertInfo::ApplyGraphInsertMode mode) const { return module->insertMode == mode; }
  bool isInStartMode() const {
    return isIn(InsertInfo::StartSideChain) || isIn(InsertInfo::StartFork);
  }
};

class ChainChecker {
 public:
  ChainChecker(const GraphSnapshot& graph, std::vector<GraphFinding>& found)
      : snapshot(graph), names(graph), findings(found) {
    for (const SnapshotModule& module : graph.modules) {
      if (module.insertMode && module.exists) {
        knownChains.insert(module.chainId);
      }
    }
  }

  void check() {
    collectPlaces();
    collectReturns();
    for (const Place& place : places) {
      checkInsertMode(place);
      checkStartFlag(place);
      checkStartMode(place);
      checkParent(place);
      checkFork(place);
      checkMergeMode(place);
      checkMergeChains(place);
    }
  }

 private:
  void collectPlaces() {
    Adjacency previousModules = neighboursOf(snapshot, &SnapshotModule::previous);
    for (std::size_t index = 0; index < snapshot.modules.size(); ++index) {
      const SnapshotModule& module = snapshot.modules[index];
      if (!hasKnownLists(snapshot, module)) {
        continue;
      }
      Place place{index, &module, std::move(previousModules[index]), {}, {}};
      std::erase(place.previous, index);
      if (!module.insertMode) {
        checkFlagOfRoot(place);
      } else if (addPrevious(place)) {
        places.push_back(std::move(place));
      }
    }
  }

  /// False when the chain of a previous module is not known.
  bool addPrevious(Place& place) const {
    for (const std::size_t index : place.previous) {
      const SnapshotModule& previous = snapshot.modules[index];
      if (!previous.insertMode) {
        return false;
      }
      if (!place.previousInChain && previous.chainId == place.module->chainId) {
        place.previousInChain = index;
      }
      place.previousChains.push_back(previous.chainId);
    }
    place.previousChains = distinct(place.previousChains);
    return true;
  }

  /// A chain leads back where it leads to a module of another chain that is not that chain's first.
  void collectReturns() {
    for (const Place& place : places) {
      if (place.isFirstOfSideChain()) {
        continue;
      }
      for (const std::size_t previous : place.previous) {
        const Identifier& chain = snapshot.modules[previous].chainId;
        if (chain != place.module->chainId && !chain.isNull()) {
          returns.emplace(chain, std::pair(previous, place.index));
        }
      }
    }
  }

  std::string chainText(const Identifier& chain) const {
    return (chain.isNull() ? "the " : "") + names.nameOf(chain);
  }

  std::string chainsText(const std::vector<Identifier>& chains) const {
    std::vector<std::string> texts;
    texts.reserve(chains.size());
    for (const Identifier& chain : chains) {
      texts.push_back(chainText(chain));
    }
    return texts.empty() ? "no chain" : listed(texts);
  }

  void add(FindingKind kind, FindingSeverity severity, const Place& place, std::string text,
           std::vector<Identifier> chains = {}, std::vector<std::size_t> others = {}) {
    others.insert(others.begin(), place.index);
    findings.push_back({kind, severity, std::move(others), std::move(chains),
                        nameOf(snapshot, place.index) + " " + std::move(text)});
  }

  void checkFlagOfRoot(const Place& place) {
    if (place.module->startOfSideChain && place.previous.empty()) {
      add(FindingKind::StartFlag, FindingSeverity::Warning, place,
          "is marked as the start of a side chain, but follows nothing.");
    }
  }

  void checkInsertMode(const Place& place) {
    if (*place.module->insertMode < InsertInfo::AddToChain ||
        *place.module->insertMode > InsertInfo::MergeFork) {
      add(FindingKind::InsertMode, FindingSeverity::Warning, place,
          "is in an insert mode that does not exist (" +
              std::to_string(static_cast<int>(*place.module->insertMode)) + ").");
    }
  }

  void checkStartFlag(const Place& place) {
    if (!place.module->startOfSideChain) {
      checkMissingFlag(place);
    } else if (place.isOnMainChain()) {
      checkFlagOnMainChain(place);
    } else if (place.previousInChain) {
      add(FindingKind::StartFlag, FindingSeverity::Warning, place,
          "is marked as the start of a side chain, but " + chainText(place.module->chainId) +
              " goes on before it, at " + nameOf(snapshot, *place.previousInChain) + ".",
          {place.module->chainId}, {*place.previousInChain});
    } else if (!place.isInStartMode() && !place.previous.empty()) {
      add(FindingKind::StartFlag, FindingSeverity::Remark, place,
          "is marked as the start of " + chainText(place.module->chainId) +
              ", but its insert mode is that of " +
              (place.isIn(InsertInfo::MergeFork) ? "a merge" : "a module added to a chain") + ".",
          {place.module->chainId});
    }
  }

  void checkFlagOnMainChain(const Place& place) {
    if (place.previous.empty()) {
      checkFlagOfRoot(place);
      return;
    }
    add(FindingKind::StartFlag, FindingSeverity::Warning, place,
        "is marked as the start of a side chain, but is on the main chain; the way to the end of "
        "the graph passes it by.");
  }

  void checkMissingFlag(const Place& place) {
    if (place.isFirstOfSideChain() && !place.isIn(InsertInfo::StartFork) &&
        !place.previous.empty()) {
      add(FindingKind::StartFlag, FindingSeverity::Remark, place,
          "is the first module of " + chainText(place.module->chainId) +
              ", but is not marked as the start of a side chain; the way to the end of the graph "
              "may lead into it.",
          {place.module->chainId});
    }
  }

  void checkStartMode(const Place& place) {
    if (!place.isInStartMode()) {
      return;
    }
    const std::string mode = place.isIn(InsertInfo::StartFork) ? "a fork" : "a side chain";
    if (place.isOnMainChain()) {
      add(FindingKind::StartMode, FindingSeverity::Warning, place,
          "has the insert mode of the start of " + mode + ", but is on the main chain.");
    } else if (place.previousInChain) {
      add(FindingKind::StartMode, FindingSeverity::Remark, place,
          "has the insert mode of the start of " + mode + ", but " +
              chainText(place.module->chainId) + " goes on before it, at " +
              nameOf(snapshot, *place.previousInChain) + ".",
          {place.module->chainId}, {*place.previousInChain});
    }
  }

  void checkParent(const Place& place) {
    if (!place.isFirstOfSideChain()) {
      return;
    }
    const Identifier& chain = place.module->chainId;
    const Identifier& parent = place.module->startChainId;
    if (place.previous.empty()) {
      add(FindingKind::ParentChain, FindingSeverity::Warning, place,
          "is the first module of " + chainText(chain) +
              ", but follows nothing; the chain branches off no other.",
          {chain});
    } else if (place.isInStartMode() && parent == chain) {
      add(FindingKind::ParentChain, FindingSeverity::Warning, place,
          "starts " + chainText(chain) + " and names it as the chain that it branches off as well.",
          {chain});
    } else if (namesParent(place) && !contains(place.previousChains, parent)) {
      add(FindingKind::ParentChain, FindingSeverity::Warning, place, missingParentText(place),
          {chain, parent});
    }
  }

  /// The start chain id of a merge is its first merge chain id. Elsewhere it may be left over from
  /// another mode, but the level of the chain is found through it all the same; the main chain is
  /// what it says when it says nothing.
  static bool namesParent(const Place& place) {
    return place.isInStartMode() ||
           (place.isIn(InsertInfo::AddToChain) && !place.module->startChainId.isNull());
  }

  std::string missingParentText(const Place& place) const {
    const Identifier& parent = place.module->startChainId;
    const std::string parentText = chainText(parent);
    const bool exists = knownChains.contains(parent);
    return "is the first module of " + chainText(place.module->chainId) + " and names " +
           parentText + " as the chain that it branches off, but " +
           (exists ? "follows " + chainsText(place.previousChains) + "."
                   : "there is no module of " + parentText + ".");
  }

  void checkFork(const Place& place) {
    if (!place.isFirstOfSideChain() || !place.isInStartMode()) {
      return;
    }
    const Identifier& chain = place.module->chainId;
    const auto way = returns.find(chain);
    if (place.isIn(InsertInfo::StartFork) && way == returns.end()) {
      add(FindingKind::Fork, FindingSeverity::Remark, place,
          "starts a fork, but " + chainText(chain) + " leads back into no other chain.", {chain});
    } else if (place.isIn(InsertInfo::StartSideChain) && way != returns.end()) {
      const auto& [from, to] = way->second;
      add(FindingKind::Fork, FindingSeverity::Remark, place,
          "starts a side chain, but " + chainText(chain) + " leads back into " +
              chainText(snapshot.modules[to].chainId) + " (" + nameOf(snapshot, from) + " -> " +
              nameOf(snapshot, to) + "), which makes it a fork.",
          {chain, snapshot.modules[to].chainId}, {from, to});
    }
  }

  void checkMergeMode(const Place& place) {
    const bool isMerge = place.isIn(InsertInfo::MergeFork);
    if (isMerge && place.previous.size() < 2) {
      add(FindingKind::MergeMode, FindingSeverity::Warning, place,
          "has the insert mode of a merge, but follows " +
              (place.previous.empty() ? "nothing."
                                      : "only " + listed(snapshot, place.previous) + "."),
          {}, place.previous);
    } else if (!isMerge && place.previous.size() > 1) {
      add(FindingKind::MergeMode, FindingSeverity::Warning, place,
          "follows " + counted(place.previous.size(), "module") + " (" +
              listed(snapshot, place.previous) + "), but does not have the insert mode of a merge.",
          {}, place.previous);
    }
  }

  void checkMergeChains(const Place& place) {
    if (!place.isIn(InsertInfo::MergeFork) || place.previous.size() < 2) {
      return;
    }
    std::vector<Identifier> said = distinct(place.module->mergeChainIds);
    if (setOf(said) != setOf(place.previousChains)) {
      const std::string text = "says that it merges " + chainsText(said) + ", but follows " +
                               chainsText(place.previousChains) + ".";
      said.insert(said.end(), place.previousChains.begin(), place.previousChains.end());
      add(FindingKind::MergeChains, FindingSeverity::Warning, place, text, distinct(said),
          place.previous);
    }
  }

  const GraphSnapshot& snapshot;
  const ChainNames names;
  std::vector<GraphFinding>& findings;
  ChainSet knownChains;
  std::vector<Place> places;
  /// The first link of each side chain that leads back into another chain.
  std::unordered_map<Identifier, std::pair<std::size_t, std::size_t>> returns;
};

}  // namespace

void checkChains(const GraphSnapshot& snapshot, std::vector<GraphFinding>& findings) {
  ChainChecker(snapshot, findings).check();
}

}  // namespace Tessaril::Diagnostics
