#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>

#include "tests/platform/HeapWatch.h"
#include "tests/support/ScriptedDesign.h"

// What an update leaves behind in memory.

namespace Tessaril {
namespace {

using PlatformTests::HeapWatch;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedModule;

struct KindOfRun {
  const char* name;
  std::function<void(ScriptedDesign&)> prepare;
  /// Stands among the events of each run.
  const char* happens;
};

std::ostream& operator<<(std::ostream& stream, const KindOfRun& kind) {
  return stream << kind.name;
}

class UpdateMemoryTest : public testing::TestWithParam<KindOfRun> {
 protected:
  UpdateMemoryTest() { GetParam().prepare(design); }

  std::string run() { return design.run("A", "E", "G"); }

  /// What the design keeps for tests to look at.
  void forgetRuns() {
    design.forEachModule([](ScriptedModule& module) { module.madeCommands.clear(); });
    design.recorder.forgetErrors();
  }

  /// The bytes in use after so many more runs.
  std::size_t afterRuns(int count) {
    for (int i = 0; i < count; ++i) {
      run();
      forgetRuns();
    }
    return HeapWatch::bytesInUse();
  }

  ScriptedDesign design{"A -> B -> C -> D -> E -> F -> G; A -> S -> T; C -> U -> E; S -> V"};
};

TEST_P(UpdateMemoryTest, DoesNotGrowWithTheRuns) {
  ASSERT_NE(run().find(GetParam().happens), std::string::npos) << run();
  const std::size_t afterTen = afterRuns(10);
  EXPECT_LE(afterRuns(1000), afterTen);
}

// The one that is kept, in the history of commands for instance, is undone and redone.
TEST_P(UpdateMemoryTest, DoesNotGrowWithUndoAndRedo) {
  const auto update = design.update("A", "E", "G");
  design.run(*update);
  const auto afterRounds = [&](int count) {
    for (int i = 0; i < count; ++i) {
      design.undo(*update);
      design.redo(*update);
    }
    return HeapWatch::bytesInUse();
  };
  const std::size_t afterTen = afterRounds(10);
  EXPECT_LE(afterRounds(1000), afterTen);
}

TEST(BytesInUse, AreThoseNotGivenBackYet) {
  const std::size_t before = HeapWatch::bytesInUse();
  {
    const std::string text(1000, 'x');
    EXPECT_GE(HeapWatch::bytesInUse(), before + text.size());
  }
  EXPECT_EQ(HeapWatch::bytesInUse(), before);
}

INSTANTIATE_TEST_SUITE_P(
    Runs, UpdateMemoryTest,
    testing::Values(
        KindOfRun{"EverythingApplied",
                  [](ScriptedDesign& design) { design.needApply("A B C D E U"); }, "E:apply"},
        KindOfRun{"NothingToDo", [](ScriptedDesign&) {}, "finish(true)"},
        KindOfRun{"AutoApplies", [](ScriptedDesign& design) { design.needApply("A"); }, "T:auto"},
        KindOfRun{"Failing",
                  [](ScriptedDesign& design) {
                    design.needApply("A B C D E U");
                    design["C"].apply.script->whenExecuted = [](ApplyUpdateInfo&) {
                      throw std::runtime_error("no more");
                    };
                  },
                  "no more"}),
    [](const testing::TestParamInfo<KindOfRun>& kind) { return std::string(kind.param.name); });

}  // namespace
}  // namespace Tessaril
