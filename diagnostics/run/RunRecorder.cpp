#include "diagnostics/run/RunRecorder.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "diagnostics/run/RunReasons.h"
#include "tessaril/commands/ApplyModuleDataInterface.h"
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
namespace {

using ModulePtr = std::shared_ptr<ApplyModule>;
using TimePoint = std::chrono::steady_clock::time_point;

bool isSame(const std::weak_ptr<CommandBase>& left, const std::shared_ptr<CommandBase>& right) {
  return !left.owner_before(right) && !right.owner_before(left);
}

ApplyUpdateInfo messagesOf(const std::shared_ptr<CommandBase>& command,
                           const ApplyUpdateInfo& otherwise) {
  auto* data = dynamic_cast<ApplyModuleDataInterface*>(command.get());
  return data == nullptr ? otherwise : data->getUpdateInfo();
}

bool hasStep(const RunReport& report, Deed deed) {
  return std::any_of(report.steps.begin(), report.steps.end(),
                     [deed](const RunStep& step) { return step.deed == deed; });
}

bool hasStopped(const RunReport& report) {
  return !report.failure.empty() || hasStep(report, Deed::Suppressed) ||
         hasStep(report, Deed::Cancelled);
}

/// What a question answers; nothing where it throws. A run that is looked at must not fail for
/// that.
template <typename Question>
auto askQuietly(const Question& question) -> std::optional<decltype(question())> {
  try {
    return question();
  } catch (...) {
    return std::nullopt;
  }
}

/// What was found out about a module when it was decided upon.
struct Inquiry {
  std::optional<PolicyAnswers> answers;
  std::optional<SnapshotFlags> flags;
};

/// What the recorder has to know of a step besides what it reports.
struct StepTrack {
  std::weak_ptr<CommandBase> owner;
  const CommandBase* command = nullptr;
  bool hasBegun = false;
};

struct PresentRun {
  std::size_t number = 0;
  RunReport report;
  std::vector<StepTrack> tracks;
  std::weak_ptr<ApplyModule> end;
  TimePoint begin;
  std::thread::id ownThread;
  std::vector<std::thread::id> workers;
  std::unordered_map<const ApplyModule*, std::size_t> indices;
  /// The messages of the run, as they were seen last.
  ApplyUpdateInfo messages;
  std::vector<Signals::ScopedConnection> connections;

  /// A full apply is due; its command is to be prepared.
  std::optional<std::size_t> dueModule;
  std::optional<std::size_t> subCommand;
  /// An auto apply whose end has not been seen.
  std::optional<std::size_t> openAutoApply;
  /// The last step that is neither a signal nor a message, and the modules that will be signalled
  /// if that was an auto apply that left its module inconsistent.
  std::optional<std::size_t> decision;
  std::optional<std::size_t> judgedDecision;
  std::unordered_set<std::shared_ptr<ApplyModule>> toBeSignalled;
  bool asksOfLastModule = false;
  bool isStopped = false;
  /// How much code of the application runs.
  int hooks = 0;
  int commands = 0;
};

}  // namespace

struct RunRecorder::State {
  explicit State(RunRecorderOptions recorderOptions) : options(std::move(recorderOptions)) {}

  // Requires of all that follow, but inquire(): the lock is held.

  PresentRun* present() { return running.empty() ? nullptr : running.back().get(); }

  Microseconds since(const PresentRun& run) const { return options.now() - run.begin; }

  std::size_t indexOf(PresentRun& run, const ModulePtr& module) {
    const auto [place, isNew] = run.indices.emplace(module.get(), run.report.modules.size());
    if (isNew) {
      ReportedModule& added = run.report.modules.emplace_back();
      added.name = options.nameModule ? options.nameModule(*module) : std::string();
      if (added.name.empty()) {
        added.name = "module " + std::to_string(run.report.modules.size());
      }
      added.place = Place::OffTheWay;
      added.module = module;
      added.commandsWatched = watched.contains(module.get());
    }
    return place->second;
  }

