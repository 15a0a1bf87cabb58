#include "diagnostics/run/PresentRun.h"

#include <algorithm>
#include <utility>

#include "tessaril/commands/ApplyModuleDataInterface.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/platform/command_pattern/CommandBase.h"

namespace Tessaril::Diagnostics {

ApplyUpdateInfo messagesOf(const std::shared_ptr<CommandBase>& command,
                           const ApplyUpdateInfo& otherwise) {
  auto* data = dynamic_cast<ApplyModuleDataInterface*>(command.get());
  return data == nullptr ? otherwise : data->getUpdateInfo();
}

PresentRun::PresentRun(RunReport::Kind kind, const std::string& description, const RunRange& range)
    : end(range.end), ownThread(std::this_thread::get_id()) {
  report.kind = kind;
  report.description = description;
}

void PresentRun::addModules(const std::vector<RangeModule>& members) {
  for (const RangeModule& member : members) {
    addModule(member);
  }
  for (std::size_t i = 0; i < members.size(); ++i) {
    for (const auto& link : members[i].module->getNextApplyModules()) {
      if (const auto following = find(link.lock())) {
        report.modules[i].next.push_back(*following);
      }
    }
  }
}

std::size_t PresentRun::addModule(RangeModule member) {
  const std::size_t index = report.modules.size();
  indices.emplace(member.module.get(), index);
  ReportedModule& added = report.modules.emplace_back();
  added.name = std::move(member.name);
  added.place = member.place;
  added.module = member.module;
  return index;
}

std::optional<std::size_t> PresentRun::find(const ModulePtr& module) const {
  const auto place = indices.find(module.get());
  return place == indices.end() ? std::nullopt : std::optional(place->second);
}

std::size_t PresentRun::addStep(const ModulePtr& module, Deed deed, const Inquiry& inquiry) {
  RunStep added;
  added.module = indices.at(module.get());
  added.deed = deed;
  added.answers = inquiry.answers;
  added.flags = inquiry.flags;
  report.steps.push_back(std::move(added));
  tracks.emplace_back();
  const std::size_t index = tracks.size() - 1;
  if (deed != Deed::Signalled && deed != Deed::MessageHandled) {
    decision = index;
  }
  isEndedByUpdate = isEndedByUpdate || deed == Deed::Suppressed || deed == Deed::Cancelled;
  return index;
}

void PresentRun::setCommand(std::size_t index, const CommandPtr& owner,
                            const CommandBase* command) {
  tracks[index].owner = owner;
  tracks[index].command = command;
  openSteps[command] = index;
}

bool PresentRun::isOf(std::size_t index, const CommandPtr& command) const {
  return tracks[index].owner.lock() == command;
}

std::optional<std::size_t> PresentRun::findStep(const CommandBase& command) const {
  const auto place = openSteps.find(&command);
  return place == openSteps.end() ? std::nullopt : std::optional(place->second);
}

void PresentRun::beginStep(std::size_t index, TimePoint now) {
  if (!std::exchange(tracks[index].hasBegun, true)) {
    report.steps[index].begin = since(now);
    report.steps[index].thread = threadNumber();
  }
}

void PresentRun::endStep(std::size_t index, TimePoint now) {
  RunStep& ended = report.steps[index];
  if (ended.begin && !ended.duration) {
    ended.duration = since(now) - *ended.begin;
  }
  const auto place = openSteps.find(tracks[index].command);
  if (place != openSteps.end() && place->second == index) {
    openSteps.erase(place);
  }
}

void PresentRun::closeAutoApply(TimePoint now) {
  if (openAutoApply) {
    endStep(*openAutoApply, now);
    report.steps[*openAutoApply].durationIsBound = true;
    messages = presentMessages();
    openAutoApply.reset();
  }
}

ApplyUpdateInfo PresentRun::presentMessages() const {
  return openAutoApply ? messagesOf(tracks[*openAutoApply].owner.lock(), messages) : messages;
}

unsigned PresentRun::threadNumber() {
  if (isOnOwnThread()) {
    return 0;
  }
  auto place = std::find(workers.begin(), workers.end(), std::this_thread::get_id());
  if (place == workers.end()) {
    place = workers.insert(place, std::this_thread::get_id());
  }
  return static_cast<unsigned>(place - workers.begin()) + 1;
}

bool PresentRun::hasStep(Deed deed) const {
  return std::any_of(report.steps.begin(), report.steps.end(),
                     [deed](const RunStep& one) { return one.deed == deed; });
}

bool PresentRun::hasStopped() const { return !report.failure.empty() || isEndedByUpdate; }

// The end

void PresentRun::complete(const std::vector<CommandPtr>& executed,
                          const std::optional<std::string>& thrown) {
  if (thrown) {
    report.failure = *thrown;
  }
  if (report.kind == RunReport::Kind::Run) {
    findFailures(executed, thrown);
    addStepWithoutCommand(thrown);
    addUntouched();
    noteChangesBefore();
  }
  report.outcome = outcome(thrown.has_value());
}

namespace {

bool isApply(const RunStep& step) {
  return step.deed == Deed::FullApply || step.deed == Deed::AutoApply;
}

}  // namespace

/// A command that was executed, but is not in the update's list, has failed.
void PresentRun::findFailures(const std::vector<CommandPtr>& executed,
                              const std::optional<std::string>& thrown) {
  const std::unordered_set<CommandPtr> listed(executed.begin(), executed.end());
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    RunStep& one = report.steps[i];
    if (isApply(one) && one.begin && one.failure.empty() &&
        !listed.contains(tracks[i].owner.lock())) {
      const bool isLast = i + 1 == tracks.size();
      one.failure = isLast && thrown ? *thrown : "failed; the log says why";
    }
  }
}

