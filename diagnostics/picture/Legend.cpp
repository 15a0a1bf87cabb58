#include "diagnostics/picture/Legend.h"

#include <array>

namespace Tessaril::Diagnostics {
namespace {

constexpr std::string_view kDoubleAlarm = "#a61b1b:#ffffff:#a61b1b";

enum class Sample { kNode, kChip, kBar, kLine, kCross, kMore };

struct Explanation {
  Sign sign;
  Sample sample;
  std::string_view text;
};

constexpr std::array kExplanations{
    Explanation{Sign::kConsistent, Sample::kNode, "consistent"},
    Explanation{Sign::kInconsistent, Sample::kNode, "inconsistent"},
    Explanation{Sign::kStateUnknown, Sample::kNode, "state not known"},
    Explanation{Sign::kInactive, Sample::kNode, "inactive"},
    Explanation{Sign::kInputNotOk, Sample::kChip, "input not ok"},
    Explanation{Sign::kFrozen, Sample::kChip, "frozen"},
    Explanation{Sign::kSkipped, Sample::kChip, "skipped"},
    Explanation{Sign::kAdditional, Sample::kChip, "additional module"},
    Explanation{Sign::kNotThere, Sample::kChip, "named, but not there"},
    Explanation{Sign::kNoRecord, Sample::kChip, "named, without record"},
    Explanation{Sign::kSeveralRecords, Sample::kChip, "several records"},
    Explanation{Sign::kFailed, Sample::kChip, "failed in the last run"},
    Explanation{Sign::kDuration, Sample::kBar, "of the longest duration"},
    Explanation{Sign::kSideChainStart, Sample::kNode, "starts a side chain"},
    Explanation{Sign::kForkStart, Sample::kNode, "starts a fork"},
    Explanation{Sign::kMerge, Sample::kNode, "merge"},
    Explanation{Sign::kMainLine, Sample::kLine, "main chain"},
    Explanation{Sign::kOneSided, Sample::kLine, "one-sided link"},
    Explanation{Sign::kRepeated, Sample::kLine, "repeated link"},
    Explanation{Sign::kCycle, Sample::kLine, "part of a cycle"},
    Explanation{Sign::kDead, Sample::kCross, "dead entry"},
    Explanation{Sign::kHidden, Sample::kMore, "not shown"},
};

/// Names of the nodes of the legend. They never meet those of modules, which begin with "m".
std::string nameOf(std::size_t entry) { return "legend" + std::to_string(entry); }

std::string written(std::string_view text, const PictureStyle& style) {
  return "<FONT POINT-SIZE=\"" + std::string(style.legendFontSize) + "\" COLOR=\"" +
         std::string(Colours::kFaintInk) + "\">" + std::string(text) + "</FONT>";
}

/// A sample with its text to the right.
std::string besideText(std::string_view sampleCell, std::string_view text,
                       const PictureStyle& style) {
  return "<TABLE BORDER=\"0\" CELLBORDER=\"0\" CELLPADDING=\"0\" CELLSPACING=\"3\"><TR>" +
         std::string(sampleCell) + "<TD>" + written(text, style) + "</TD></TR></TABLE>";
}

DotAttributes plainNode(std::string_view label) {
  DotAttributes node;
  node.set("shape", "plain").set("style", "").html("label", label);
  return node;
}

std::string statement(const std::string& name, const DotAttributes& attributes) {
  return "    " + name + ' ' + attributes.inBrackets() + ";\n";
}

std::string lineSample(const std::string& name, const Explanation& entry,
                       const PictureStyle& style) {
  DotAttributes end;
  end.set("shape", "point").set("width", "0.02").set("color", Colours::kFaintLine);
  DotAttributes line = lineOf({entry.sign}, style);
  line.set("minlen", "2");
  return "    { rank=same;\n  " + statement(name + "a", end) + "  " +
         statement(name, plainNode(written(entry.text, style))) + "      " + name + "a -> " + name +
         ' ' + line.inBrackets() + ";\n    }\n";
}

std::string sampleOf(const std::string& name, const Explanation& entry, const PictureStyle& style) {
  DotAttributes node;
  switch (entry.sample) {
    case Sample::kLine:
      return lineSample(name, entry, style);
    case Sample::kNode:
      node = nodeOf({entry.sign});
      node.html("label", written(entry.text, style));
      break;
    case Sample::kChip:
      node = plainNode(besideText(chipOf(entry.sign, style), entry.text, style));
      break;
    case Sample::kBar:
      node = plainNode(besideText("<TD>" + barOf(0.4, style) + "</TD>", entry.text, style));
      break;
    case Sample::kCross:
      node = plainNode(besideText("<TD>" + crossMarkup() + "</TD>", entry.text, style));
      break;
    case Sample::kMore:
      node = plainNode(besideText("<TD>" + moreMarkup(2, style) + "</TD>", entry.text, style));
      break;
  }
  return statement(name, node);
}

std::string heading() {
  DotAttributes cluster;
  cluster.html("label", "<B>Legend</B>")
      .set("style", "rounded")
      .set("color", Colours::kBarGround)
      .set("fontcolor", Colours::kFaintInk);
  return "    " + cluster.asStatements() + '\n';
}

}  // namespace

std::string legendOf(const Signs& signs, const PictureStyle& style) {
  std::string samples;
  std::string column;
  std::size_t count = 0;
  for (const Explanation& entry : kExplanations) {
    if (signs.contains(entry.sign)) {
      const std::string name = nameOf(count++);
      samples += sampleOf(name, entry, style);
      column += (column.empty() ? "" : " -> ") + name;
    }
  }
  if (samples.empty()) {
    return {};
  }
  std::string text = "  subgraph cluster_legend {\n" + heading() + samples;
  if (count > 1) {
    text += "    " + column + " [style=invis, weight=100];\n";
  }
  return text + "  }\n";
}

DotAttributes lineOf(const Signs& signs, const PictureStyle& style) {
  DotAttributes line;
  const bool isMain = signs.contains(Sign::kMainLine);
  if (signs.contains(Sign::kCycle)) {
    line.set("color", kDoubleAlarm);
  } else if (signs.contains(Sign::kOneSided)) {
    line.set("color", Colours::kAlarm);
  } else if (isMain) {
    line.set("color", Colours::kMainLine);
  }
  if (signs.contains(Sign::kOneSided)) {
    line.set("style", "dashed").set("arrowhead", "empty");
  }
  if (isMain && !signs.contains(Sign::kCycle)) {
    line.set("penwidth", style.mainLineWidth);
  }
  if (signs.contains(Sign::kRepeated)) {
    line.set("arrowhead", "normalnormal");
  }
  return line;
}

std::string crossMarkup() {
  return "<FONT POINT-SIZE=\"13\" COLOR=\"" + std::string(Colours::kAlarm) +
         "\"><B>\xC3\x97</B></FONT>";
}

std::string moreMarkup(std::size_t count, const PictureStyle& style) {
  return "<FONT POINT-SIZE=\"" + std::string(style.smallFontSize) + "\" COLOR=\"" +
         std::string(Colours::kFaintInk) + "\">" + std::to_string(count) + " more</FONT>";
}

}  // namespace Tessaril::Diagnostics
