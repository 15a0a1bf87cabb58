#include "diagnostics/run/RunReasons.h"

#include <algorithm>

namespace Tessaril::Diagnostics {
namespace {

/// So many are named in a text.
constexpr std::size_t kMostMessages = 5;

}  // namespace

std::string hindrances(const SnapshotFlags& flags) {
  std::string text;
  const auto add = [&text](bool holds, const char* word) {
    if (holds) {
      text += (text.empty() ? "" : ", ") + std::string(word);
    }
  };
  add(!flags.active, "inactive");
  add(flags.frozen, "frozen");
  add(flags.skipped, "skipped");
  add(!flags.inputOk, "input not ok");
  return text;
}

std::string shortName(const std::string& qualified) {
  const std::size_t arguments = std::min(qualified.find('<'), qualified.size());
  const std::size_t colons = qualified.rfind("::", arguments);
  return colons == std::string::npos ? qualified : qualified.substr(colons + 2);
}

std::string joinedNames(const std::vector<MessageNote>& messages) {
  std::string text;
  for (std::size_t i = 0; i < std::min(messages.size(), kMostMessages); ++i) {
    const MessageNote& message = messages[i];
    text += (text.empty() ? "" : ", ") + shortName(message.name);
    text += message.global.value_or(false) ? " (global)" : "";
    text += message.empty.value_or(false) ? " (empty)" : "";
  }
  if (messages.size() > kMostMessages) {
    text += " and " + std::to_string(messages.size() - kMostMessages) + " more";
  }
  return text;
}

namespace {

std::string inBrackets(const std::string& text) { return text.empty() ? "" : " (" + text + ")"; }

std::string necessity(const PolicyAnswers& answers, const SnapshotFlags& flags) {
  if (answers.applyNecessary) {
    return flags.consistent ? "it asks for an apply" : "out of date";
  }
  return flags.consistent ? "up to date" : "it asks for no apply, though it is inconsistent";
}

std::string concern(const std::vector<MessageNote>& messages) {
  return "messages concern it" + (messages.empty() ? "" : ": " + joinedNames(messages));
}

}  // namespace

std::string needOf(const PolicyAnswers& answers, const SnapshotFlags& flags,
                   const std::vector<MessageNote>& messages) {
  std::string text = necessity(answers, flags);
  if (answers.updateInfoRelevant) {
    text = concern(messages) + (answers.applyNecessary ? "; " + text : "");
  }
  if ((answers.updateInfoRelevant || answers.applyNecessary) && !answers.applyPossible) {
    text += "; but it cannot be applied now" + inBrackets(hindrances(flags));
  }
  return text;
}

std::string noAutoApplyReason(const PolicyAnswers& answers, const SnapshotFlags& flags,
                              bool messagesTravel) {
  if (!answers.autoApplyPossible) {
    return "no auto apply is possible" + inBrackets(hindrances(flags));
  }
  return answers.autoApplyNecessary || messagesTravel ? "an auto apply is due"
                                                      : "no auto apply is needed";
}

namespace {

/// Explains the steps of one report, one after the other.
class Explanation {
 public:
  explicit Explanation(RunReport& runReport) : report(runReport) {}

  void run() {
    for (RunStep& step : report.steps) {
      step.deed = isUnseen(step) ? Deed::NotSeen : step.deed;
      step.reason = reasonOf(step);
      noteOutcome(step);
    }
  }

 private:
  std::string reasonOf(const RunStep& step) const {
    switch (step.deed) {
      case Deed::FullApply:
        return fullApply(step);
      case Deed::AutoApply:
        return autoApply(step);
      case Deed::MessageHandled:
        return "handles a global message: " + joinedNames(step.received);
      case Deed::Signalled:
        return signalled(step);
      case Deed::PassedOver:
        return passedOver(step);
      case Deed::NoApplyCommand:
        return "a full apply was due, but it made no command: the run ends here";
      case Deed::NoAutoApplyCommand:
        return "an auto apply was due, but it made no command";
      case Deed::Suppressed:
        return "the update stops here instead of applying it" + behind(need(step));
      case Deed::Cancelled:
        return "the update was cancelled here";
      case Deed::NotReached:
      case Deed::NotSeen:
        return untouched(step);
      case Deed::Undone:
      case Deed::Redone:
        return {};
      case Deed::ExecutedAgain:
        return "an undo had failed";
    }
    return {};
  }

  static std::string behind(const std::string& text) { return text.empty() ? "" : "; " + text; }

  const std::string& nameOf(std::size_t module) const { return report.modules[module].name; }
  const ReportedModule& moduleOf(const RunStep& step) const { return report.modules[step.module]; }
  std::string endName() const { return report.end ? nameOf(*report.end) : "the end"; }

