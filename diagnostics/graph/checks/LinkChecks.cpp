#include "diagnostics/graph/checks/LinkChecks.h"

#include <algorithm>

#include "diagnostics/graph/DisplayText.h"
#include "diagnostics/graph/checks/Wording.h"
#include "diagnostics/graph/links/Cycles.h"

namespace Tessaril::Diagnostics {
namespace {

/// One of the two lists of a module.
struct ListSide {
  std::vector<SnapshotLink> SnapshotModule::*entries;
  const char* word;
};

constexpr ListSide kPrevious{&SnapshotModule::previous, "previous"};
constexpr ListSide kNext{&SnapshotModule::next, "next"};

/// True when each module of the cycle names the one before it as previous: an update goes by that.
bool waitsAllRound(const std::vector<std::size_t>& cycle, const LinkTable& table) {
  for (std::size_t place = 0; place < cycle.size(); ++place) {
    if (table.find(cycle[place], cycle[(place + 1) % cycle.size()]).previousEntries == 0) {
      return false;
    }
  }
  return true;
}

void checkCycles(const GraphSnapshot& snapshot, const LinkTable& table,
                 std::vector<GraphFinding>& findings) {
  for (const auto& part : cyclicParts(table.successors())) {
    std::vector<std::size_t> cycle = shortCycleIn(part, table.successors());
    std::string text = "the order runs in a circle: " + cycleText(snapshot, cycle) + ".";
    text += waitsAllRound(cycle, table)
                ? " Each of them waits for the one before it, so no update gets to them."
                : " A link of it is known to one end only.";
    if (part.size() > cycle.size()) {
      text += " " + counted(part.size() - cycle.size(), "more module") +
              (part.size() == cycle.size() + 1 ? " is" : " are") + " in circles with them.";
    }
    findings.push_back({FindingKind::Cycle, FindingSeverity::Error, std::move(cycle), {}, text});
  }
}

void checkSelfLink(const GraphSnapshot& snapshot, const TableLink& link,
                   std::vector<GraphFinding>& findings) {
  const std::string name = nameOf(snapshot, link.from);
  const bool waits = link.previousEntries > 0;
  const std::string lists = !waits                 ? "next list"
                            : link.nextEntries > 0 ? "previous and next lists"
                                                   : "previous list";
  findings.push_back(
      {FindingKind::SelfLink,
       waits ? FindingSeverity::Error : FindingSeverity::Warning,
       {link.from},
       {},
       name + " is linked with itself: it stands in its own " + lists +
           (waits ? ". It waits for itself, so no update gets to it or past it." : ".")});
}

void checkBothEnds(const GraphSnapshot& snapshot, const TableLink& link,
                   std::vector<GraphFinding>& findings) {
  const bool missesNext =
      link.nextEntries == 0 && hasKnownLists(snapshot, snapshot.modules[link.from]);
  const bool missesPrevious =
      link.previousEntries == 0 && hasKnownLists(snapshot, snapshot.modules[link.to]);
  if (!missesNext && !missesPrevious) {
    return;
  }
  const std::string from = nameOf(snapshot, link.from);
  const std::string to = nameOf(snapshot, link.to);
  const std::string ends =
      missesNext
          ? to + " names " + from + " as previous, but " + from + " does not name " + to +
                " as next. " + to + " waits for " + from + ", which does not lead to it."
          : from + " names " + to + " as next, but " + to + " does not name " + from +
                " as previous. " + from + " leads to " + to + ", which does not wait for it.";
  findings.push_back(
      {FindingKind::OneSidedLink,
       FindingSeverity::Error,
       missesNext ? std::vector{link.to, link.from} : std::vector{link.from, link.to},
       {},
       "the link " + from + " -> " + to + " has one end only: " + ends});
}

void checkRepeated(const GraphSnapshot& snapshot, std::size_t owner, std::size_t neighbour,
                   std::size_t entries, const ListSide& side, std::vector<GraphFinding>& findings) {
  if (entries > 1) {
    findings.push_back({FindingKind::RepeatedEntry,
                        FindingSeverity::Warning,
                        {owner, neighbour},
                        {},
                        nameOf(snapshot, owner) + " names " + nameOf(snapshot, neighbour) + " as " +
                            side.word + " " + std::to_string(entries) +
                            " times; an edit that takes the link out takes only one of them."});
  }
}

void checkDeadEntries(const GraphSnapshot& snapshot, std::size_t index, const ListSide& side,
                      std::vector<GraphFinding>& findings) {
  const std::vector<SnapshotLink>& entries = snapshot.modules[index].*side.entries;
  for (std::size_t place = 0; place < entries.size(); ++place) {
    if (isLive(snapshot, entries[place])) {
      continue;
    }
    const std::string name = nameOf(snapshot, index);
    const std::string text =
        entries[place].name.empty()
            ? "entry " + std::to_string(place + 1) + " of " + std::to_string(entries.size()) +
                  " in the " + side.word + " list of " + name +
                  " is dead: the module that it led to is gone."
            : name + " names " + cleanText(entries[place].name) + " as " + side.word +
                  ", but no such module is known; restoring drops the link.";
    findings.push_back({FindingKind::DeadEntry, FindingSeverity::Warning, {index}, {}, text});
  }
}

void checkNeighbourRecord(const GraphSnapshot& snapshot, std::size_t owner, std::size_t neighbour,
                          const ListSide& side, std::vector<GraphFinding>& findings) {
  const SnapshotModule& named = snapshot.modules[neighbour];
  if (!named.exists || hasKnownLists(snapshot, named)) {
    return;
  }
  const std::string name = nameOf(snapshot, neighbour);
  findings.push_back({FindingKind::NeighbourWithoutRecord,
                      FindingSeverity::Error,
                      {owner, neighbour},
                      {},
                      nameOf(snapshot, owner) + " names " + name + " as " + side.word +
                          ", but no record describes " + name +
                          ": restored, the link has one end only."});
}

/// The indices of the modules that can be reached over links in either direction.
class ConnectedParts {
 public:
  explicit ConnectedParts(const LinkTable& linkTable)
      : table(linkTable), isReached(linkTable.successors().size(), false) {}

