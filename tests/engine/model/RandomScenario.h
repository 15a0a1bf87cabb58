#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "tessaril/engine/ExceptionPolicy.h"
#include "tests/support/ScriptedDesign.h"

/// Random stories of designs that are updated, undone, edited and updated again, told as the list
/// of everything that anybody could observe. A seed gives the same story to whatever update command
/// does the same work.
namespace Tessaril::RandomRuns {

/// Random numbers that cost nothing to set up: every answer of every module has its own.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : state(seed) {}

  std::uint64_t next();
  /// Requires: bound > 0.
  std::size_t below(std::size_t bound) { return static_cast<std::size_t>(next() % bound); }
  bool percent(unsigned probability) { return below(100) < probability; }

 private:
  std::uint64_t state;
};

/// What stories are made of. Each percentage is that of the stories which have it at all.
struct Ingredients {
  std::size_t leastModules = 1;
  std::size_t mostModules = 13;
  /// Of each module's answers whether it needs a full apply, to be yes.
  unsigned necessary = 50;
  /// Circles, dead entries, duplicates, links of a module with itself and one-sided links.
  unsigned faults = 0;
  /// Commands, questions, listeners, messages and hooks that throw, std::exceptions and others.
  unsigned throws = 0;
  /// Runs that are suppressed or cancelled, derived commands that stop them, stop requests.
  unsigned stops = 0;
  /// Commands, listeners and hooks that edit the graph.
  unsigned edits = 0;
  /// The same, dropping the owners of a module.
  unsigned drops = 0;
};

class Scenario {
  // In front of the design, which is made with them.
  Dice dice;
  std::size_t moduleCount;
  unsigned necessary;
  bool hasFaults;
  bool hasThrows;
  bool hasStops;
  bool hasEdits;
  bool hasDrops;
  // What is left of each for this story: nothing may go on for ever.
  std::size_t throwsLeft;
  std::size_t editsLeft;
  std::size_t dropsLeft;
  std::size_t stopsLeft;

 public:
  /// Makes a module of the story, a ScriptedModule that writes into the log.
  using ModuleMaker = std::function<std::shared_ptr<ApplyModule>(TestSupport::EventLog& log,
                                                                 const std::string& name)>;

  /// Without a maker the modules are plain ScriptedModules.
  Scenario(std::uint64_t seed, const Ingredients& wanted, const ModuleMaker& makeModule = {});
  Scenario(const Scenario&) = delete;
  Scenario& operator=(const Scenario&) = delete;

  /// An update command, as far as a story has to do with it.
  struct Controls {
    ThreadedMacroCommand& command;
    std::function<void(bool)> stopApply;
    std::function<bool()> isSubCommandUnderWay;
    std::function<bool(std::shared_ptr<ApplyModule>)> needsFullApply;
    std::function<void(std::shared_ptr<ApplyCacheInterface>)> setApplyCache;
    std::function<void(bool)> setPreservesState;
    /// What the command answers about its last run.
    std::function<std::string()> state;
  };

  /// Does `body` and tells what came of it.
  void tell(const std::string& title, const std::function<void()>& body);
  /// Gives the hooks of an update something to do.
  template <typename Update>
  void direct(Update& update);
  void play(const Controls& given);

  /// One event a line.
  std::string story;
  TestSupport::ScriptedDesign design;
  std::string start;
  std::string end;
  /// Empty for none.
  std::string horizon;
  bool preservesState = true;

 private:
  using ModulePtr = std::shared_ptr<ApplyModule>;
  using Happening = std::function<void()>;
  using Hook = std::function<bool(const std::string&)>;

  /// What may happen at a place, beside what belongs there.
  enum Happenings : unsigned {
    Throw = 1,
    /// The graph is edited, or owners of a module are dropped.
    Edit = 2,
    /// A derived command stops the run. Not while a sub-command is under way.
    Stop = 4,
    /// The user asks for a stop.
    RequestStop = 8,
  };

  TestSupport::TestGraph makeGraph(const TestSupport::ModuleFactory& factory);
  void pickRange();
  void script(TestSupport::ScriptedModule& module);
  void scriptCommand(TestSupport::ScriptedModule& module, TestSupport::CommandMaking& making);
  void scriptCache();
  /// True with that probability in a small graph, and in a large one for as many modules as in a
  /// small one, so that large stories are not cut short.
  bool seldom(unsigned percent);
  TestSupport::Answer answer(unsigned trueProbability);
  std::function<void(ApplyUpdateInfo&)> messageChange();
  /// Something that happens at some of its calls, or nothing. `rate`: the percentage of places at
  /// which it may happen; `here`: the module to which the place belongs.
  Happening happening(unsigned allowed, unsigned rate, const std::string& here = {});
  Hook hook(unsigned trueProbability, unsigned rate);

