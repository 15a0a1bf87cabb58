#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/ScriptedDesign.h"
#include "tests/support/ScriptedMessage.h"

namespace Tessaril {
namespace {

using TestSupport::EventKind;
using TestSupport::makeMessage;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedModule;
using TestSupport::ScriptedUpdate;

/// Of the family, but of no more special standard type.
class Boom : public std::exception {
 public:
  const char* what() const noexcept override { return "boom"; }
};

const auto kBoom = [](ApplyUpdateInfo&) { throw Boom(); };

/// A run over a chain A, B, C, D whose commands have the undo types that a test chooses.
class UndoTest : public testing::Test {
 protected:
  UndoTest() { design.needApply("A B C D"); }

  /// -1 stands for a command without module data.
  void run(const std::vector<int>& undoTypes) {
    const char* const names[] = {"A", "B", "C", "D"};
    for (std::size_t i = 0; i < undoTypes.size(); ++i) {
      design[names[i]].apply.script->hasData = undoTypes[i] >= 0;
      design[names[i]].apply.script->undoType = undoTypes[i];
    }
    update = design.update("A", names[undoTypes.size() - 1]);
    design.log.hear({EventKind::Step, EventKind::Error});
    update->execute();
  }
  void failUndoOf(const char* name) { design[name].apply.script->whenUndone = kBoom; }
  std::string undo() { return design.undo(*update); }

