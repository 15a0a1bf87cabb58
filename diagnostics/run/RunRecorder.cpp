#include "diagnostics/run/RunRecorder.h"

#include <algorithm>
#include <mutex>
#include <stdexcept>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "diagnostics/run/PresentRun.h"
#include "diagnostics/run/RunReasons.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/platform/command_pattern/CommandBase.h"
#include "tessaril/platform/command_pattern/CommandStopped.h"
#include "tessaril/platform/signals/Signal.h"

// How a run is read from outside. The update asks its hooks in a fixed order, which tells what it
// decided:
//
// 1. isApplySuppressed(m): m needs a full apply. If a command is prepared for m next, it is that of
//    the full apply; if nothing is, m made no command.
// 2. shouldApplyChainBeCanceled(m): after a full apply (or a run before) about its module, else m
//    is passed over before the first full apply.
// 3. A command that is prepared without 1 is that of an auto apply, executed at once.
// 4. A signal that neither a command nor the update's own code sends is the engine's: m is passed
//    over after the first full apply, or follows an auto apply that left its module inconsistent.
//
// No question of the application is asked while the lock is held.

namespace Tessaril::Diagnostics {

using ModulePtr = std::shared_ptr<ApplyModule>;

struct RunRecorder::State {
  explicit State(RunRecorderOptions recorderOptions) : options(std::move(recorderOptions)) {}

  // Require: the lock is held.

  PresentRun* present() { return running.empty() ? nullptr : running.back().get(); }

  std::size_t indexOf(PresentRun& run, const ModulePtr& module) {
    if (const auto index = run.find(module)) {
      return *index;
    }
    const std::size_t number = run.report.modules.size() + 1;
    const std::size_t index = run.addModule(
        {module, moduleName(*module, nullptr, options.nameModule, number), Place::OffTheWay});
    run.report.modules[index].commandsWatched = watched.contains(module.get());
    return index;
  }

  std::size_t addStep(PresentRun& run, const ModulePtr& module, Deed deed, const Inquiry& inquiry) {
    indexOf(run, module);
    return run.addStep(module, deed, inquiry);
  }

  // Require: the lock is not held, since the application is asked.

  /// What a question answers; nothing where it throws: a run that is looked at must not fail for
  /// that. Signals that the answer sends are not the engine's.
  template <typename Question>
  auto ask(const Question& question) -> std::optional<decltype(question())> {
    enterApplication(1);
    std::optional<decltype(question())> answer;
    try {
      answer = question();
    } catch (...) {
      answer.reset();
    }
    enterApplication(-1);
    return answer;
  }

  void enterApplication(int change) {
    const std::lock_guard lock(mutex);
    if (PresentRun* const run = present()) {
      run->hooks += change;
    }
  }

  Inquiry inquire(const ModulePtr& module) {
    if (!options.askAgain) {
      return {};
    }
    const auto [info, isEnd] = circumstances(module);
    Inquiry inquiry;
    inquiry.flags = ask([&] { return flagsOf(*module); });
    inquiry.answers =
        ask([&, &info = info, &isEnd = isEnd] { return askModule(*module, info, isEnd); });
    return inquiry;
  }

  std::vector<MessageNote> note(const ApplyUpdateInfo& info) {
    return ask([&] { return notesOf(info, options.nameMessage, options.askAgain); })
        .value_or(std::vector<MessageNote>());
  }

  /// The messages as they stand, and whether the module is the end.
  std::pair<ApplyUpdateInfo, bool> circumstances(const ModulePtr& module) {
    const std::lock_guard lock(mutex);
    const PresentRun* const run = present();
    return run == nullptr ? std::pair(ApplyUpdateInfo(), false)
                          : std::pair(run->presentMessages(), run->isEnd(module));
  }

