#include "diagnostics/archive/ArchiveReport.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

#include "diagnostics/archive/ArchiveText.h"
#include "diagnostics/graph/ChainNames.h"
#include "diagnostics/graph/SnapshotJson.h"
#include "diagnostics/run/TextTable.h"

namespace Tessaril::Diagnostics {
namespace {

constexpr std::size_t kAnyWidth = std::numeric_limits<int>::max();
/// Paths are not broken, so that a search finds them, but for those that would make every line of a
/// table absurdly long.
constexpr std::size_t kWidestName = 200;
/// Lists go on in the next line.
constexpr std::size_t kWidestList = 60;
constexpr std::size_t kWidestChain = 100;

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string indented(const std::string& lines) {
  std::string text;
  std::size_t begin = 0;
  for (std::size_t end = lines.find('\n'); end != std::string::npos;
       end = lines.find('\n', begin)) {
    text += "  " + lines.substr(begin, end + 1 - begin);
    begin = end + 1;
  }
  return text;
}

std::string listed(const std::vector<std::string>& words, const std::string& none) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : ", ") + word;
  }
  return text.empty() ? none : text;
}

std::vector<std::string> shownTexts(const std::vector<Path>& paths) {
  std::vector<std::string> texts;
  std::transform(paths.begin(), paths.end(), std::back_inserter(texts),
                 [](const Path& path) { return oneLine(path.toString()); });
  return texts;
}

/// How wide a column of such lists is at most, so that no path of them is broken.
std::size_t widestList(const std::vector<ApplyModuleData>& records,
                       std::vector<Path> ApplyModuleData::*list) {
  std::size_t widest = kWidestList;
  for (const ApplyModuleData& record : records) {
    for (const std::string& path : shownTexts(record.*list)) {
      widest = std::max(widest, displayWidth(path + ","));
    }
  }
  return std::min(widest, kWidestName);
}

std::string standingText(const InspectedClass& known) {
  switch (known.standing()) {
    case ClassStanding::Current:
      return "the version known here";
    case ClassStanding::Older:
      return "older than here (" + std::to_string(*known.versionHere) + ")";
    case ClassStanding::Newer:
      return "newer than this library knows (" + std::to_string(*known.versionHere) + ")";
    case ClassStanding::Unknown:
      break;
  }
  return "not known here";
}

std::string stateText(const ArchivedModule& module) {
  std::vector<std::string> words;
  for (const auto& [isSet, word] :
       {std::pair(module.flags.active, "active"), std::pair(module.flags.consistent, "consistent"),
        std::pair(module.flags.inputOk, "input ok"), std::pair(module.flags.frozen, "frozen"),
        std::pair(module.flags.skipped, "skipped"), std::pair(module.additional, "additional")}) {
    if (isSet) {
      words.emplace_back(word);
    }
  }
  return listed(words, "-");
}

std::string placeText(const ArchivedModule& module, const ChainNames& chains) {
  std::vector<std::string> others;
  std::transform(module.mergeChainIds.begin(), module.mergeChainIds.end(),
                 std::back_inserter(others),
                 [&chains](const Identifier& chain) { return chains.nameOf(chain); });
  std::string own = chains.nameOf(module.chainId);
  switch (module.insertMode) {
    case ApplyModuleInsertInfo::AddToChain:
      return own;
    case ApplyModuleInsertInfo::StartSideChain:
      return own + ", starts as a side chain of " + listed(others, chains.nameOf({}));
    case ApplyModuleInsertInfo::StartFork:
      return own + ", starts as a fork of " + listed(others, chains.nameOf({}));
    case ApplyModuleInsertInfo::MergeFork:
      return own + ", merges " + listed(others, "no chain");
  }
  return own + ", " + insertModeName(module.insertMode);
}

// The archive as text

class ArchiveText {
  using Align = TextTable::Align;

 public:
  ArchiveText(const InspectedArchive& inspected, const std::string& title)
      : archive(inspected), text(oneLine(title) + "\n  " + summary() + "\n") {}

  void addProblems() {
    std::string lines;
    for (const ArchiveProblem& problem : archive.problems()) {
      lines += oneLine(problem.toString()) + "\n";
    }
    addSection("Problems", lines);
  }

  void addClasses() {
    TextTable table(
        {{"class", Align::Left, kWidestName}, {"version"}, {"blocks", Align::Right}, {"here"}},
        kAnyWidth);
    for (const InspectedClass& known : archive.classes) {
      table.addRow({oneLine(known.name), std::to_string(known.version),
                    std::to_string(known.blocks), standingText(known)});
    }
    addSection("Classes", archive.classes.empty() ? "" : table.text());
  }

  void addObjects() {
    TextTable table(
        {{"object", Align::Left, kWidestName}, {"class", Align::Left, kWidestName}, {"bytes"}},
        kAnyWidth);
    for (const ArchivedObject& object : archive.design.objects) {
      table.addRow({objectName(object), oneLine(object.className),
                    std::to_string(object.begin) + " to " + std::to_string(object.end)});
    }
    addSection("Objects", archive.design.objects.empty() ? "" : table.text());
  }

  void addModules() {
    const ChainNames chains(snapshotOf(archive));
    TextTable table({{"module", Align::Left, kWidestName},
                     {"state"},
                     {"speed"},
                     {"chain", Align::Left, kWidestChain}},
                    kAnyWidth);
    for (const ArchivedObject& object : archive.design.objects) {
      if (object.module) {
        table.addRow({objectName(object), stateText(*object.module),
                      speedRateName(object.module->speedRate), placeText(*object.module, chains)});
      }
    }
    addSection("Modules", moduleCount(archive) == 0 ? "" : table.text());
  }