  /// Nothing on the way.
  std::string whereOffTheWay(Place place) const {
    switch (place) {
      case Place::OnTheWay:
        return {};
      case Place::OffTheWay:
        return "off the way to " + endName();
      case Place::BehindEnd:
        return "behind " + endName();
    }
    return {};
  }

  /// Nothing without answers.
  static std::string need(const RunStep& step) {
    return step.answers && step.flags ? needOf(*step.answers, *step.flags, step.received)
                                      : std::string();
  }

  std::string cause(const RunStep& step) const {
    return step.changedBefore ? nameOf(*step.changedBefore) + " was applied before it"
                              : "nothing it depends on was applied";
  }

  std::string fullApply(const RunStep& step) const {
    if (step.answers && !step.answers->applyNecessary && !step.answers->updateInfoRelevant) {
      return "it asked for an apply, but asked again it does not; " + cause(step);
    }
    const std::string text = need(step);
    return text.empty() ? cause(step) : text + "; " + cause(step);
  }

  std::string autoApply(const RunStep& step) const {
    std::string text;
    if (hasStopped) {
      text = "the run had been stopped";
    } else if (moduleOf(step).place == Place::OnTheWay) {
      text = step.answers && step.flags ? need(step) : "it needs no full apply";
    } else {
      text = whereOffTheWay(moduleOf(step).place);
    }
    return text + "; " + cause(step);
  }

  std::string signalled(const RunStep& step) const {
    if (step.inconsistentBefore) {
      return nameOf(*step.inconsistentBefore) + " before it stayed inconsistent";
    }
    if (openAutoApply) {
      return "told of a change, by the update or by the auto apply of " + nameOf(*openAutoApply);
    }
    if (!step.answers || !step.flags) {
      return "its state may have changed";
    }
    const PolicyAnswers& answers = *step.answers;
    const bool saysThatNothingIsPossible = (answers.applyNecessary || answers.updateInfoRelevant) &&
                                           !answers.applyPossible && !answers.autoApplyPossible;
    return need(step) + (saysThatNothingIsPossible
                             ? std::string()
                             : "; " + noAutoApplyReason(answers, *step.flags, false));
  }

  static std::string passedOver(const RunStep& step) {
    if (!step.answers || !step.flags) {
      return "no full apply is due, and nothing was applied yet";
    }
    const bool wouldBeApplied =
        (step.answers->applyNecessary || step.answers->updateInfoRelevant) &&
        step.answers->applyPossible;
    return wouldBeApplied ? "no full apply was due, but asked again it needs one" : need(step);
  }

  std::string untouched(const RunStep& step) const {
    if (isPastTheEnd(step)) {
      return "the run ended before it";
    }
    const std::string where = whereOffTheWay(moduleOf(step).place);
    return where + (where.empty() ? "" : "; ") +
           (mayHaveBeenReached(step) ? unseen(step) : cause(step));
  }

  bool isPastTheEnd(const RunStep& step) const {
    const bool hasEndedEarly =
        report.outcome != RunReport::Outcome::Finished || endedWithoutCommand;
    return report.outcome == RunReport::Outcome::Thrown ||
           (moduleOf(step).place == Place::OnTheWay && hasEndedEarly);
  }

  bool mayHaveBeenReached(const RunStep& step) const {
    return moduleOf(step).place == Place::OnTheWay || step.changedBefore;
  }

  static std::string unseen(const RunStep& step) {
    return step.deed == Deed::NotSeen
               ? "it made no command, or was not reached"
               : "it waits on or behind a cycle, or for what stayed inconsistent";
  }

  /// An auto apply that made no command leaves no trace where nobody watched.
  bool isUnseen(const RunStep& step) const {
    return step.deed == Deed::NotReached && !moduleOf(step).commandsWatched &&
           !isPastTheEnd(step) && mayHaveBeenReached(step);
  }

  void noteOutcome(const RunStep& step) {
    switch (step.deed) {
      case Deed::FullApply:
        hasStopped = hasStopped || !step.failure.empty();
        break;
      case Deed::Suppressed:
      case Deed::Cancelled:
        hasStopped = true;
        break;
      case Deed::NoApplyCommand:
        endedWithoutCommand = true;
        break;
      default:
        break;
    }
    if (step.deed != Deed::Signalled) {
      const bool isAutoApply = step.deed == Deed::AutoApply;
      openAutoApply =
          isAutoApply && step.durationIsBound ? std::optional(step.module) : std::nullopt;
    }
  }

  RunReport& report;
  bool hasStopped = false;
  bool endedWithoutCommand = false;
  std::optional<std::size_t> openAutoApply;
};

}  // namespace

void explainSteps(RunReport& report) { Explanation(report).run(); }

}  // namespace Tessaril::Diagnostics
