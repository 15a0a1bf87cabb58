#include "diagnostics/picture/Tooltip.h"

#include "diagnostics/graph/DisplayText.h"

namespace Tessaril::Diagnostics {
namespace {

std::string flagsLine(const SnapshotFlags& flags) {
  std::string line = flags.active ? "active" : "inactive";
  line += flags.consistent ? ", consistent" : ", inconsistent";
  line += flags.inputOk ? ", input ok" : ", input not ok";
  line += flags.frozen ? ", frozen" : "";
  line += flags.skipped ? ", skipped" : "";
  return line;
}

std::string chainLine(const SnapshotModule& module, const Signs& signs, const ChainNames& chains) {
  std::string line = "on " + chains.nameOf(module.chainId);
  if (signs.contains(Sign::kSideChainStart)) {
    line += ", starts a side chain of " + chains.nameOf(module.startChainId);
  } else if (signs.contains(Sign::kForkStart)) {
    line += ", starts a fork of " + chains.nameOf(module.startChainId);
  } else if (signs.contains(Sign::kMerge)) {
    line += ", a merge";
  }
  return line;
}

std::string runLine(const RunMark& mark) {
  std::string line = "last run: " + mark.outcome;
  if (mark.duration) {
    line += ", " + durationText(*mark.duration);
  }
  return mark.reason.empty() ? line : line + ": " + mark.reason;
}

void addLine(std::string& text, const std::string& line) {
  if (!line.empty()) {
    text += (text.empty() ? "" : "\n") + cleanText(line);
  }
}

}  // namespace

std::string tooltipOf(const SnapshotModule& module, const Signs& signs, const RunMark* mark,
                      const ChainNames& chains) {
  std::string text;
  addLine(text, module.name);
  addLine(text, module.className);
  if (module.flags) {
    addLine(text, flagsLine(*module.flags));
  }
  if (module.insertMode) {
    addLine(text, chainLine(module, signs, chains));
  }
  addLine(text, module.additional ? "additional module" : "");
  addLine(text, module.exists ? "" : "named by a record, but not there");
  addLine(text, signs.contains(Sign::kNoRecord) ? "named by a record, without one of its own" : "");
  if (mark != nullptr) {
    addLine(text, runLine(*mark));
  }
  return text;
}

}  // namespace Tessaril::Diagnostics