  void stopSomehow(Dice& own);
  void throwSomething(Dice& own);
  void editSomething(Dice& own, const std::string& here);
  void dropSomething(Dice& own);
  ModulePtr anyModule(Dice& own, const std::string& here) const;
  std::string nameOf(const ModulePtr& module) const;
  bool leadsOutOfCircles(const ModulePtr& module) const;

  void playOnce();
  void runByHand();
  void tellState();
  std::string namesOf(const std::vector<std::weak_ptr<ApplyModule>>& links) const;

  const Controls* controls = nullptr;
};

template <typename Update>
void Scenario::direct(Update& update) {
  update.suppresses = hook(hasStops ? 8 : 0, 15);
  update.cancels = hook(hasStops ? 5 : 0, 15);
  const Happening handedData = happening(Throw | Edit | Stop | RequestStop, 15);
  update.whenHandedData = [handedData](const std::string& /*name*/) {
    if (handedData) {
      handedData();
    }
  };
  update.whenPrepared = happening(Throw | Edit | RequestStop, 15);
  update.whenFinalized = happening(Throw | Edit | Stop | RequestStop, 15);
  const Happening finished = happening(Throw | Edit | Stop, 10);
  update.whenFinished = [finished](bool /*success*/) {
    if (finished) {
      finished();
    }
  };
  const bool dealsWithFailures = hasStops && dice.percent(20);
  const Happening handled = happening(Throw | Stop, 50);
  update.handles = [dealsWithFailures, handled](std::exception& /*e*/) {
    if (dealsWithFailures && handled) {
      handled();
    }
    return dealsWithFailures;
  };
}

/// The library's policy after failures, or that of the literal command.
template <typename Engine>
void setPreservesState(bool preservesState) {
  if constexpr (std::is_same_v<Engine, Literal::LiteralUpdate>) {
    Engine::s_preserveStateAfterException = preservesState;
  } else {
    ExceptionPolicy::setPreservesState(preservesState);
  }
}

/// The graph of that seed, as text, before anything happens.
std::string graphTextOf(std::uint64_t seed, const Ingredients& ingredients);

/// What is told of the update that `makeUpdate` makes of the scenario's range.
template <typename Engine>
std::string tellStory(
    Scenario& scenario,
    const std::function<std::shared_ptr<TestSupport::ScriptedUpdateOf<Engine>>()>& makeUpdate) {
  setPreservesState<Engine>(scenario.preservesState);
  std::shared_ptr<TestSupport::ScriptedUpdateOf<Engine>> update;
  scenario.tell("update from " + scenario.start + " to " + scenario.end + " " + scenario.horizon,
                [&] { update = makeUpdate(); });
  if (update != nullptr) {
    scenario.direct(*update);
    const auto nameOf = [&](const std::shared_ptr<ApplyModule>& module) {
      return module == nullptr ? "-" : dynamic_cast<const Object&>(*module).getName();
    };
    const Scenario::Controls controls{
        *update,
        [&](bool restoreQueues) { update->stopApply(restoreQueues); },
        [&] { return update->isSubCommandUnderWay(); },
        [&](const std::shared_ptr<ApplyModule>& module) { return update->needsFullApply(module); },
        [&](const auto& cache) { update->setApplyCache(cache); },
        [](bool preservesState) { setPreservesState<Engine>(preservesState); },
        [&] {
          return "last " + nameOf(update->getLastExecutedApplyModule()) + ", end " +
                 nameOf(update->getEndModule()) +
                 (update->hasExceptionBeenThrown() ? ", thrown" : "") +
                 (update->isRunning() ? "" : ", stop requested");
        }};
    scenario.play(controls);
  }
  setPreservesState<Engine>(true);
  return scenario.story;
}

/// The story of that seed when the update is an Engine.
template <typename Engine>
std::string storyOf(std::uint64_t seed, const Ingredients& ingredients) {
  Scenario scenario(seed, ingredients);
  return tellStory<Engine>(scenario, [&scenario] {
    TestSupport::ScriptedDesign& design = scenario.design;
    return std::make_shared<TestSupport::ScriptedUpdateOf<Engine>>(
        design.log, design.root, design.module(scenario.start), design.module(scenario.end),
        design.module(scenario.horizon));
  });
}

}  // namespace Tessaril::RandomRuns
