#include "tests/diagnostics/run/ExplainedDesign.h"

#include <algorithm>
#include <stdexcept>

#include "tessaril/platform/framework_interfaces/ApplyCmdFactory.h"

namespace Tessaril::TestSupport {

using Diagnostics::RunReport;
using Diagnostics::RunStep;

namespace {

/// Makes what a scripted module's own factory makes, but the tests know it.
class KnownFactory : public ApplyCmdFactory {
 public:
  KnownFactory(ScriptedModule& servedModule, EventLog& log) : module(servedModule), eventLog(log) {}

  std::shared_ptr<CommandBase> createApplyCommand(std::shared_ptr<Object> /*object*/) override {
    return make(module.apply, ":apply");
  }
  std::shared_ptr<CommandBase> createAutoApplyCommand(std::shared_ptr<Object> /*object*/,
                                                      bool mayRunAlone) override {
    return make(module.autoApply, mayRunAlone ? ":auto(alone)" : ":auto");
  }
  std::shared_ptr<CommandBase> createMessageHandlingCmd(
      std::shared_ptr<Object> /*object*/, std::shared_ptr<ApplyUpdateMessage> /*message*/,
      bool /*flag*/) override {
    return make(module.message, ":message");
  }

 private:
  std::shared_ptr<CommandBase> make(const CommandMaking& making, const std::string& event) {
    return making.script ? makeScriptedCommand(eventLog, module.getName() + event, *making.script)
                         : nullptr;
  }

  ScriptedModule& module;
  EventLog& eventLog;
};

}  // namespace

void TestClock::advance(std::chrono::microseconds step) {
  const std::lock_guard lock(mutex);
  time += step;
}

TestClock::TimePoint TestClock::now() const {
  const std::lock_guard lock(mutex);
  return time;
}

ExplainedDesign::ExplainedDesign(std::string_view graphText, bool askAgain) : design(graphText) {
  setUp(askAgain);
}

ExplainedDesign::ExplainedDesign(const std::function<TestGraph(const ModuleFactory&)>& makeGraph,
                                 bool askAgain)
    : design(makeGraph) {
  setUp(askAgain);
}

void ExplainedDesign::setUp(bool askAgain) {
  recorder = std::make_shared<Diagnostics::RunRecorder>(Diagnostics::RunRecorderOptions{
      .askAgain = askAgain, .now = [theClock = clock] { return theClock->now(); }});
  design.forEachModule([this](ScriptedModule& module) {
    factories.push_back(std::make_shared<KnownFactory>(module, design.log));
    module.setApplyCmdFactory(factories.back());
  });
}

Diagnostics::RunRange ExplainedDesign::range(std::string_view start, std::string_view end,
                                             std::string_view horizon) const {
  return {design.root, design.module(start), design.module(end), design.module(horizon)};
}

std::shared_ptr<ExplainedDesign::Update> ExplainedDesign::update(std::string_view start,
                                                                 std::string_view end,
                                                                 std::string_view horizon) {
  return std::make_shared<Update>(recorder, range(start, end, horizon), design.log, design.root,
                                  design.module(start), design.module(end), design.module(horizon));
}

std::unique_ptr<Diagnostics::WatchedFactories> ExplainedDesign::watch() {
  std::vector<std::shared_ptr<ApplyModule>> modules;
  for (const auto& member : design.graph) {
    modules.push_back(member.module);
  }
  return std::make_unique<Diagnostics::WatchedFactories>(
      recorder, modules, [this, &modules](const std::shared_ptr<ApplyModule>& module) {
        const auto place = std::find(modules.begin(), modules.end(), module);
        return factories[static_cast<std::size_t>(place - modules.begin())];
      });
}

RunReport ExplainedDesign::reportOf(CommandBase& command) {
  design.run(command);
  return recorder->getLastReport();
}

RunReport ExplainedDesign::run(std::string_view start, std::string_view end,
                               std::string_view horizon) {
  return reportOf(*update(start, end, horizon));
}

void ExplainedDesign::lasts(std::string_view name, std::chrono::microseconds time) {
  ScriptedModule& module = design[name];
  for (CommandMaking* making : {&module.apply, &module.autoApply, &module.message}) {
    if (making->script) {
      making->script->whenRunning = [theClock = clock, time](LegacyProgress&) {
        theClock->advance(time);
      };
    }
  }
}

std::string deeds(const RunReport& report) {
  std::string text;
  for (const RunStep& step : report.steps) {
    text += (text.empty() ? "" : " ") + report.modules[step.module].name + ":" +
            deedName(step.deed) + (step.failure.empty() ? "" : "!");
  }
  return text;
}

std::string prospects(const Diagnostics::RunEstimate& estimate) {
  std::string text;
  for (const auto& step : estimate.steps) {
    text += (text.empty() ? "" : " ") + step.name + ":" + prospectName(step.prospect) +
            (step.mayChangeBy ? "?" : "");
  }
  return text;
}

const RunStep& stepOf(const RunReport& report, std::string_view module) {
  for (const RunStep& step : report.steps) {
    if (report.modules[step.module].name == module) {
      return step;
    }
  }
  throw std::out_of_range("no step of " + std::string(module));
}

std::string reasonOf(const RunReport& report, std::string_view module) {
  return stepOf(report, module).reason;
}

}  // namespace Tessaril::TestSupport