  /// In no particular order; empty for a module of a part that was given out before.
  std::vector<std::size_t> partOf(std::size_t start) {
    std::vector<std::size_t> part;
    reach(start, part);
    for (std::size_t place = 0; place < part.size(); ++place) {
      const std::size_t module = part[place];
      for (const Adjacency* neighbours : {&table.successors(), &table.predecessors()}) {
        for (const std::size_t neighbour : (*neighbours)[module]) {
          reach(neighbour, part);
        }
      }
    }
    return part;
  }

 private:
  void reach(std::size_t module, std::vector<std::size_t>& part) {
    if (!isReached[module]) {
      isReached[module] = true;
      part.push_back(module);
    }
  }

  const LinkTable& table;
  std::vector<bool> isReached;
};

}  // namespace

void checkLinks(const GraphSnapshot& snapshot, const LinkTable& table,
                std::vector<GraphFinding>& findings) {
  checkCycles(snapshot, table, findings);
  for (const TableLink& link : table.links()) {
    if (link.from == link.to) {
      checkSelfLink(snapshot, link, findings);
    } else {
      checkBothEnds(snapshot, link, findings);
    }
    checkRepeated(snapshot, link.from, link.to, link.nextEntries, kNext, findings);
    checkRepeated(snapshot, link.to, link.from, link.previousEntries, kPrevious, findings);
  }
  for (std::size_t index = 0; index < snapshot.modules.size(); ++index) {
    if (snapshot.modules[index].exists) {
      checkDeadEntries(snapshot, index, kPrevious, findings);
      checkDeadEntries(snapshot, index, kNext, findings);
    }
  }
}

void checkRecords(const GraphSnapshot& snapshot, const LinkTable& table,
                  std::vector<GraphFinding>& findings) {
  for (std::size_t index = 0; index < snapshot.modules.size(); ++index) {
    const SnapshotModule& module = snapshot.modules[index];
    if (!module.exists) {
      findings.push_back({FindingKind::MissingModule,
                          FindingSeverity::Error,
                          {index},
                          {},
                          "a record describes " + nameOf(snapshot, index) +
                              ", but there is no such module; restoring passes "
                              "it over."});
    }
    if (module.recordCount > 1) {
      findings.push_back({FindingKind::RepeatedRecord,
                          FindingSeverity::Warning,
                          {index},
                          {},
                          counted(module.recordCount, "record") + " describe " +
                              nameOf(snapshot, index) + "; restored, the last one counts."});
    }
  }
  for (const TableLink& link : table.links()) {
    if (link.nextEntries > 0) {
      checkNeighbourRecord(snapshot, link.from, link.to, kNext, findings);
    }
    if (link.previousEntries > 0) {
      checkNeighbourRecord(snapshot, link.to, link.from, kPrevious, findings);
    }
  }
}

void checkRoots(const GraphSnapshot& snapshot, const LinkTable& table,
                std::vector<GraphFinding>& findings) {
  ConnectedParts parts(table);
  for (std::size_t index = 0; index < snapshot.modules.size(); ++index) {
    std::vector<std::size_t> roots;
    for (const std::size_t module : parts.partOf(index)) {
      if (table.predecessors()[module].empty() &&
          hasKnownLists(snapshot, snapshot.modules[module])) {
        roots.push_back(module);
      }
    }
    std::sort(roots.begin(), roots.end());
    if (roots.size() > 1) {
      const std::string text = counted(roots.size(), "module") +
                               " of one graph follow nothing: " + listed(snapshot, roots) +
                               ". An update begins at one of them and does not get to what lies "
                               "only behind the others.";
      findings.push_back(
          {FindingKind::SeveralRoots, FindingSeverity::Warning, std::move(roots), {}, text});
    }
  }
}

}  // namespace Tessaril::Diagnostics