  unsigned threadNumber(PresentRun& run) {
    const std::thread::id thread = std::this_thread::get_id();
    if (thread == run.ownThread) {
      return 0;
    }
    auto place = std::find(run.workers.begin(), run.workers.end(), thread);
    if (place == run.workers.end()) {
      place = run.workers.insert(place, thread);
    }
    return static_cast<unsigned>(place - run.workers.begin()) + 1;
  }

  RunStep& addStep(PresentRun& run, const ModulePtr& module, Deed deed, const Inquiry& inquiry) {
    RunStep step;
    step.module = indexOf(run, module);
    step.deed = deed;
    step.answers = inquiry.answers;
    step.flags = inquiry.flags;
    run.report.steps.push_back(std::move(step));
    run.tracks.emplace_back();
    if (deed != Deed::Signalled && deed != Deed::MessageHandled) {
      run.decision = run.tracks.size() - 1;
    }
    return run.report.steps.back();
  }

  void beginStep(PresentRun& run, std::size_t index) {
    if (!std::exchange(run.tracks[index].hasBegun, true)) {
      run.report.steps[index].begin = since(run);
      run.report.steps[index].thread = threadNumber(run);
    }
  }

  void endStep(PresentRun& run, std::size_t index) {
    RunStep& step = run.report.steps[index];
    if (step.begin && !step.duration) {
      step.duration = since(run) - *step.begin;
    }
  }

  void closeAutoApply(PresentRun& run) {
    if (run.openAutoApply) {
      endStep(run, *run.openAutoApply);
      run.report.steps[*run.openAutoApply].durationIsBound = true;
      run.messages = messagesOf(run.tracks[*run.openAutoApply].owner.lock(), run.messages);
      run.openAutoApply.reset();
    }
  }

  /// The latest step of the command that has not ended.
  std::optional<std::size_t> findStep(const PresentRun& run, const CommandBase& command) const {
    for (std::size_t i = run.tracks.size(); i-- > 0;) {
      if (run.tracks[i].command == &command && !run.report.steps[i].duration) {
        return i;
      }
    }
    return std::nullopt;
  }

  /// The messages as they stand, and whether the module is the end.
  std::pair<ApplyUpdateInfo, bool> circumstances(const ModulePtr& module) {
    const std::lock_guard lock(mutex);
    PresentRun* const run = present();
    if (run == nullptr) {
      return {};
    }
    ApplyUpdateInfo info = run->messages;
    if (run->openAutoApply) {
      info = messagesOf(run->tracks[*run->openAutoApply].owner.lock(), info);
    }
    return {std::move(info), run->end.lock() == module};
  }

  /// Calls the module; the lock must not be held.
  Inquiry inquire(const ModulePtr& module) {
    if (!options.askAgain) {
      return {};
    }
    Inquiry inquiry;
    inquiry.flags = askQuietly([&] { return flagsOf(*module); });
    inquiry.answers = askQuietly([&] {
      const auto [info, isEnd] = circumstances(module);
      return askModule(*module, info, isEnd);
    });
    return inquiry;
  }

  std::vector<MessageNote> note(const ApplyUpdateInfo& info) const {
    return askQuietly([&] { return notesOf(info, options.nameMessage, options.askAgain); })
        .value_or(std::vector<MessageNote>());
  }

  const RunRecorderOptions options;
  mutable std::mutex mutex;
  std::vector<RunReport> done;
  /// The last one is the present one; those before it have started it.
  std::vector<std::unique_ptr<PresentRun>> running;
  std::size_t runsBegun = 0;
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
  report.duration = state->since(*run);
  return report;
}

void RunRecorder::forgetReports() {
  const std::lock_guard lock(state->mutex);
  state->done.clear();
}

// The beginning of a run

namespace {

std::optional<std::size_t> placeIn(const PresentRun& run, const ModulePtr& module) {
  const auto place = run.indices.find(module.get());
  return place == run.indices.end() ? std::nullopt : std::optional(place->second);
}

}  // namespace

