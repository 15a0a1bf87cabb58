#include "diagnostics/run/RunReasons.h"

#include <algorithm>

namespace Tessaril::Diagnostics {

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
  for (const MessageNote& message : messages) {
    text += (text.empty() ? "" : ", ") + shortName(message.name);
    text += message.global.value_or(false) ? " (global)" : "";
    text += message.empty.value_or(false) ? " (empty)" : "";
  }
  return text;
}

namespace {

std::string inBrackets(const std::string& text) { return text.empty() ? "" : " (" + text + ")"; }

std::string necessity(const PolicyAnswers& answers, const SnapshotFlags& flags) {
  if (answers.applyNecessary) {
    return flags.consistent ? "it asks for an apply" : "its result does not match its inputs";
  }
  return flags.consistent ? "its result matches its inputs"
                          : "it asks for no apply, though it is inconsistent";
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
        return "a full apply was due, but no command was made for it: the run ends here";
      case Deed::NoAutoApplyCommand:
        return noAutoApplyCommand(step);
      case Deed::Suppressed:
        return "the update stops here instead of applying it" + behind(need(step));
      case Deed::Cancelled:
        return "the update was cancelled here";
      case Deed::NotReached:
        return notReached(step);
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

  /// Nothing without answers.
  static std::string need(const RunStep& step) {
    return step.answers && step.flags ? needOf(*step.answers, *step.flags, step.received)
                                      : std::string();
  }

  std::string cause(const RunStep& step) const {
    return step.changedBefore ? nameOf(*step.changedBefore) + " before it was applied"
                              : "nothing before it was applied in this run";
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
    } else if (moduleOf(step).place == Place::BehindEnd) {
      text = "behind " + endName();
    } else {
      text = "off the way to " + endName();
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

  std::string noAutoApplyCommand(const RunStep& step) const {
    return "an auto apply was due, but no command was made for it" + behind(need(step));
  }

  std::string notReached(const RunStep& step) const {
    const ReportedModule& module = moduleOf(step);
    if (report.outcome == RunReport::Outcome::Thrown ||
        (module.place == Place::OnTheWay && hasEndedEarly())) {
      return "the run ended before it";
    }
    if (module.place == Place::OnTheWay) {
      return unseen(module);
    }
    const std::string where =
        module.place == Place::BehindEnd ? "behind " + endName() : "off the way to " + endName();
    return where + "; " + (step.changedBefore ? unseen(module) : cause(step));
  }

  bool hasEndedEarly() const {
    return report.outcome != RunReport::Outcome::Finished || endedWithoutCommand;
  }

  static std::string unseen(const ReportedModule& module) {
    return module.commandsWatched
               ? "what is before it stayed inconsistent, or it waits on or behind a cycle"
               : "nothing was seen of it: its auto apply made no command, or it was not reached";
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