  void addLinks() {
    const std::vector<ApplyModuleData>& links = archive.design.links;
    TextTable table({{"module", Align::Left, kWidestName},
                     {"previous", Align::Left, widestList(links, &ApplyModuleData::previousPaths)},
                     {"next", Align::Left, widestList(links, &ApplyModuleData::nextPaths)},
                     {"start"}},
                    kAnyWidth);
    for (const ApplyModuleData& record : links) {
      table.addRow({oneLine(record.path.toString()), listed(shownTexts(record.previousPaths), "-"),
                    listed(shownTexts(record.nextPaths), "-"),
                    record.startOfSideChain ? "start of a side chain" : ""});
    }
    addSection("Links", archive.design.links.empty() ? "" : table.text());
  }

  void addDroppedLinks() {
    std::string lines;
    for (const DroppedLink& link : archive.droppedLinks) {
      lines += oneLine(link.toString()) + "\n";
    }
    addSection("Left out when the links are restored", lines);
  }

  void addBlocks() {
    std::string lines;
    for (const ArchivedBlock& block : archive.frames.blocks) {
      lines += std::string(2 * block.depth, ' ') + std::to_string(block.begin) + " to " +
               std::to_string(block.end) + " " + oneLine(block.className) + "\n";
    }
    addSection("Blocks", lines);
  }

  static std::size_t moduleCount(const InspectedArchive& archive) {
    return static_cast<std::size_t>(
        std::count_if(archive.design.objects.begin(), archive.design.objects.end(),
                      [](const ArchivedObject& object) { return object.module.has_value(); }));
  }

  const std::string& get() const { return text; }

 private:
  std::string summary() const {
    std::string line;
    if (archive.frames.formatVersion) {
      line += "format " + std::to_string(*archive.frames.formatVersion) + ", ";
    }
    line += counted(archive.frames.size, "byte", "bytes");
    line += ", " + counted(archive.classes.size(), "class", "classes");
    line += ", " + counted(archive.design.objects.size(), "object", "objects");
    line += ", " + counted(moduleCount(archive), "module", "modules");
    line += ", " + (archive.design.hasLinks ? counted(archive.design.links.size(),
                                                      "record of links", "records of links")
                                            : "no list of links");
    if (archive.design.bytesBehind > 0) {
      line += ", " + counted(archive.design.bytesBehind, "byte", "bytes") +
              " of the application's own behind them";
    }
    return line;
  }

  static std::string objectName(const ArchivedObject& object) {
    if (object.hasPlace) {
      return oneLine(object.path);
    }
    return object.path.empty() ? "(without a name)" : oneLine(object.path) + " (somewhere)";
  }

  void addSection(const std::string& heading, const std::string& lines) {
    if (!lines.empty()) {
      text += "\n" + heading + "\n" + indented(lines);
    }
  }

  const InspectedArchive& archive;
  std::string text;
};

// Comparisons

std::string versionText(const std::optional<unsigned int>& version) {
  return version ? "version " + std::to_string(*version) : "not there";
}

std::string factText(const ChangedFact& fact) {
  return fact.before.empty() ? fact.what + " changed"
                             : fact.what + " " + fact.before + " -> " + fact.after;
}

std::string linkText(const ComparedLink& link) {
  std::string ends = link.from + " -> " + link.to;
  if (link.inNext && link.inPrevious) {
    return ends;
  }
  return ends + (link.inNext ? " (only as a next module of the first)"
                             : " (only as a previous module of the second)");
}

void addLine(std::string& text, const std::string& mark, const std::string& line) {
  text += mark + " " + oneLine(line) + "\n";
}

void addObjectLines(std::string& text, const ArchiveComparison& comparison) {
  for (const NamedObject& object : comparison.removedObjects) {
    addLine(text, "-", "object " + object.path + ", " + object.className);
  }
  for (const NamedObject& object : comparison.addedObjects) {
    addLine(text, "+", "object " + object.path + ", " + object.className);
  }
  for (const ChangedObject& object : comparison.changedObjects) {
    std::vector<std::string> facts;
    std::transform(object.facts.begin(), object.facts.end(), std::back_inserter(facts), factText);
    addLine(text, "~", "object " + object.path + ": " + listed(facts, ""));
  }
}

}  // namespace

std::string textOf(const InspectedArchive& archive, const std::string& title, bool withBlocks) {
  ArchiveText text(archive, title);
  text.addProblems();
  text.addClasses();
  text.addObjects();
  text.addModules();
  text.addLinks();
  text.addDroppedLinks();
  if (withBlocks) {
    text.addBlocks();
  }
  return text.get();
}

std::string textOf(const ArchiveComparison& comparison) {
  std::string text;
  for (const ComparedClass& known : comparison.classes) {
    addLine(text, known.versionBefore ? (known.versionAfter ? "~" : "-") : "+",
            "class " + known.name + ": " + versionText(known.versionBefore) + " -> " +
                versionText(known.versionAfter));
  }
  addObjectLines(text, comparison);
  for (const ComparedLink& link : comparison.removedLinks) {
    addLine(text, "-", "link " + linkText(link));
  }
  for (const ComparedLink& link : comparison.addedLinks) {
    addLine(text, "+", "link " + linkText(link));
  }
  if (comparison.bytesBehindDiffer) {
    addLine(text, "~", "the application's own values behind the links changed");
  }
  return text;
}

}  // namespace Tessaril::Diagnostics