void RunRecorder::beginRun(RunReport::Kind kind, const std::string& description,
                           const RunRange& range) {
  auto run = std::make_unique<PresentRun>();
  run->report.kind = kind;
  run->report.description = description;
  run->end = range.end;
  run->ownThread = std::this_thread::get_id();
  for (const RangeModule& member : modulesOf(range, state->options.nameModule)) {
    run->indices.emplace(member.module.get(), run->report.modules.size());
    ReportedModule& reported = run->report.modules.emplace_back();
    reported.name = member.name;
    reported.place = member.place;
    reported.module = member.module;
    if (state->options.askAgain) {
      reported.speedRate =
          askQuietly([&] { return static_cast<int>(member.module->getSpeedRate()); });
    }
  }
  run->report.start = placeIn(*run, range.start.lock());
  run->report.end = placeIn(*run, range.end.lock());
  run->report.horizon = placeIn(*run, range.horizon.lock());
  const std::lock_guard lock(state->mutex);
  for (ReportedModule& reported : run->report.modules) {
    reported.commandsWatched = state->watched.contains(reported.module.lock().get());
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
  state->closeAutoApply(*run);
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
    state->closeAutoApply(*run);
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
        run->subCommand || !run->report.announced.empty() ||
        run->ownThread != std::this_thread::get_id()) {
      return;
    }
    const bool isRepeated = run->openAutoApply &&
                            run->report.steps.back().deed == Deed::Signalled &&
                            run->indices.contains(module.get()) &&
                            run->report.steps.back().module == run->indices.at(module.get());
    if (isRepeated) {
      return;
    }
  }
  judgeAutoApply();
  const Inquiry inquiry = state->inquire(module);
  const std::lock_guard lock(state->mutex);
  PresentRun& run = *state->present();
  RunStep& step = state->addStep(run, module, Deed::Signalled, inquiry);
  if (run.toBeSignalled.erase(module) > 0) {
    step.inconsistentBefore = run.report.steps[*run.decision].module;
  }
}

// An auto apply off the way, and any auto apply of a stopped run, that leaves its module
// inconsistent has all that follow it signalled, once each.
void RunRecorder::judgeAutoApply() {
  ModulePtr module;
  {
    const std::lock_guard lock(state->mutex);
    PresentRun& run = *state->present();
    if (run.judgedDecision == run.decision) {
      return;
    }
    run.judgedDecision = run.decision;
    run.toBeSignalled.clear();
    const RunStep& step = run.report.steps[*run.decision];
    const ReportedModule& decided = run.report.modules[step.module];
    const bool isAutoApply = step.deed == Deed::AutoApply || step.deed == Deed::NoAutoApplyCommand;
    if (isAutoApply && state->options.askAgain &&
        (decided.place != Place::OnTheWay || hasStopped(run.report))) {
      module = std::const_pointer_cast<ApplyModule>(decided.module.lock());
    }
  }
  if (module == nullptr || askQuietly([&] { return module->isConsistent(); }).value_or(true)) {
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
    state->closeAutoApply(*run);
    run->messages = messagesOf(command, run->messages);
  }
  const Inquiry inquiry = state->inquire(module);
  const auto received = state->note(state->circumstances(module).first);
  const std::lock_guard lock(state->mutex);
  PresentRun& run = *state->present();
  const bool isFullApply = run.dueModule == state->indexOf(run, module);
  RunStep& step =
      state->addStep(run, module, isFullApply ? Deed::FullApply : Deed::AutoApply, inquiry);
  step.received = received;
  run.tracks.back().owner = command;
  run.tracks.back().command = command.get();
  const std::size_t index = run.tracks.size() - 1;
  if (isFullApply) {
    run.dueModule.reset();
    run.subCommand = index;
  } else {
    step.begin = state->since(run);
    step.thread = 0;
    run.openAutoApply = index;
  }
}

void RunRecorder::subCommandStarts(const std::shared_ptr<CommandBase>& command, double progress) {
  const std::lock_guard lock(state->mutex);
  PresentRun* const run = state->present();
  if (run != nullptr && run->subCommand && isSame(run->tracks[*run->subCommand].owner, command)) {
    run->report.steps[*run->subCommand].progressBefore = progress;
  }
}

RunRecorder::SubCommand RunRecorder::subCommandBegins() {
  const std::lock_guard lock(state->mutex);
  PresentRun* const run = state->present();
  if (run == nullptr || !run->subCommand) {
    return {};
  }
  state->beginStep(*run, *run->subCommand);
  return {run->number, *run->subCommand};
}