/// A full apply was due, but nothing was prepared for it: no command was made, or what makes or
/// prepares it threw.
void PresentRun::addStepWithoutCommand(const std::optional<std::string>& thrown) {
  if (dueModule) {
    RunStep& added = report.steps.emplace_back();
    added.module = *dueModule;
    added.deed = Deed::NoApplyCommand;
    added.failure = report.announced.empty() ? thrown.value_or(std::string()) : std::string();
  }
}

void PresentRun::addUntouched() {
  std::vector<bool> isTouched(report.modules.size(), false);
  for (const RunStep& one : report.steps) {
    isTouched[one.module] = true;
  }
  for (std::size_t m = 0; m < report.modules.size(); ++m) {
    if (!isTouched[m]) {
      report.steps.emplace_back().module = m;
    }
  }
}

/// For each module its last apply, as a step counted from 1; 0 for none.
std::vector<std::size_t> PresentRun::lastApplies() const {
  std::vector<std::size_t> applied(report.modules.size(), 0);
  for (std::size_t i = 0; i < report.steps.size(); ++i) {
    if (isApply(report.steps[i]) && report.steps[i].failure.empty()) {
      applied[report.steps[i].module] = i + 1;
    }
  }
  return applied;
}

ChangesBefore::Links PresentRun::previousModules() const {
  ChangesBefore::Links previous(report.modules.size());
  for (std::size_t m = 0; m < previous.size(); ++m) {
    const auto module = report.modules[m].module.lock();
    if (module == nullptr) {
      continue;
    }
    for (const auto& link : module->getPreviousApplyModules()) {
      if (const auto before = find(link.lock())) {
        previous[m].push_back(*before);
      }
    }
  }
  return previous;
}

void PresentRun::noteChangesBefore() {
  ChangesBefore changes(previousModules(), lastApplies());
  for (std::size_t i = 0; i < report.steps.size(); ++i) {
    RunStep& one = report.steps[i];
    if (const std::size_t change = changes.before(one.module, i); change > 0) {
      one.changedBefore = report.steps[change - 1].module;
    }
  }
}

RunReport::Outcome PresentRun::outcome(bool isThrown) const {
  using Outcome = RunReport::Outcome;
  if (isThrown) {
    return Outcome::Thrown;
  }
  if (report.kind != RunReport::Kind::Run) {
    return Outcome::Finished;
  }
  if (report.announced.empty()) {
    return Outcome::Unannounced;
  }
  if (!report.failure.empty()) {
    return isStopped ? Outcome::Stopped : Outcome::Failed;
  }
  if (hasStep(Deed::Suppressed)) {
    return Outcome::Suppressed;
  }
  return hasStep(Deed::Cancelled) ? Outcome::Cancelled : Outcome::Finished;
}

}  // namespace Tessaril::Diagnostics
