#include "diagnostics/picture/ModuleLook.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "diagnostics/picture/DisplayNames.h"
#include "diagnostics/run/TextTable.h"

namespace Tessaril::Diagnostics {
namespace {

constexpr std::size_t kReasonWidth = 30;
constexpr std::size_t kMostReasonLines = 3;

struct Chip {
  Sign sign;
  std::string_view word;
  std::string_view letter;
  std::string_view ground;
  std::string_view ink;
};

constexpr std::array kChips{
    Chip{Sign::kInconsistent, "inconsistent", "!", "#7a4a00", Colours::kPaper},
    Chip{Sign::kInputNotOk, "input not ok", "I", Colours::kAlarm, Colours::kPaper},
    Chip{Sign::kFrozen, "frozen", "F", "#1f4e8c", Colours::kPaper},
    Chip{Sign::kSkipped, "skipped", "S", "#475569", Colours::kPaper},
    Chip{Sign::kInactive, "inactive", "", "#ffffff", Colours::kFaintInk},
    Chip{Sign::kAdditional, "additional", "A", "#d5dde8", Colours::kInk},
    Chip{Sign::kNotThere, "not there", "?", Colours::kInk, Colours::kPaper},
    Chip{Sign::kNoRecord, "no record", "N", "#d5dde8", Colours::kInk},
    Chip{Sign::kSeveralRecords, "several records", "R", "#d5dde8", Colours::kInk},
    Chip{Sign::kFailed, "failed", "X", Colours::kAlarm, Colours::kPaper},
};

std::string font(std::string_view text, std::string_view size, std::string_view colour) {
  return "<FONT POINT-SIZE=\"" + std::string(size) + "\" COLOR=\"" + std::string(colour) + "\">" +
         std::string(text) + "</FONT>";
}

std::string markupOf(const Chip& chip, const PictureStyle& style) {
  const std::string_view text = style.brief ? chip.letter : chip.word;
  if (text.empty()) {
    return {};
  }
  return "<TD BGCOLOR=\"" + std::string(chip.ground) + "\" CELLPADDING=\"" +
         (style.brief ? "1" : "2") + "\">" + font(text, style.smallFontSize, chip.ink) + "</TD>";
}

std::string chipsOf(const Signs& signs, const PictureStyle& style) {
  std::string cells;
  for (const Chip& chip : kChips) {
    if (signs.contains(chip.sign)) {
      cells += markupOf(chip, style);
    }
  }
  return cells;
}

std::string table(std::string_view rows, std::string_view spacing = "0") {
  return "<TABLE BORDER=\"0\" CELLBORDER=\"0\" CELLPADDING=\"0\" CELLSPACING=\"" +
         std::string(spacing) + "\">" + std::string(rows) + "</TABLE>";
}

std::string cell(std::string_view content) { return "<TD>" + std::string(content) + "</TD>"; }
std::string row(std::string_view cells) { return "<TR>" + std::string(cells) + "</TR>"; }

std::string nameMarkup(const std::string& name, const Signs& signs, const PictureStyle& style) {
  std::string markup = "<B>" + escapedForHtml(name.empty() ? "(no name)" : name) + "</B>";
  if (signs.contains(Sign::kSkipped)) {
    markup = "<S>" + markup + "</S>";
  }
  const bool isFaint = signs.contains(Sign::kInactive) || signs.contains(Sign::kNotThere);
  return font(markup, style.fontSize, isFaint ? Colours::kFaintInk : Colours::kInk);
}

std::string outcomeLine(const RunMark& mark, const PictureStyle& style) {
  const std::string outcome = escapedForHtml(cleanText(mark.outcome));
  std::string line;
  if (!outcome.empty() && (!style.brief || !mark.duration)) {
    line = style.brief ? outcome : "<B>" + outcome + "</B>";
  }
  if (mark.duration) {
    line += (line.empty() ? "" : "  ") + durationText(*mark.duration);
  }
  return line.empty() ? line : font(line, style.smallFontSize, Colours::kInk);
}

std::vector<std::string> reasonLines(const std::string& reason) {
  if (reason.empty()) {
    return {};
  }
  std::vector<std::string> lines = brokenInto(kReasonWidth, cleanText(reason));
  if (lines.size() > kMostReasonLines) {
    lines.resize(kMostReasonLines);
    lines.back() += " \xE2\x80\xA6";
  }
  return lines;
}

std::string runRows(const RunMark& mark, std::chrono::nanoseconds longest,
                    const PictureStyle& style) {
  std::string rows;
  if (const std::string line = outcomeLine(mark, style); !line.empty() && !style.brief) {
    rows += row(cell(line));
  }
  if (mark.duration && longest.count() > 0) {
    rows += row(cell(
        barOf(static_cast<double>(mark.duration->count()) / static_cast<double>(longest.count()),
              style)));
  }
  if (!style.brief) {
    for (const std::string& line : reasonLines(mark.reason)) {
      rows += row(cell(font(escapedForHtml(line), style.smallFontSize, Colours::kFaintInk)));
    }
  }
  return rows;
}

std::string labelInFull(const std::string& name, const Signs& signs, const RunMark* mark,
                        std::chrono::nanoseconds longest, const PictureStyle& style) {
  std::string rows = row(cell(nameMarkup(name, signs, style)));
  if (const std::string chips = chipsOf(signs, style); !chips.empty()) {
    rows += row(cell(table(row(chips), "2")));
  }
  if (mark != nullptr) {
    rows += runRows(*mark, longest, style);
  }
  return table(rows, "1");
}

std::string labelInBrief(const std::string& name, const Signs& signs, const RunMark* mark,
                         std::chrono::nanoseconds longest, const PictureStyle& style) {
  std::string cells = cell(nameMarkup(name, signs, style)) + chipsOf(signs, style);
  if (mark != nullptr) {
    if (const std::string line = outcomeLine(*mark, style); !line.empty()) {
      cells += cell(line);
    }
  }
  const std::string bar = mark == nullptr ? std::string() : runRows(*mark, longest, style);
  const std::string line = table(row(cells), "2");
  return bar.empty() ? line : table(row(cell(line)) + bar);
}

std::string_view shapeOf(const Signs& signs) {
  if (signs.contains(Sign::kSideChainStart)) {
    return "cds";
  }
  if (signs.contains(Sign::kForkStart)) {
    return "house";
  }
  return signs.contains(Sign::kMerge) ? "invhouse" : "box";
}

}  // namespace

Signs signsOf(const SnapshotModule& module, const DrawnModule& drawn, const RunMark* mark) {
  Signs signs;
  const auto addIf = [&signs](bool shows, Sign sign) {
    if (shows) {
      signs.insert(sign);
    }
  };
  if (module.flags) {
    signs.insert(module.flags->consistent ? Sign::kConsistent : Sign::kInconsistent);
    addIf(!module.flags->active, Sign::kInactive);
    addIf(!module.flags->inputOk, Sign::kInputNotOk);
    addIf(module.flags->frozen, Sign::kFrozen);
    addIf(module.flags->skipped, Sign::kSkipped);
  } else {
    signs.insert(Sign::kStateUnknown);
  }
  addIf(module.additional, Sign::kAdditional);
  addIf(!module.exists, Sign::kNotThere);
  addIf(module.startOfSideChain, Sign::kSideChainStart);
  addIf(drawn.startsFork, Sign::kForkStart);
  addIf(drawn.merges, Sign::kMerge);
  addIf(drawn.recordMissing, Sign::kNoRecord);
  addIf(module.recordCount > 1, Sign::kSeveralRecords);
  addIf(mark != nullptr && mark->failed, Sign::kFailed);
  addIf(mark != nullptr && mark->duration, Sign::kDuration);
  return signs;
}

DotAttributes nodeOf(const Signs& signs) {
  const bool isBroken = signs.contains(Sign::kInactive) || signs.contains(Sign::kNotThere);
  DotAttributes node;
  node.set("shape", shapeOf(signs));
  node.set("style", isBroken ? "rounded,filled,dashed" : "rounded,filled");
  if (signs.contains(Sign::kInconsistent)) {
    node.set("fillcolor", "#f6bc66").set("color", "#7a4a00").set("penwidth", "1.6");
  } else if (signs.contains(Sign::kConsistent)) {
    node.set("fillcolor", "#e3eef9").set("color", "#4a76a8").set("penwidth", "1.1");
  } else {
    node.set("fillcolor", Colours::kPaper).set("color", "#8290a3").set("penwidth", "1.1");
  }
  return node;
}

std::string chipOf(Sign sign, const PictureStyle& style) {
  const auto* const chip =
      std::find_if(kChips.begin(), kChips.end(),
                   [sign](const Chip& candidate) { return candidate.sign == sign; });
  return chip == kChips.end() ? std::string() : markupOf(*chip, style);
}

std::string labelOf(const std::string& name, const Signs& signs, const RunMark* mark,
                    std::chrono::nanoseconds longest, const PictureStyle& style) {
  return style.brief ? labelInBrief(name, signs, mark, longest, style)
                     : labelInFull(name, signs, mark, longest, style);
}

std::string barOf(double share, const PictureStyle& style) {
  const int filled =
      std::clamp(static_cast<int>(std::lround(share * style.longestBar)), 1, style.longestBar);
  const auto part = [](int width, std::string_view colour) {
    return width == 0 ? std::string()
                      : "<TD FIXEDSIZE=\"TRUE\" WIDTH=\"" + std::to_string(width) +
                            "\" HEIGHT=\"3\" BGCOLOR=\"" + std::string(colour) + "\"></TD>";
  };
  return table(
      row(part(filled, Colours::kBar) + part(style.longestBar - filled, Colours::kBarGround)));
}

std::string durationText(std::chrono::nanoseconds duration) {
  struct Unit {
    std::string_view name;
    double nanoseconds;
  };
  constexpr std::array kUnits{Unit{"ns", 1}, Unit{"\xC2\xB5s", 1e3}, Unit{"ms", 1e6},
                              Unit{"s", 1e9}};
  const auto count = static_cast<double>(duration.count());
  if (count >= 59.95e9) {
    const long long seconds = std::llround(count / 1e9);
    return std::to_string(seconds / 60) + " min " + std::to_string(seconds % 60) + " s";
  }
  // 999.5 of a unit would be written as 1e+03.
  const auto* const unit = std::find_if(kUnits.begin(), kUnits.end() - 1, [count](const Unit& u) {
    return count < 999.5 * u.nanoseconds;
  });
  std::array<char, 32> number{};
  std::snprintf(number.data(), number.size(), "%.3g", count / unit->nanoseconds);
  return number.data() + (' ' + std::string(unit->name));
}

}  // namespace Tessaril::Diagnostics