  const RunRecorderOptions options;
  mutable std::mutex mutex;
  std::vector<RunReport> done;
  /// The last one is the present one; those before it have started it.
  std::vector<std::unique_ptr<PresentRun>> running;
  std::size_t runsBegun = 0;
  /// How many watched factories serve the module.
  std::unordered_map<const ApplyModule*, int> watched;
};

RunRecorder::RunRecorder(RunRecorderOptions options)
    : state(std::make_unique<State>(std::move(options))) {}

RunRecorder::~RunRecorder() = default;

std::vector<RunReport> RunRecorder::getReports() const {
  const std::lock_guard lock(state->mutex);
  return state->done;
}

RunReport RunRecorder::getLastReport() const {
  const std::lock_guard lock(state->mutex);
  if (state->done.empty()) {
    throw std::logic_error("no run has ended that a report could tell of");
  }
  return state->done.back();
}

std::optional<RunReport> RunRecorder::getPresentReport() const {
  const std::lock_guard lock(state->mutex);
  PresentRun* const run = state->present();
  if (run == nullptr) {
    return std::nullopt;
  }
  RunReport report = run->report;
  report.duration = run->since(state->options.now());
  return report;
}

void RunRecorder::forgetReports() {
  const std::lock_guard lock(state->mutex);
  state->done.clear();
}

// The beginning of a run

void RunRecorder::beginRun(RunReport::Kind kind, const std::string& description,
                           const RunRange& range) {
  auto run = std::make_unique<PresentRun>(kind, description, range);
  const auto members = modulesOf(range, state->options.nameModule);
  run->addModules(members);
  for (std::size_t i = 0; i < members.size() && state->options.askAgain; ++i) {
    run->report.modules[i].speedRate =
        state->ask([&] { return static_cast<int>(members[i].module->getSpeedRate()); });
  }
  run->report.start = run->find(range.start.lock());
  run->report.end = run->find(range.end.lock());
  run->report.horizon = run->find(range.horizon.lock());
  const std::lock_guard lock(state->mutex);
  for (std::size_t i = 0; i < members.size(); ++i) {
    run->report.modules[i].commandsWatched = state->watched.contains(members[i].module.get());
  }
  run->number = ++state->runsBegun;
  run->begin = state->options.now();
  state->running.push_back(std::move(run));
}

void RunRecorder::hearSignals() {
  std::vector<ModulePtr> modules;
  {
    const std::lock_guard lock(state->mutex);
    for (const ReportedModule& reported : state->present()->report.modules) {
      modules.push_back(std::const_pointer_cast<ApplyModule>(reported.module.lock()));
    }
  }
  std::vector<Signals::ScopedConnection> connections;
  connections.reserve(modules.size());
  for (const ModulePtr& module : modules) {
    connections.emplace_back(module->connectToSigStateChanged(Signals::Slot<void()>(
        [this, heard = std::weak_ptr<ApplyModule>(module)] { signalHeard(heard.lock()); })));
  }
  const std::lock_guard lock(state->mutex);
  state->present()->connections = std::move(connections);
}

// Decisions

void RunRecorder::aboutToAskOfLastModule(bool due) {
  const std::lock_guard lock(state->mutex);
  if (PresentRun* const run = state->present()) {
    run->asksOfLastModule = due;
  }
}

void RunRecorder::suppressionAsked(const ModulePtr& module, bool suppressed) {
  const Inquiry inquiry = suppressed ? state->inquire(module) : Inquiry{};
  const std::lock_guard lock(state->mutex);
  PresentRun* const run = state->present();
  if (run == nullptr) {
    return;
  }
  run->closeAutoApply(state->options.now());
  run->asksOfLastModule = false;
  if (suppressed) {
    state->addStep(*run, module, Deed::Suppressed, inquiry);
  } else {
    run->dueModule = state->indexOf(*run, module);
  }
}

void RunRecorder::cancellationAsked(const ModulePtr& module, bool cancelled) {
  {
    const std::lock_guard lock(state->mutex);
    PresentRun* const run = state->present();
    if (run == nullptr) {
      return;
    }
    run->closeAutoApply(state->options.now());
    if (std::exchange(run->asksOfLastModule, false) && !cancelled) {
      return;
    }
  }
  const Inquiry inquiry = state->inquire(module);
  const std::lock_guard lock(state->mutex);
  state->addStep(*state->present(), module, cancelled ? Deed::Cancelled : Deed::PassedOver,
                 inquiry);
}

void RunRecorder::signalHeard(const ModulePtr& module) {
  {
    const std::lock_guard lock(state->mutex);
    const PresentRun* const run = state->present();
    if (module == nullptr || run == nullptr || run->hooks > 0 || run->commands > 0 ||
        run->subCommand || !run->report.announced.empty() || !run->isOnOwnThread()) {
      return;
    }
    // The auto apply itself, which was not watched, may well tell a module twice.
    const bool isRepeated = run->openAutoApply &&
                            run->report.steps.back().deed == Deed::Signalled &&
                            run->report.steps.back().module == run->find(module);
    if (isRepeated) {
      return;
    }
  }
  judgeAutoApply();
  const Inquiry inquiry = state->inquire(module);
  const std::lock_guard lock(state->mutex);
  PresentRun& run = *state->present();
  const std::size_t index = state->addStep(run, module, Deed::Signalled, inquiry);
  if (run.toBeSignalled.erase(module) > 0) {
    run.step(index).inconsistentBefore = run.step(*run.decision).module;
  }
}

// An auto apply off the way, and any auto apply of a stopped run, that leaves its module
// inconsistent has all that follow it signalled, once each.
void RunRecorder::judgeAutoApply() {
  ModulePtr module;
  {
    const std::lock_guard lock(state->mutex);
    PresentRun& run = *state->present();
    if (!run.decision || run.judgedDecision == run.decision) {
      return;
    }
    run.judgedDecision = run.decision;
    run.toBeSignalled.clear();
    const RunStep& step = run.step(*run.decision);
    const ReportedModule& decided = run.report.modules[step.module];
    const bool isAutoApply = step.deed == Deed::AutoApply || step.deed == Deed::NoAutoApplyCommand;
    if (isAutoApply && state->options.askAgain &&
        (decided.place != Place::OnTheWay || run.hasStopped())) {
      module = std::const_pointer_cast<ApplyModule>(decided.module.lock());
    }
  }
  if (module == nullptr || state->ask([&] { return module->isConsistent(); }).value_or(true)) {
    return;
  }
  std::unordered_set<ModulePtr> followers;
  module->gatherAllSuccessors(followers, nullptr);
  const std::lock_guard lock(state->mutex);
  state->present()->toBeSignalled = std::move(followers);
}

void RunRecorder::nothingMade(const ModulePtr& module, Purpose purpose) {
  if (purpose != Purpose::AutoApply || module == nullptr) {
    return;
  }
  const Inquiry inquiry = state->inquire(module);
  const std::lock_guard lock(state->mutex);
  if (PresentRun* const run = state->present()) {
    state->addStep(*run, module, Deed::NoAutoApplyCommand, inquiry);
  }
}

// Commands

void RunRecorder::commandPrepared(const std::shared_ptr<CommandBase>& command,
                                  const ModulePtr& module) {
  {
    const std::lock_guard lock(state->mutex);
    PresentRun* const run = state->present();
    if (run == nullptr) {
      return;
    }
    run->closeAutoApply(state->options.now());
    run->messages = messagesOf(command, run->messages);
  }
  const Inquiry inquiry = state->inquire(module);
  const auto received = state->note(state->circumstances(module).first);
  const std::lock_guard lock(state->mutex);
  PresentRun& run = *state->present();
  const bool isFullApply = run.dueModule == state->indexOf(run, module);
  const std::size_t index =
      state->addStep(run, module, isFullApply ? Deed::FullApply : Deed::AutoApply, inquiry);
  run.step(index).received = received;
  run.setCommand(index, command, command.get());
  if (isFullApply) {
    run.dueModule.reset();
    run.subCommand = index;
  } else {
    // An auto apply is executed at once. One that is watched tells its beginning once more.
    run.beginStep(index, state->options.now());
    run.openAutoApply = index;
  }
}

void RunRecorder::subCommandStarts(const std::shared_ptr<CommandBase>& command, double progress) {
  const std::lock_guard lock(state->mutex);
  PresentRun* const run = state->present();
  if (run != nullptr && run->subCommand && run->isOf(*run->subCommand, command)) {
    run->step(*run->subCommand).progressBefore = progress;
  }
}

RunRecorder::SubCommand RunRecorder::subCommandBegins() {
  const std::lock_guard lock(state->mutex);
  PresentRun* const run = state->present();
  if (run == nullptr || !run->subCommand) {
    return {};
  }
  run->beginStep(*run->subCommand, state->options.now());
  return {run->number, *run->subCommand};
}

void RunRecorder::subCommandEnds(SubCommand subCommand) {
  const std::lock_guard lock(state->mutex);
  for (const auto& run : state->running) {
    if (run->number == subCommand.run) {
      run->endStep(subCommand.step, state->options.now());
    }
  }
}

void RunRecorder::subCommandFinalized(const std::shared_ptr<CommandBase>& command,
                                      double progress) {
  const auto left = state->note(messagesOf(command, {}));
  const std::lock_guard lock(state->mutex);
  PresentRun* const run = state->present();
  if (run == nullptr || !run->subCommand || !run->isOf(*run->subCommand, command)) {
    return;
  }
  run->endStep(*run->subCommand, state->options.now());
  RunStep& step = run->step(*run->subCommand);
  step.left = left;
  step.progressAfter = progress;
  run->messages = messagesOf(command, run->messages);
  run->subCommand.reset();
}

void RunRecorder::subCommandFailed(const std::exception& failure) {
  const std::lock_guard lock(state->mutex);
  PresentRun* const run = state->present();
  if (run == nullptr) {
    return;
  }
  run->isStopped = dynamic_cast<const CommandStopped*>(&failure) != nullptr;
  run->report.failure = failure.what();
  // Where the update's own code failed once the command had ended, the step is the last full apply.
  for (std::size_t i = run->report.steps.size(); i-- > 0;) {
    if (run->step(i).deed == Deed::FullApply) {
      run->endStep(i, state->options.now());
      run->step(i).failure = failure.what();
      break;
    }
  }
  run->subCommand.reset();
}

void RunRecorder::commandBegins(const CommandBase& command, const ModulePtr& module,
                                Purpose purpose, Operation operation, const ApplyUpdateInfo& info) {
  const auto received = state->note(info);
  const std::lock_guard lock(state->mutex);
  PresentRun* const run = state->present();
  if (run == nullptr) {
    return;
  }
  ++run->commands;
  std::optional<std::size_t> index = run->findStep(command);
  const bool isPartOfRun = run->report.kind == RunReport::Kind::Run;
  if (!index && module != nullptr && (!isPartOfRun || purpose == Purpose::Message)) {
    const Deed deed = isPartOfRun                       ? Deed::MessageHandled
                      : operation == Operation::Execute ? Deed::ExecutedAgain
                      : operation == Operation::Undo    ? Deed::Undone
                                                        : Deed::Redone;
    index = state->addStep(*run, module, deed, {});
    run->step(*index).received = received;
    run->setCommand(*index, nullptr, &command);
  }
  if (index) {
    run->beginStep(*index, state->options.now());
  }
}

void RunRecorder::commandEnds(const CommandBase& command, const ApplyUpdateInfo& info,
                              const std::optional<std::string>& failure) {
  const auto left = state->note(info);
  const std::lock_guard lock(state->mutex);
  PresentRun* const run = state->present();
  if (run == nullptr) {
    return;
  }
  run->commands = std::max(0, run->commands - 1);
  const std::optional<std::size_t> index = run->findStep(command);
  if (!index) {
    return;
  }
  run->endStep(*index, state->options.now());
  RunStep& step = run->step(*index);
  step.failure = failure.value_or(std::string());
  if (!failure) {
    step.left = left;
    if (step.deed == Deed::AutoApply) {
      run->messages = info;
    }
  }
  if (run->openAutoApply == index) {
    run->openAutoApply.reset();
  }
}

void RunRecorder::factoryWatched(const ApplyModule* module, int change) {
  const std::lock_guard lock(state->mutex);
  int& count = state->watched[module];
  count += change;
  if (count == 0) {
    state->watched.erase(module);
  }
}

RunRecorder::Hook::Hook(RunRecorder& theRecorder) : recorder(theRecorder) {
  recorder.state->enterApplication(1);
}
RunRecorder::Hook::~Hook() { recorder.state->enterApplication(-1); }

// The end of a run

void RunRecorder::announced(bool success) {
  const std::lock_guard lock(state->mutex);
  if (PresentRun* const run = state->present()) {
    run->closeAutoApply(state->options.now());
    run->report.announced.push_back(success);
  }
}

void RunRecorder::endRun(const std::vector<std::shared_ptr<CommandBase>>& executed,
                         const std::optional<std::string>& thrown) {
  std::unique_ptr<PresentRun> run;
  {
    const std::lock_guard lock(state->mutex);
    if (state->running.empty()) {
      return;
    }
    run = std::move(state->running.back());
    state->running.pop_back();
    const auto now = state->options.now();
    run->closeAutoApply(now);
    run->report.duration = run->since(now);
  }
  run->connections.clear();
  run->complete(executed, thrown);
  RunReport& report = run->report;
  for (ReportedModule& reported : report.modules) {
    const auto module = reported.module.lock();
    if (module != nullptr && state->options.askAgain) {
      reported.consistent = state->ask([&] { return module->isConsistent(); });
    }
  }
  explainSteps(report);
  const std::lock_guard lock(state->mutex);
  state->done.push_back(std::move(report));
}

}  // namespace Tessaril::Diagnostics
