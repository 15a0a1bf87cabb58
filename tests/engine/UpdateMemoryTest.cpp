#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>

#include "tests/support/ScriptedDesign.h"

// What an update leaves behind in memory. A program of its own, since its operator new is replaced.

namespace {

std::atomic<std::size_t> bytesInUse{0};

// In front of each block stands its size; the block keeps the alignment that operator new promises.
constexpr std::size_t kHeader = alignof(std::max_align_t);
static_assert(kHeader >= sizeof(std::size_t));

}  // namespace

// All forms but those for over-aligned types, so that none of them meets a form of another library:
// a sanitizer's forms do not come down to the plain one.

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  void* block = std::malloc(kHeader + size);
  if (block == nullptr) {
    return nullptr;
  }
  new (block) std::size_t(size);
  bytesInUse += size;
  return static_cast<std::byte*>(block) + kHeader;
}

void* operator new(std::size_t size) {
  if (void* memory = operator new(size, std::nothrow)) {
    return memory;
  }
  throw std::bad_alloc();
}

void* operator new[](std::size_t size) { return operator new(size); }
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}

void operator delete(void* memory) noexcept {
  if (memory != nullptr) {
    void* block = static_cast<std::byte*>(memory) - kHeader;
    bytesInUse -= *static_cast<std::size_t*>(block);
    std::free(block);
  }
}
void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
  operator delete(memory);
}
void operator delete[](void* memory) noexcept { operator delete(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }
void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
  operator delete(memory);
}

namespace Tessaril {
namespace {

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
    return bytesInUse;
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
    return bytesInUse.load();
  };
  const std::size_t afterTen = afterRounds(10);
  EXPECT_LE(afterRounds(1000), afterTen);
}

TEST(BytesInUse, AreThoseNotGivenBackYet) {
  const std::size_t before = bytesInUse;
  {
    const std::string text(1000, 'x');
    EXPECT_GE(bytesInUse, before + text.size());
  }
  EXPECT_EQ(bytesInUse, before);
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
