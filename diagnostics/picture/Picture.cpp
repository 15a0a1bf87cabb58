#include "diagnostics/picture/Picture.h"

#include <algorithm>
#include <utility>

#include "diagnostics/graph/ChainNames.h"
#include "diagnostics/graph/DisplayText.h"
#include "diagnostics/picture/DisplayNames.h"
#include "diagnostics/picture/DotText.h"
#include "diagnostics/picture/Legend.h"
#include "diagnostics/picture/ModuleLook.h"
#include "diagnostics/picture/PictureModel.h"
#include "diagnostics/picture/PictureStyle.h"
#include "diagnostics/picture/Tooltip.h"
#include "diagnostics/run/RunReport.h"

namespace Tessaril::Diagnostics {
namespace {

constexpr std::size_t kMostDeadNames = 3;

std::string nodeName(const DrawnModule& module) { return "m" + std::to_string(module.index); }

const RunMark* markOf(const RunMarks& marks, std::size_t module) {
  const auto place = marks.find(module);
  return place == marks.end() ? nullptr : &place->second;
}

Microseconds longestOf(const RunMarks& marks) {
  Microseconds longest{0};
  for (const auto& [module, mark] : marks) {
    longest = std::max(longest, mark.duration.value_or(Microseconds{0}));
  }
  return longest;
}

/// Writes a picture that has been thought out, and gathers the signs that occur on the way.
class DotWriter {
 public:
  DotWriter(const GraphSnapshot& graphSnapshot, const PictureOptions& pictureOptions,
            const PictureModel& thoughtOut)
      : snapshot(graphSnapshot),
        options(pictureOptions),
        model(thoughtOut),
        style(isDrawnInBrief(pictureOptions, model.modules.size()) ? kBriefStyle : kFullStyle),
        displayNames(graphSnapshot),
        chainNames(graphSnapshot),
        longest(longestOf(pictureOptions.runMarks)) {}

  std::string write() {
    std::string body;
    for (std::size_t chain = 0; chain < model.chains.size(); ++chain) {
      body += cluster(chain);
    }
    for (const std::size_t place : model.withoutChain) {
      body += "  " + node(place);
    }
    for (const DrawnLink& link : model.links) {
      body += edge(link);
    }
    return "digraph apply_graph {\n" + defaults() + head() + body + "}\n";
  }

 private:
  std::string defaults() const {
    DotAttributes graph;
    // With newrank, a chain may stretch to make room for a longer one beside it. Otherwise links
    // that lead into such a chain, or back from it, would be drawn upwards.
    graph.set("rankdir", "TB")
        .set("newrank", "true")
        .set("bgcolor", Colours::kPaper)
        .set("pad", "0.3")
        .set("ranksep", style.ranksep)
        .set("nodesep", style.nodesep)
        .set("fontname", kFont)
        .set("fontsize", style.fontSize)
        .set("fontcolor", Colours::kInk)
        .set("labelloc", "t")
        .set("labeljust", "l");
    DotAttributes nodes;
    nodes.set("shape", "plain").set("fontname", kFont).set("fontsize", style.fontSize);
    DotAttributes edges;
    edges.set("color", Colours::kLine)
        .set("penwidth", style.linkWidth)
        .set("arrowsize", style.arrowSize)
        .set("fontname", kFont)
        .set("fontsize", style.smallFontSize)
        .set("fontcolor", Colours::kAlarm);
    return "  graph " + graph.inBrackets() + ";\n  node " + nodes.inBrackets() + ";\n  edge " +
           edges.inBrackets() + ";\n";
  }

  /// Title and legend are one label, so that neither takes part in the layout.
  std::string head() const {
    std::string rows;
    if (!options.title.empty()) {
      const std::string title = "<B>" + escapedForHtml(cleanText(options.title)) + "</B>";
      rows += rowMarkup(cellMarkup(fontMarkup(title, "16", Colours::kInk), R"(ALIGN="LEFT")"));
    }
    const std::string legend = options.legend ? legendTable(signs, style) : std::string();
    if (!legend.empty()) {
      rows += rowMarkup(cellMarkup(legend, R"(ALIGN="LEFT")"));
    }
    if (rows.empty()) {
      return {};
    }
    DotAttributes label;
    label.html("label", tableMarkup(rows + rowMarkup(cellMarkup("", R"(HEIGHT="12")")), "2"));
    return "  " + label.asStatements() + '\n';
  }

  std::string cluster(std::size_t chain) {
    const DrawnChain& drawn = model.chains[chain];
    const std::string heading = escapedForHtml(drawn.heading);
    DotAttributes attributes;
    attributes.html("label", drawn.isMain ? "<B>" + heading + "</B>" : heading)
        .set("style", "rounded,filled")
        .set("fillcolor", drawn.isMain ? "#f1f5f9" : "#fafbfd")
        .set("color", drawn.isMain ? "#7b8aa0" : "#cbd5e1")
        .set("penwidth", drawn.isMain ? "1.6" : "1")
        .set("fontcolor", drawn.isMain ? Colours::kInk : Colours::kFaintInk)
        .set("labeljust", drawn.headingAtLeft ? "l" : "r")
        .set("margin", style.clusterMargin);
    std::string text = "  subgraph cluster_" + std::to_string(chain) + " {\n    " +
                       attributes.asStatements() + '\n';
    for (const std::size_t place : drawn.modules) {
      text += "    " + node(place);
    }
    return text + "  }\n";
  }

