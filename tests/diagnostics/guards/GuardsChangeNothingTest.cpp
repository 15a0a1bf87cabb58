#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <stdexcept>
#include <vector>

#include "diagnostics/run/ObservedUpdate.h"
#include "reference_platform/command_pattern/SteppingThreadManager.h"
#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"
#include "tests/diagnostics/guards/GuardedDesign.h"
#include "tests/support/ScriptedMessage.h"

// A guarded design does what a plain one does, question by question, whatever happens in a run, and
// a run that keeps the rules is not complained of.

namespace Tessaril::Diagnostics {
namespace {

using ReferencePlatform::SteppingThreadManager;
using ReferencePlatform::WorkerPoolThreadManager;
using TestSupport::EventKind;
using TestSupport::GuardedDesign;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedUpdate;
using TestSupport::ViolationLog;

constexpr const char* kGraph = "A -> B -> C -> D -> E; A -> X -> D; B -> S -> T";

struct Story {
  const char* name;
  std::function<void(ScriptedDesign&, ScriptedUpdate&)> prepare;
};

std::ostream& operator<<(std::ostream& stream, const Story& story) { return stream << story.name; }

std::vector<Story> stories() {
  return {
      {"Plain", [](ScriptedDesign&, ScriptedUpdate&) {}},
      {"Messages",
       [](ScriptedDesign& design, ScriptedUpdate&) {
         design["A"].apply.script->whenExecuted = [&design](ApplyUpdateInfo& info) {
           info = ApplyUpdateInfo({TestSupport::makeMessage(design.log, "m"),
                                   TestSupport::makeGlobalMessage(design.log, "g")});
         };
         design["S"].always = false;
         design["S"].consistent = false;
         design["T"].message.script.emplace();
       }},
      {"Failure",
       [](ScriptedDesign& design, ScriptedUpdate&) {
         design["B"].apply.script->whenExecuted = [](ApplyUpdateInfo&) {
           throw std::runtime_error("boom");
         };
       }},
      {"UnknownFailure",
       [](ScriptedDesign& design, ScriptedUpdate&) {
         design["B"].apply.script->whenExecuted = [](ApplyUpdateInfo&) { throw 7; };
       }},
      {"Stop",
       [](ScriptedDesign& design, ScriptedUpdate& update) {
         design["B"].apply.script->whenExecuted = [&update](ApplyUpdateInfo&) {
           update.getProgressPtr()->requestStop();
         };
       }},
      {"Suppression",
       [](ScriptedDesign&, ScriptedUpdate& update) {
         update.suppresses = [](const std::string& name) { return name == "C"; };
       }},
      {"Cancellation",
       [](ScriptedDesign&, ScriptedUpdate& update) {
         update.cancels = [](const std::string& name) { return name == "B"; };
       }},
      {"NoCommand",
       [](ScriptedDesign& design, ScriptedUpdate&) { design["C"].apply.script.reset(); }},
  };
}

std::vector<std::shared_ptr<ThreadManager>> managers() {
  return {nullptr, std::make_shared<WorkerPoolThreadManager>(1),
          std::make_shared<SteppingThreadManager>()};
}

std::string tell(ScriptedDesign& design, const std::shared_ptr<ScriptedUpdate>& update,
                 const Story& story, const std::shared_ptr<ThreadManager>& manager) {
  design.needApply("A B C D");
  update->setApplyCache(design.cache);
  update->setThreadManager(manager);
  story.prepare(design, *update);
  design.log.alsoHear({EventKind::Question, EventKind::Hook, EventKind::Creation, EventKind::Rate,
                       EventKind::Progress, EventKind::User, EventKind::Trace, EventKind::Message});
  std::string all = design.run(*update);
  all += " | " + design.undo(*update);
  all += " | " + design.redo(*update);
  return all + " | " + design.run(*update);
}

class GuardsChangeNothingTest : public testing::TestWithParam<Story> {
 protected:
  static std::string plainEvents() {
    ScriptedDesign design(kGraph);
    return tell(design, design.update("A", "D", "E"), GetParam(), nullptr);
  }

  ViolationLog violations;
  std::shared_ptr<GraphGuard> guard = std::make_shared<GraphGuard>(violations.handler());
};

TEST_P(GuardsChangeNothingTest, InRunsUndosAndRedos) {
  for (const auto& manager : managers()) {
    GuardedDesign design(guard, kGraph);
    guard->watchLinksOf(design.module("A"));
    const auto update = makeGuardedUpdate<ScriptedUpdate>(
        guard, design.log, design.root, design.module("A"), design.module("D"), design.module("E"));
    EXPECT_EQ(tell(design, update, GetParam(), manager), plainEvents());
    EXPECT_EQ(violations.takeTexts(), "");
  }
}

TEST_P(GuardsChangeNothingTest, AroundAnObservedUpdate) {
  for (const auto& manager : managers()) {
    GuardedDesign design(guard, kGraph);
    RunRecorderOptions options;
    options.askAgain = false;
    const auto recorder = std::make_shared<RunRecorder>(options);
    const RunRange range{design.root, design.module("A"), design.module("D"), design.module("E")};
    const auto update = makeGuardedUpdate<ObservedUpdate<ScriptedUpdate>>(
        guard, recorder, range, design.log, design.root, design.module("A"), design.module("D"),
        design.module("E"));
    EXPECT_EQ(tell(design, update, GetParam(), manager), plainEvents());
    EXPECT_EQ(violations.takeTexts(), "");
    EXPECT_EQ(recorder->getReports().size(), 4u);
  }
}

INSTANTIATE_TEST_SUITE_P(Stories, GuardsChangeNothingTest, testing::ValuesIn(stories()),
                         [](const auto& story) { return std::string(story.param.name); });

}  // namespace
}  // namespace Tessaril::Diagnostics