  ScriptedDesign design{"A -> B -> C -> D"};
  std::shared_ptr<ScriptedUpdate> update;
};

// --- Order --------------------------------------------------------------------------------------

TEST_F(UndoTest, UndoesDependentCommandsForwards) {
  run({3, 3, 3});
  EXPECT_EQ(undo(), "A:apply~ B:apply~ C:apply~ D:auto~");
}

TEST_F(UndoTest, UndoesStorageBackwardsThenTheRestForwards) {
  run({0, 3, 0, 3});
  EXPECT_EQ(undo(), "C:apply~ A:apply~ B:apply~ D:apply~");
}

TEST_F(UndoTest, CountsEveryTypeButStorageAsDependent) {
  run({1, 0, 2, -1});
  EXPECT_EQ(undo(), "B:apply~ A:apply~ C:apply~ D:apply~");
}

TEST_F(UndoTest, AsksEveryCommandOnceInEachPass) {
  run({0, 3, -1, 0});
  design.log.alsoHear({EventKind::UndoType});
  EXPECT_EQ(undo(),
            "D:apply?undoType D:apply~ B:apply?undoType A:apply?undoType A:apply~ "
            "A:apply?undoType B:apply?undoType B:apply~ C:apply~ D:apply?undoType");
}

TEST_F(UndoTest, UndoesAutoAppliesByTheirTypeToo) {
  design["D"].autoApply.script->undoType = 0;
  run({0, 3, 3});
  EXPECT_EQ(undo(), "D:auto~ A:apply~ B:apply~ C:apply~");
}

TEST_F(UndoTest, OfNothingUndoesNothing) {
  update = design.update("A", "D");
  EXPECT_EQ(undo(), "");
  EXPECT_TRUE(update->getProgressPtr()->isFinished());
}

TEST_F(UndoTest, UndoesTheLastRunOnly) {
  run({3, 3, 3, 3});
  for (const char* name : {"A", "B", "C"}) {
    design[name].necessary = false;
  }
  design.log.take();
  update->execute();
  EXPECT_EQ(design.log.take(), "D:apply");
  EXPECT_EQ(undo(), "D:apply~");
}

TEST_F(UndoTest, UndoesWhatWasDoneBeforeAFailure) {
  design["C"].apply.script->whenExecuted = kBoom;
  run({3, 0, 3, 3});
  design["C"].autoApply.script->undoType = 0;
  EXPECT_EQ(undo(), "B:apply~ A:apply~ C:auto~ D:auto~");
}

TEST_F(UndoTest, KeepsTheListSoThatItCanBeRedone) {
  run({0, 3, 0, 3});
  undo();
  EXPECT_EQ(update->size(), 4U);
  EXPECT_EQ(design.redo(*update), "A:apply+ B:apply+ C:apply+ D:apply+");
  EXPECT_EQ(undo(), "C:apply~ A:apply~ B:apply~ D:apply~");
}

TEST_F(UndoTest, PreparesAndFinishesTheProgress) {
  std::vector<double> seen;
  for (const char* name : {"A", "B", "C", "D"}) {
    design[name].apply.script->whenUndone = [&](ApplyUpdateInfo&) {
      seen.push_back(update->getProgressPtr()->getValue());
    };
  }
  run({3, 3, 3, 3});
  undo();
  EXPECT_EQ(seen, (std::vector<double>{0.0, 25.0, 50.0, 75.0}));
  EXPECT_TRUE(update->getProgressPtr()->isFinished());
}

TEST_F(UndoTest, AnnouncesNoEndAndTellsNoCache) {
  run({3, 0});
  update->setApplyCache(design.cache);
  design.log.hear({EventKind::Run, EventKind::Signal, EventKind::Question});
  EXPECT_EQ(undo(), "");
}

// --- Failures -----------------------------------------------------------------------------------

TEST_F(UndoTest, AFailureInTheFirstPassRollsTheStorageForward) {
  failUndoOf("B");
  run({0, 0, 0, 3});
  EXPECT_EQ(undo(),
            "C:apply~ B:apply~ "
            "error{Undo of MacroCommand 'B:apply' failed with exception: boom} "
            "C:apply throws{std: boom}");
}

TEST_F(UndoTest, TheRollForwardOfTheFirstPassLeavesDependentCommandsAlone) {
  failUndoOf("A");
  run({0, 3, 0, 0});
  EXPECT_EQ(undo(),
            "D:apply~ C:apply~ A:apply~ "
            "error{Undo of MacroCommand 'A:apply' failed with exception: boom} "
            "C:apply D:apply throws{std: boom}");
}

TEST_F(UndoTest, AFailureInTheSecondPassRollsBothForward) {
  failUndoOf("C");
  run({0, 3, 3, 0});
  EXPECT_EQ(undo(),
            "D:apply~ A:apply~ B:apply~ C:apply~ "
            "error{Undo of MacroCommand 'C:apply' failed with exception: boom} "
            "A:apply B:apply D:apply throws{std: boom}");
}

TEST_F(UndoTest, AFailureOfTheFirstDependentCommandRollsTheStorageForward) {
  failUndoOf("A");
  run({3, 0, 3, 0});
  EXPECT_EQ(undo(),
            "D:apply~ B:apply~ A:apply~ "
            "error{Undo of MacroCommand 'A:apply' failed with exception: boom} "
            "B:apply D:apply throws{std: boom}");
}

TEST_F(UndoTest, FailsWhereTheUndoTypeCannotBeAsked) {
  design["C"].apply.script->whenAskedForUndoType = [] { throw std::runtime_error("what type"); };
  run({0, 0, 0, 0});
  EXPECT_EQ(undo(),
            "D:apply~ error{Undo of MacroCommand 'C:apply' failed with exception: what type} "
            "D:apply throws{std: what type}");
}

TEST_F(UndoTest, FailsWhereTheUndoTypeCannotBeAskedInTheSecondPass) {
  int asked = 0;
  design["C"].apply.script->whenAskedForUndoType = [&] {
    if (++asked == 2) {
      throw std::runtime_error("what type");
    }
  };
  run({0, 3, 3, 0});
  EXPECT_EQ(undo(),
            "D:apply~ A:apply~ B:apply~ "
            "error{Undo of MacroCommand 'C:apply' failed with exception: what type} "
            "A:apply B:apply D:apply throws{std: what type}");
}

// The failure that is passed on is then the latest one: it says what could not be put right.
TEST_F(UndoTest, AFailingRollForwardEndsThereAndItsFailureGoesOn) {
  for (const auto& undoTypes : {std::vector<int>{0, 0, 0, 3}, std::vector<int>{3, 0, 0, 3}}) {
    failUndoOf("A");
    int executions = 0;
    design["B"].apply.script->whenExecuted = [&](ApplyUpdateInfo&) {
      if (++executions == 2) {
        throw std::out_of_range("not again");
      }
    };
    run(undoTypes);
    design.log.take();
    EXPECT_EQ(undo(),
              "C:apply~ B:apply~ A:apply~ "
              "error{Undo of MacroCommand 'A:apply' failed with exception: boom} "
              "B:apply throws{std: not again}");
  }
}

TEST_F(UndoTest, LogsInTheNameOfThePass) {
  design["A"].apply.script->logDescription = "For the log";
  failUndoOf("A");
  run({0, 3});
  undo();
  design["A"].apply.script->undoType = 3;
  update->execute();
  undo();
  const auto records = design.recorder.errors();
  ASSERT_EQ(records.size(), 2U);
  for (const auto& record : records) {
    EXPECT_EQ(record.text, "Undo of MacroCommand 'For the log' failed with exception: boom");
    EXPECT_EQ(record.file, "UpdateApplyModulesCmd");
    EXPECT_GT(record.line, 0);
  }
  EXPECT_EQ(records[0].function, "void Tessaril::UpdateApplyModulesCmd::undoStorageCommands()");
  EXPECT_EQ(records[1].function, "void Tessaril::UpdateApplyModulesCmd::undoDependentCommands()");
}

TEST_F(UndoTest, PassesTheVeryExceptionOn) {
  design["A"].apply.script->whenUndone = [](ApplyUpdateInfo&) { throw std::out_of_range("far"); };
  run({3});
  EXPECT_THROW(update->undo(), std::out_of_range);
}

TEST_F(UndoTest, DoesNotFinishTheProgressOfAFailedUndo) {
  failUndoOf("B");
  run({3, 3});
  undo();
  EXPECT_FALSE(update->getProgressPtr()->isFinished());
}

// Only the std::exception family is a failure that the undo knows how to treat.
TEST_F(UndoTest, LetsAnythingElsePassUntouched) {
  design["B"].apply.script->whenUndone = [](ApplyUpdateInfo&) { throw 7; };
  run({0, 3, 0});
  EXPECT_EQ(undo(), "C:apply~ A:apply~ B:apply~ throws{int: 7}");
}

TEST_F(UndoTest, TheRollForwardExecutesWithTheMessagesThatTheCommandsHold) {
  design["A"].apply.script->whenExecuted = [this](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeMessage(design.log, "m")});
  };
  failUndoOf("C");
  run({3, 3, 3});
  EXPECT_EQ(undo(),
            "A:apply~ B:apply~ C:apply~ "
            "error{Undo of MacroCommand 'C:apply' failed with exception: boom} "
            "A:apply(m) B:apply(m) throws{std: boom}");
}

TEST_F(UndoTest, ARedoThatFailsUndoesWhatWasRedone) {
  design["C"].apply.script->whenRedone = [] { throw std::runtime_error("boom"); };
  run({0, 3, 3});
  undo();
  EXPECT_EQ(design.redo(*update), "A:apply+ B:apply+ C:apply+ B:apply~ A:apply~ throws{std: boom}");
}

}  // namespace
}  // namespace Tessaril