  /// The node of the module, with what stands for its dead and hidden neighbours.
  std::string node(std::size_t place) {
    const DrawnModule& drawn = model.modules[place];
    const SnapshotModule& module = snapshot.modules[drawn.index];
    const RunMark* const mark = markOf(options.runMarks, drawn.index);
    const Signs shown = signsOf(module, drawn, mark);
    signs.insert(shown.begin(), shown.end());
    DotAttributes attributes;
    attributes.html("label", boxOf(drawn.name, shown, mark, longest, style))
        .text("tooltip", tooltipOf(module, shown, mark, chainNames));
    return nodeName(drawn) + ' ' + attributes.inBrackets() + ";\n" + stubs(drawn);
  }

  std::string stubs(const DrawnModule& drawn) {
    const std::string name = nodeName(drawn);
    std::string text;
    if (!drawn.deadPrevious.empty()) {
      text += stub(name + "_dead_previous", name, deadLabel(drawn.deadPrevious), Sign::kDead, true);
    }
    if (!drawn.deadNext.empty()) {
      text += stub(name + "_dead_next", name, deadLabel(drawn.deadNext), Sign::kDead, false);
    }
    if (drawn.hiddenPrevious > 0) {
      text += stub(name + "_more_previous", name, moreMarkup(drawn.hiddenPrevious, style),
                   Sign::kHidden, true);
    }
    if (drawn.hiddenNext > 0) {
      text += stub(name + "_more_next", name, moreMarkup(drawn.hiddenNext, style), Sign::kHidden,
                   false);
    }
    return text;
  }

  std::string stub(const std::string& stubName, const std::string& module, const std::string& label,
                   Sign sign, bool isPrevious) {
    signs.insert(sign);
    DotAttributes attributes;
    attributes.html("label", label);
    DotAttributes line;
    line.set("style", "dotted")
        .set("color", sign == Sign::kDead ? Colours::kAlarm : Colours::kFaintLine)
        .set("arrowhead", "none");
    return "    " + stubName + ' ' + attributes.inBrackets() + ";\n    " +
           (isPrevious ? stubName + " -> " + module : module + " -> " + stubName) + ' ' +
           line.inBrackets() + ";\n";
  }

  /// A cross, how many there are, and what they name as far as it is known.
  std::string deadLabel(const std::vector<std::string>& names) const {
    std::string label = crossMarkup();
    if (names.size() > 1) {
      label += moreText(std::to_string(names.size()) + " entries");
    }
    for (std::size_t place = 0; place < std::min(names.size(), kMostDeadNames); ++place) {
      if (!names[place].empty()) {
        label += "<BR/>" + moreText(style.brief ? displayNames.shortName(names[place])
                                                : displayNames.longName(names[place]));
      }
    }
    return label;
  }

  std::string moreText(const std::string& text) const {
    return fontMarkup(' ' + escapedForHtml(text), style.smallFontSize, Colours::kFaintInk);
  }

  std::string edge(const DrawnLink& link) {
    Signs shown;
    const auto addIf = [&shown](bool shows, Sign sign) {
      if (shows) {
        shown.insert(sign);
      }
    };
    addIf(link.onMainLine, Sign::kMainLine);
    addIf(link.missesNext() || link.missesPrevious(), Sign::kOneSided);
    addIf(link.isRepeated(), Sign::kRepeated);
    addIf(link.onCycle, Sign::kCycle);
    signs.insert(shown.begin(), shown.end());
    DotAttributes attributes = lineOf(shown, style);
    attributes.set("weight", weightOf(link));
    if (const std::string remark = remarkOn(link); !remark.empty()) {
      attributes.text("xlabel", ' ' + remark + ' ');
    }
    return "  " + nodeName(model.modules[link.from]) + " -> " + nodeName(model.modules[link.to]) +
           ' ' + attributes.inBrackets() + ";\n";
  }

  /// What makes Graphviz keep chains straight, the main chain before all others.
  static std::string_view weightOf(const DrawnLink& link) {
    if (link.onMainLine) {
      return "100";
    }
    return link.withinChain ? "20" : "1";
  }

  static std::string remarkOn(const DrawnLink& link) {
    std::string remark;
    if (link.missesNext() || link.missesPrevious()) {
      remark = link.missesNext() ? "in previous list only" : "in next list only";
    }
    if (link.isRepeated()) {
      remark += (remark.empty() ? "" : ", ") +
                std::to_string(std::max(link.nextEntries, link.previousEntries)) + " times";
    }
    return remark;
  }

  const GraphSnapshot& snapshot;
  const PictureOptions& options;
  const PictureModel& model;
  const PictureStyle& style;
  DisplayNames displayNames;
  ChainNames chainNames;
  Microseconds longest;
  Signs signs;
};

/// By the places of the modules.
std::vector<double> fromLeftOf(const PictureModel& model, const LaidOutPicture& picture) {
  std::vector<double> fromLeft;
  for (const DrawnModule& module : model.modules) {
    const auto node = picture.nodesFromLeft.find(nodeName(module));
    fromLeft.push_back(node == picture.nodesFromLeft.end() ? 0.0 : node->second);
  }
  return fromLeft;
}

}  // namespace

std::string dotText(const GraphSnapshot& snapshot, const PictureOptions& options) {
  const PictureModel model = pictureModel(snapshot, options);
  return DotWriter(snapshot, options, model).write();
}

std::string svgText(const GraphSnapshot& snapshot, const PictureOptions& options) {
  PictureModel model = pictureModel(snapshot, options);
  LaidOutPicture picture = layOut(DotWriter(snapshot, options, model).write());
  return moveHeadings(model, fromLeftOf(model, picture))
             ? svgOfDot(DotWriter(snapshot, options, model).write())
             : std::move(picture.svg);
}

}  // namespace Tessaril::Diagnostics
