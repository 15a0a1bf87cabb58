#include "diagnostics/picture/ModuleLook.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "diagnostics/graph/DisplayText.h"
#include "diagnostics/run/TextTable.h"

namespace Tessaril::Diagnostics {
namespace {

constexpr std::size_t kReasonWidth = 30;
constexpr std::size_t kMostReasonLines = 4;

struct Chip {
  Sign sign;
  std::string_view word;
  std::string_view letter;
  std::string_view ground;
  std::string_view ink;
};

constexpr std::array kChips{
    Chip{Sign::kInconsistent, "inconsistent", "!", "", "#5c3800"},
    Chip{Sign::kInputNotOk, "input not ok", "I", Colours::kAlarm, Colours::kPaper},
    Chip{Sign::kFrozen, "frozen", "F", "#1f4e8c", Colours::kPaper},
    Chip{Sign::kSkipped, "skipped", "S", "#475569", Colours::kPaper},
    Chip{Sign::kInactive, "inactive", "", "", Colours::kFaintInk},
    Chip{Sign::kAdditional, "additional", "A", "#d5dde8", Colours::kInk},
    Chip{Sign::kNotThere, "not there", "?", Colours::kInk, Colours::kPaper},
    Chip{Sign::kNoRecord, "no record", "N", "#d5dde8", Colours::kInk},
    Chip{Sign::kSeveralRecords, "several records", "R", "#d5dde8", Colours::kInk},
    Chip{Sign::kExecuted, "executed", "E", "#0f766e", Colours::kPaper},
    Chip{Sign::kFailed, "failed", "X", Colours::kAlarm, Colours::kPaper},
};

std::string attribute(std::string_view name, std::string_view value) {
  return std::string(name) + "=\"" + std::string(value) + "\" ";
}

std::string markupOf(const Chip& chip, const PictureStyle& style, std::string_view word) {
  const std::string_view text = style.brief ? chip.letter : word;
  if (text.empty()) {
    return {};
  }
  const std::string ground =
      chip.ground.empty() ? std::string() : attribute("BGCOLOR", chip.ground);
  return cellMarkup(fontMarkup(text, style.smallFontSize, chip.ink),
                    ground + attribute("CELLPADDING", style.brief ? "1" : "2"));
}

/// What the run did is said in the run's own word.
std::string chipsOf(const Signs& signs, const RunMark* mark, const PictureStyle& style) {
  std::string cells;
  for (const Chip& chip : kChips) {
    if (signs.contains(chip.sign)) {
      const bool hasOwnWord =
          (chip.sign == Sign::kExecuted || chip.sign == Sign::kFailed) && !mark->outcome.empty();
      cells +=
          markupOf(chip, style,
                   hasOwnWord ? escapedForHtml(cleanText(mark->outcome)) : std::string(chip.word));
    }
  }
  return cells;
}

std::string nameMarkup(const std::string& name, const Signs& signs, const PictureStyle& style) {
  std::string markup = "<B>" + escapedForHtml(name.empty() ? "(no name)" : name) + "</B>";
  if (signs.contains(Sign::kSkipped)) {
    markup = "<S>" + markup + "</S>";
  }
  const bool isFaint = signs.contains(Sign::kInactive) || signs.contains(Sign::kNotThere);
  return fontMarkup(markup, style.fontSize, isFaint ? Colours::kFaintInk : Colours::kInk);
}

std::string outcomeLine(const RunMark& mark, const PictureStyle& style) {
  const std::string outcome = escapedForHtml(cleanText(mark.outcome));
  std::string line;
  if (mark.effect == RunEffect::kNone && !style.brief) {
    line = outcome;
  }
  if (mark.duration) {
    line += (line.empty() ? "" : "  ") + durationText(*mark.duration);
  }
  return line.empty() ? line : fontMarkup(line, style.smallFontSize, Colours::kInk);
}

std::vector<std::string> reasonLines(const std::string& reason) {
  if (reason.empty()) {
    return {};
  }
  std::vector<std::string> lines = brokenInto(kReasonWidth, cleanText(reason));
  std::erase(lines, std::string());
  if (lines.size() > kMostReasonLines) {
    lines.resize(kMostReasonLines);
    lines.back() += " \xE2\x80\xA6";
  }
  return lines;
}

std::string barRow(const RunMark& mark, Microseconds longest, const PictureStyle& style) {
  if (!mark.duration || longest <= Microseconds{0.0}) {
    return {};
  }
  return rowMarkup(cellMarkup(barOf(*mark.duration / longest, style.longestBar), R"(HEIGHT="7")"));
}

std::string runRows(const RunMark& mark, Microseconds longest, const PictureStyle& style) {
  std::string rows;
  if (const std::string line = outcomeLine(mark, style); !line.empty()) {
    rows += rowMarkup(cellMarkup(line));
  }
  rows += barRow(mark, longest, style);
  for (const std::string& line : reasonLines(mark.reason)) {
    rows += rowMarkup(
        cellMarkup(fontMarkup(escapedForHtml(line), style.smallFontSize, Colours::kFaintInk)));
  }
  return rows;
}

/// Which kind of step this is in the shape of the graph, above the name.
std::string captionRow(const Signs& signs, const PictureStyle& style) {
  std::string caption;
  for (const auto& [sign, word] :
       {std::pair(Sign::kSideChainStart, "side chain"), std::pair(Sign::kForkStart, "fork"),
        std::pair(Sign::kMerge, "merge")}) {
    if (signs.contains(sign)) {
      caption += (caption.empty() ? "" : " \xC2\xB7 ") + std::string(word);
    }
  }
  return caption.empty()
             ? caption
             : rowMarkup(cellMarkup(fontMarkup(caption, style.smallFontSize, Colours::kFaintInk)));
}

std::string contentInFull(const std::string& name, const Signs& signs, const RunMark* mark,
                          Microseconds longest, const PictureStyle& style) {
  std::string rows =
      captionRow(signs, style) + rowMarkup(cellMarkup(nameMarkup(name, signs, style)));
  if (const std::string chips = chipsOf(signs, mark, style); !chips.empty()) {
    rows += rowMarkup(cellMarkup(tableMarkup(rowMarkup(chips), "2")));
  }
  if (mark != nullptr) {
    rows += runRows(*mark, longest, style);
  }
  return tableMarkup(rows, "1");
}

std::string contentInBrief(const std::string& name, const Signs& signs, const RunMark* mark,
                           Microseconds longest, const PictureStyle& style) {
  std::string cells = cellMarkup(nameMarkup(name, signs, style)) + chipsOf(signs, mark, style);
  if (mark == nullptr) {
    return tableMarkup(rowMarkup(cells), "2");
  }
  if (const std::string line = outcomeLine(*mark, style); !line.empty()) {
    cells += cellMarkup(line);
  }
  const std::string bar = barRow(*mark, longest, style);
  const std::string line = tableMarkup(rowMarkup(cells), "2");
  return bar.empty() ? line : tableMarkup(rowMarkup(cellMarkup(line)) + bar);
}

struct Fill {
  std::string_view ground;
  std::string_view outline;
  std::string_view outlineWidth;
};

Fill fillOf(const Signs& signs) {
  if (signs.contains(Sign::kInconsistent)) {
    return {"#f6c176", "#7a4a00", "2"};
  }
  return signs.contains(Sign::kConsistent) ? Fill{"#e6f0fa", "#4a76a8", "1"}
                                           : Fill{Colours::kPaper, "#8290a3", "1"};
}

/// The sides at which a bar says how the module sits in the graph: at the left, a chain begins;
/// at the right as well, and it leads back; on top, chains meet.
std::string barSidesOf(const Signs& signs) {
  const bool isForkStart = signs.contains(Sign::kForkStart);
  std::string sides = signs.contains(Sign::kMerge) ? "T" : "";
  sides += isForkStart || signs.contains(Sign::kSideChainStart) ? "L" : "";
  sides += isForkStart ? "R" : "";
  return sides;
}

std::string box(std::string_view content, const Signs& signs, std::string_view size) {
  const Fill fill = fillOf(signs);
  const bool isBroken = signs.contains(Sign::kInactive) || signs.contains(Sign::kNotThere);
  const std::string sides = barSidesOf(signs);
  const std::string bars = sides.empty() ? std::string()
                                         : attribute("BORDER", "3") + attribute("SIDES", sides) +
                                               attribute("COLOR", Colours::kMainLine) +
                                               attribute("CELLPADDING", "4");
  return "<TABLE " + attribute("BORDER", fill.outlineWidth) + attribute("CELLBORDER", "0") +
         attribute("CELLSPACING", "3") + attribute("CELLPADDING", "1") +
         attribute("STYLE", isBroken ? "ROUNDED,DASHED" : "ROUNDED") +
         attribute("BGCOLOR", fill.ground) + attribute("COLOR", fill.outline) + ">" +
         rowMarkup(cellMarkup(content, bars + std::string(size))) + "</TABLE>";
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
  addIf(mark != nullptr && mark->effect == RunEffect::kExecuted, Sign::kExecuted);
  addIf(mark != nullptr && mark->effect == RunEffect::kFailed, Sign::kFailed);
  addIf(mark != nullptr && mark->duration, Sign::kDuration);
  return signs;
}

std::string chipOf(Sign sign, const PictureStyle& style) {
  const auto* const chip =
      std::find_if(kChips.begin(), kChips.end(),
                   [sign](const Chip& candidate) { return candidate.sign == sign; });
  return chip == kChips.end() ? std::string() : markupOf(*chip, style, chip->word);
}

std::string boxOf(const std::string& name, const Signs& signs, const RunMark* mark,
                  Microseconds longest, const PictureStyle& style) {
  return box(style.brief ? contentInBrief(name, signs, mark, longest, style)
                         : contentInFull(name, signs, mark, longest, style),
             signs, style.boxSize);
}

std::string sampleBoxOf(const Signs& signs, const PictureStyle& style) {
  return box({}, signs, style.sampleBoxSize);
}

std::string barOf(double share, int width) {
  const int filled = std::clamp(static_cast<int>(std::lround(share * width)), 1, width);
  const auto part = [](int length, std::string_view colour) {
    return length == 0
               ? std::string()
               : cellMarkup("", attribute("FIXEDSIZE", "TRUE") +
                                    attribute("WIDTH", std::to_string(length)) +
                                    attribute("HEIGHT", "3") + attribute("BGCOLOR", colour));
  };
  return "<TABLE BORDER=\"0\" CELLBORDER=\"0\" CELLPADDING=\"0\" CELLSPACING=\"0\" "
         "FIXEDSIZE=\"TRUE\" HEIGHT=\"3\" " +
         attribute("WIDTH", std::to_string(width)) + ">" +
         rowMarkup(part(filled, Colours::kBar) + part(width - filled, Colours::kBarGround)) +
         "</TABLE>";
}

}  // namespace Tessaril::Diagnostics
