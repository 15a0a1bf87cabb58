#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "diagnostics/run/RunReasons.h"
#include "diagnostics/run/RunReport.h"
#include "diagnostics/run/TextTable.h"

// A report as text for people.

namespace Tessaril::Diagnostics {
namespace {

constexpr std::size_t kWidestName = 24;
constexpr std::size_t kWidestTime = 10;

struct Unit {
  double microseconds;
  const char* name;
};

constexpr std::array<Unit, 4> kUnits{{{1e6, "s"}, {1e3, "ms"}, {1.0, "µs"}, {1e-3, "ns"}}};

bool isUntouched(const RunStep& step) {
  return !wasSeen(step.deed) || step.deed == Deed::PassedOver;
}

std::string timeCell(const RunStep& step) {
  if (!step.duration) {
    return {};
  }
  return (step.durationIsBound ? "≤ " : "") + durationText(*step.duration);
}

std::string threadCell(const RunStep& step) {
  if (!step.thread) {
    return {};
  }
  return *step.thread == 0 ? "inline" : "worker " + std::to_string(*step.thread);
}

/// Without the full stop of a sentence, since more is said behind it.
std::string unfinished(std::string sentence) {
  sentence.erase(sentence.find_last_not_of('.') + 1);
  return sentence;
}

std::string reasonCell(const RunStep& step, Place place) {
  std::string text = step.failure.empty() ? "" : "FAILED: " + unfinished(step.failure) + "; ";
  text += step.reason;
  const auto add = [&text](const std::string& words) {
    text += (text.empty() ? "" : "; ") + words;
  };
  const bool saysNeed = step.deed == Deed::FullApply || place == Place::OnTheWay;
  const bool isNamedInReason = step.deed == Deed::MessageHandled ||
                               (saysNeed && step.answers && step.answers->updateInfoRelevant);
  if (!step.received.empty() && !isNamedInReason) {
    add("handed " + joinedNames(step.received));
  }
  if (!step.left.empty() && step.left != step.received) {
    add("leaves " + joinedNames(step.left));
  }
  return text;
}

std::string deedCell(const RunStep& step) {
  return step.failure.empty() ? deedName(step.deed) : deedName(step.deed) + " ✗";
}

std::string rangeText(const RunReport& report) {
  const auto nameOf = [&report](const std::optional<std::size_t>& module) {
    return module ? report.modules[*module].name : "?";
  };
  std::string text = "from " + nameOf(report.start) + " to " + nameOf(report.end);
  if (report.horizon) {
    text += ", horizon " + nameOf(report.horizon);
  }
  return text;
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return text;
}

/// Lines that go on under their beginning.
std::string paragraph(const std::string& beginning, const std::string& text, std::size_t width) {
  const std::size_t indent = displayWidth(beginning);
  std::string result;
  for (const std::string& line : brokenInto(width > indent ? width - indent : 1, text)) {
    result += (result.empty() ? beginning : std::string(indent, ' ')) + line + "\n";
  }
  return result;
}

std::string withoutSteps(const RunReport& report) {
  const bool isWatched =
      std::any_of(report.modules.begin(), report.modules.end(),
                  [](const ReportedModule& module) { return module.commandsWatched; });
  return isWatched ? "Nothing was done.\n"
                   : "No step was seen: the commands of the modules were not watched.\n";
}

std::string heading(const RunReport& report, std::size_t width) {
  const std::string outcome = outcomeName(report.outcome) + " after " +
                              durationText(report.duration) +
                              (report.failure.empty() ? "" : ": " + report.failure);
  return paragraph("", titleOf(report), width) +
         paragraph("", rangeText(report) + "; " + outcome, width);
}

}  // namespace

std::string durationText(Microseconds duration) {
  const double value = duration.count();
  const Unit* unit = &kUnits.back();
  for (const Unit& candidate : kUnits) {
    if (value >= candidate.microseconds) {
      unit = &candidate;
      break;
    }
  }
  if (value == 0.0) {
    unit = &kUnits[2];
  }
  const double scaled = value / unit->microseconds;
  const int digits = scaled < 9.995 ? 2 : scaled < 99.95 ? 1 : 0;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.*f %s", digits, scaled, unit->name);
  return text.data();
}

std::string tableOf(const RunReport& report, const RunTableOptions& options) {
  using Align = TextTable::Align;
  TextTable table({{"#", Align::Right, 0},
                   {"module", Align::Left, kWidestName},
                   {"done", Align::Left, 0},
                   {std::string(kWidestTime - 4, ' ') + "time", Align::Right, 0},
                   {"thread", Align::Left, 0},
                   {"why", Align::Left, 0}},
                  options.width);
  std::size_t number = 0;
  for (const RunStep& step : report.steps) {
    if (!options.withUntouched && isUntouched(step)) {
      continue;
    }
    table.addRow({wasSeen(step.deed) ? std::to_string(++number) : std::string(),
                  report.modules[step.module].name, deedCell(step), timeCell(step),
                  threadCell(step), reasonCell(step, report.modules[step.module].place)});
  }
  const auto inconsistent = stillInconsistent(report);
  return heading(report, options.width) + "\n" +
         (report.steps.empty() ? withoutSteps(report) : table.text()) +
         (inconsistent.empty()
              ? ""
              : "\n" + paragraph("Still inconsistent: ", joined(inconsistent), options.width));
}

std::vector<std::string> stillInconsistent(const RunReport& report) {
  std::vector<std::string> names;
  for (const ReportedModule& module : report.modules) {
    if (!module.consistent.value_or(true)) {
      names.push_back(module.name);
    }
  }
  return names;
}

std::string titleOf(const RunReport& report) {
  switch (report.kind) {
    case RunReport::Kind::Run:
      return report.description;
    case RunReport::Kind::Undo:
      return "Undo of " + report.description;
    case RunReport::Kind::Redo:
      return "Redo of " + report.description;
  }
  return {};
}

bool wasSeen(Deed deed) { return deed != Deed::NotReached && deed != Deed::NotSeen; }

std::string deedName(Deed deed) {
  switch (deed) {
    case Deed::FullApply:
      return "full apply";
    case Deed::AutoApply:
      return "auto apply";
    case Deed::MessageHandled:
      return "message";
    case Deed::Signalled:
      return "signalled";
    case Deed::PassedOver:
      return "passed over";
    case Deed::NoApplyCommand:
    case Deed::NoAutoApplyCommand:
      return "no command";
    case Deed::Suppressed:
      return "suppressed";
    case Deed::Cancelled:
      return "cancelled";
    case Deed::NotReached:
      return "not reached";
    case Deed::NotSeen:
      return "not seen";
    case Deed::Undone:
      return "undone";
    case Deed::Redone:
      return "redone";
    case Deed::ExecutedAgain:
      return "executed again";
  }
  return {};
}

std::string outcomeName(RunReport::Outcome outcome) {
  switch (outcome) {
    case RunReport::Outcome::UnderWay:
      return "under way";
    case RunReport::Outcome::Finished:
      return "finished";
    case RunReport::Outcome::Failed:
      return "failed";
    case RunReport::Outcome::Stopped:
      return "stopped";
    case RunReport::Outcome::Suppressed:
      return "suppressed";
    case RunReport::Outcome::Cancelled:
      return "cancelled";
    case RunReport::Outcome::Thrown:
      return "left by an exception";
    case RunReport::Outcome::Unannounced:
      return "ended without an announcement";
  }
  return {};
}

}  // namespace Tessaril::Diagnostics
