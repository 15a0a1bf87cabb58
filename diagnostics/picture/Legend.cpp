#include "diagnostics/picture/Legend.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace Tessaril::Diagnostics {
namespace {

constexpr std::string_view kDoubleAlarm = "#a61b1b:#ffffff:#a61b1b";

enum class Group { kState, kWord, kPlace, kLink };

struct Explanation {
  Sign sign;
  Group group;
  std::string_view text;
};

constexpr std::array kExplanations{
    Explanation{Sign::kConsistent, Group::kState, "consistent"},
    Explanation{Sign::kInconsistent, Group::kState, "inconsistent"},
    Explanation{Sign::kStateUnknown, Group::kState, "state not known"},
    Explanation{Sign::kInactive, Group::kState, "inactive"},
    Explanation{Sign::kInputNotOk, Group::kWord, "input not ok"},
    Explanation{Sign::kFrozen, Group::kWord, "frozen"},
    Explanation{Sign::kSkipped, Group::kWord, "skipped"},
    Explanation{Sign::kAdditional, Group::kWord, "additional"},
    Explanation{Sign::kNotThere, Group::kWord, "not there"},
    Explanation{Sign::kNoRecord, Group::kWord, "no record"},
    Explanation{Sign::kSeveralRecords, Group::kWord, "several records"},
    Explanation{Sign::kExecuted, Group::kWord, "executed"},
    Explanation{Sign::kFailed, Group::kWord, "failed"},
    Explanation{Sign::kSideChainStart, Group::kPlace, "starts a side chain"},
    Explanation{Sign::kForkStart, Group::kPlace, "starts a fork"},
    Explanation{Sign::kMerge, Group::kPlace, "merge"},
    Explanation{Sign::kMainLine, Group::kLink, "main chain"},
    Explanation{Sign::kOneSided, Group::kLink, "in one list only"},
    Explanation{Sign::kRepeated, Group::kLink, "repeated"},
    Explanation{Sign::kCycle, Group::kLink, "on a cycle"},
    Explanation{Sign::kDead, Group::kLink, "dead entry"},
    Explanation{Sign::kHidden, Group::kLink, "not shown"},
    Explanation{Sign::kDuration, Group::kLink, "share of the longest duration"},
};

std::string written(std::string_view text, const PictureStyle& style) {
  return fontMarkup(text, style.legendFontSize, Colours::kFaintInk);
}

/// A horizontal line: the borders, on these sides, of a flat cell between two empty ones.
std::string lineSample(std::string_view border) {
  const std::string empty = rowMarkup(cellMarkup("", R"(HEIGHT="4")"));
  return tableMarkup(
      empty + rowMarkup(cellMarkup("", R"(WIDTH="26" HEIGHT="3" )" + std::string(border))) + empty);
}

std::string sampleOf(const Explanation& entry, const PictureStyle& style) {
  switch (entry.sign) {
    case Sign::kDuration:
      return barOf(0.4, 26);
    case Sign::kMainLine:
      return lineSample(R"(BGCOLOR="#334155")");
    case Sign::kOneSided:
      return lineSample(R"(BORDER="1" SIDES="B" STYLE="DASHED" COLOR="#a61b1b")");
    case Sign::kRepeated:
      return fontMarkup("2 times", style.smallFontSize, Colours::kAlarm);
    case Sign::kCycle:
      return lineSample(R"(BORDER="1" SIDES="TB" COLOR="#a61b1b")");
    case Sign::kDead:
      return crossMarkup();
    case Sign::kHidden:
      return moreMarkup(2, style);
    default:
      return {};
  }
}

std::string sampleCell(const Explanation& entry, const PictureStyle& style) {
  if (entry.group == Group::kState || entry.group == Group::kPlace) {
    return cellMarkup(sampleBoxOf({entry.sign}, style));
  }
  const std::string chip = chipOf(entry.sign, style);
  // A table fills the cell that it stands in, but for the padding: so all chips are of one height.
  return chip.empty() ? cellMarkup(sampleOf(entry, style))
                      : cellMarkup(tableMarkup(rowMarkup(chip)), R"(CELLPADDING="3")");
}

/// The sample, and what it means. A word on a module says itself what it means.
std::string cellsOf(const Explanation& entry, const PictureStyle& style) {
  const bool saysItself =
      !style.brief && !chipOf(entry.sign, style).empty() && entry.group == Group::kWord;
  return sampleCell(entry, style) +
         cellMarkup(saysItself ? std::string() : written(entry.text, style), R"(ALIGN="LEFT")");
}

using Column = std::vector<const Explanation*>;

std::vector<Column> columnsOf(const Signs& signs) {
  std::vector<Column> columns;
  for (const Group group : {Group::kState, Group::kWord, Group::kPlace, Group::kLink}) {
    Column column;
    for (const Explanation& entry : kExplanations) {
      if (entry.group == group && signs.contains(entry.sign)) {
        column.push_back(&entry);
      }
    }
    if (!column.empty()) {
      columns.push_back(std::move(column));
    }
  }
  return columns;
}

}  // namespace

std::string legendTable(const Signs& signs, const PictureStyle& style) {
  const std::vector<Column> columns = columnsOf(signs);
  std::size_t height = 0;
  for (const Column& column : columns) {
    height = std::max(height, column.size());
  }
  std::string rows;
  for (std::size_t row = 0; row < height; ++row) {
    std::string cells;
    for (const Column& column : columns) {
      cells += cells.empty() ? "" : cellMarkup("", R"(WIDTH="8")");
      cells +=
          row < column.size() ? cellsOf(*column[row], style) : cellMarkup("", R"(COLSPAN="2")");
    }
    rows += rowMarkup(cells);
  }
  return rows.empty() ? rows : tableMarkup(rows, "3");
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
  return line;
}

std::string crossMarkup() { return fontMarkup("<B>\xC3\x97</B>", "13", Colours::kAlarm); }

std::string moreMarkup(std::size_t count, const PictureStyle& style) {
  return fontMarkup(std::to_string(count) + " more", style.smallFontSize, Colours::kFaintInk);
}

}  // namespace Tessaril::Diagnostics