void RunRecorder::subCommandEnds(SubCommand subCommand) {
  const std::lock_guard lock(state->mutex);
  for (const auto& run : state->running) {
    if (run->number == subCommand.run) {
      state->endStep(*run, subCommand.step);
    }
  }
}

void RunRecorder::subCommandFinalized(const std::shared_ptr<CommandBase>& command,
                                      double progress) {
  const ApplyUpdateInfo info = messagesOf(command, {});
  const auto left = state->note(info);
  const std::lock_guard lock(state->mutex);
  PresentRun* const run = state->present();
  if (run == nullptr || !run->subCommand || !isSame(run->tracks[*run->subCommand].owner, command)) {
    return;
  }
  state->endStep(*run, *run->subCommand);
  RunStep& step = run->report.steps[*run->subCommand];
  step.left = left;
  step.progressAfter = progress;
  run->messages = messagesOf(command, run->messages);
  run->subCommand.reset();
}

void RunRecorder::subCommandFailed(const std::exception& failure) {
  const std::lock_guard lock(state->mutex);
  PresentRun* const run = state->present();
  if (run == nullptr || run->tracks.empty()) {
    return;
  }
  run->isStopped = dynamic_cast<const CommandStopped*>(&failure) != nullptr;
  run->report.failure = failure.what();
  // Where the update's own code failed once the command had ended, the step is the last full apply.
  for (std::size_t i = run->report.steps.size(); i-- > 0;) {
    RunStep& step = run->report.steps[i];
    if (step.deed == Deed::FullApply) {
      state->endStep(*run, i);
      step.failure = failure.what();
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
  std::optional<std::size_t> index = state->findStep(*run, command);
  const bool isPartOfRun = run->report.kind == RunReport::Kind::Run;
  if (!index && module != nullptr && (!isPartOfRun || purpose == Purpose::Message)) {
    const Deed deed = isPartOfRun                       ? Deed::MessageHandled
                      : operation == Operation::Execute ? Deed::ExecutedAgain
                      : operation == Operation::Undo    ? Deed::Undone
                                                        : Deed::Redone;
    state->addStep(*run, module, deed, {}).received = received;
    index = run->tracks.size() - 1;
    run->tracks.back().command = &command;
  }
  if (index) {
    state->beginStep(*run, *index);
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
  const std::optional<std::size_t> index = state->findStep(*run, command);
  if (!index) {
    return;
  }
  state->endStep(*run, *index);
  RunStep& step = run->report.steps[*index];
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
  if ((state->watched[module] += change) == 0) {
    state->watched.erase(module);
  }
}

RunRecorder::Hook::Hook(RunRecorder& theRecorder) : recorder(theRecorder) { recorder.enterHook(1); }
RunRecorder::Hook::~Hook() { recorder.enterHook(-1); }

void RunRecorder::enterHook(int change) {
  const std::lock_guard lock(state->mutex);
  if (PresentRun* const run = state->present()) {
    run->hooks += change;
  }
}

// The end of a run

void RunRecorder::announced(bool success) {
  const std::lock_guard lock(state->mutex);
  if (PresentRun* const run = state->present()) {
    state->closeAutoApply(*run);
    run->report.announced.push_back(success);
  }
}

namespace {

RunReport::Outcome outcomeOf(const PresentRun& run, bool thrown) {
  using Outcome = RunReport::Outcome;
  if (thrown) {
    return Outcome::Thrown;
  }
  if (run.report.kind != RunReport::Kind::Run) {
    return Outcome::Finished;
  }
  if (run.report.announced.empty()) {
    return Outcome::Unannounced;
  }
  if (!run.report.failure.empty()) {
    return run.isStopped ? Outcome::Stopped : Outcome::Failed;
  }
  if (hasStep(run.report, Deed::Suppressed)) {
    return Outcome::Suppressed;
  }
  return hasStep(run.report, Deed::Cancelled) ? Outcome::Cancelled : Outcome::Finished;
}

/// A command that was executed, but is not in the update's list, has failed.
void findFailures(PresentRun& run, const std::vector<std::shared_ptr<CommandBase>>& executed,
                  const std::optional<std::string>& thrown) {
  std::vector<const CommandBase*> listed;
  for (const auto& command : executed) {
    listed.push_back(command.get());
  }
  std::sort(listed.begin(), listed.end());
  for (std::size_t i = 0; i < run.tracks.size(); ++i) {
    RunStep& step = run.report.steps[i];
    const auto command = run.tracks[i].owner.lock();
    const bool isListed =
        command != nullptr && std::binary_search(listed.begin(), listed.end(), command.get());
    if ((step.deed == Deed::FullApply || step.deed == Deed::AutoApply) && step.begin &&
        step.failure.empty() && !isListed) {
      const bool isLast = i + 1 == run.tracks.size();
      step.failure = isLast && thrown ? *thrown : "failed; the log says why";
    }
  }
}

/// For each module the step, counted from 1, of the last apply among what it depends on.
std::vector<std::size_t> changesBefore(const PresentRun& run) {
  std::vector<std::size_t> applied(run.report.modules.size(), 0);
  for (std::size_t i = 0; i < run.report.steps.size(); ++i) {
    const RunStep& step = run.report.steps[i];
    if ((step.deed == Deed::FullApply || step.deed == Deed::AutoApply) && step.failure.empty()) {
      applied[step.module] = i + 1;
    }
  }
  std::vector<std::size_t> before(applied.size(), 0);
  for (std::size_t m = 0; m < applied.size(); ++m) {
    const auto module = run.report.modules[m].module.lock();
    if (module == nullptr) {
      continue;
    }
    for (const auto& link : module->getPreviousApplyModules()) {
      const auto place = run.indices.find(link.lock().get());
      if (place != run.indices.end()) {
        before[m] = std::max({before[m], applied[place->second], before[place->second]});
      }
    }
  }
  return before;
}

void addUntouched(RunReport& report) {
  std::vector<bool> isTouched(report.modules.size(), false);
  for (const RunStep& step : report.steps) {
    isTouched[step.module] = true;
  }
  for (std::size_t m = 0; m < report.modules.size(); ++m) {
    if (!isTouched[m]) {
      RunStep& step = report.steps.emplace_back();
      step.module = m;
    }
  }
}

void noteChangesBefore(PresentRun& run) {
  const std::vector<std::size_t> before = changesBefore(run);
  for (std::size_t i = 0; i < run.report.steps.size(); ++i) {
    RunStep& step = run.report.steps[i];
    if (before[step.module] > 0 && before[step.module] <= i) {
      step.changedBefore = run.report.steps[before[step.module] - 1].module;
    }
  }
}

}  // namespace

void RunRecorder::endRun(const std::vector<std::shared_ptr<CommandBase>>& executed,
                         const std::optional<std::string>& thrown) {
  std::unique_ptr<PresentRun> run;
  {
    const std::lock_guard lock(state->mutex);
    if (state->running.empty()) {
      return;
    }
    state->closeAutoApply(*state->present());
    run = std::move(state->running.back());
    state->running.pop_back();
    run->report.duration = state->since(*run);
  }
  RunReport& report = run->report;
  run->connections.clear();
  if (thrown) {
    report.failure = *thrown;
  }
  if (report.kind == RunReport::Kind::Run) {
    findFailures(*run, executed, thrown);
    if (run->dueModule) {
      RunStep& step = report.steps.emplace_back();
      step.module = *run->dueModule;
      step.deed = Deed::NoApplyCommand;
    }
    addUntouched(report);
    noteChangesBefore(*run);
  }
  report.outcome = outcomeOf(*run, thrown.has_value());
  for (ReportedModule& reported : report.modules) {
    const auto module = reported.module.lock();
    if (module != nullptr && state->options.askAgain) {
      reported.consistent = askQuietly([&] { return module->isConsistent(); });
    }
  }
  explainSteps(report);
  const std::lock_guard lock(state->mutex);
  state->done.push_back(std::move(report));
}

}  // namespace Tessaril::Diagnostics
