#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "reference_platform/command_pattern/InlineThreadManager.h"
#include "reference_platform/command_pattern/SteppingThreadManager.h"
#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"
#include "tests/support/RandomGraph.h"
#include "tests/support/ScriptedDesign.h"
#include "tests/support/ScriptedMessage.h"

// Random designs, whose modules answer at random, are updated under every kind of thread manager.
// Whatever they answer, the laws of updates hold.

namespace Tessaril {
namespace {

using TestSupport::Answer;
using TestSupport::Document;
using TestSupport::EventKind;
using TestSupport::forSeeds;
using TestSupport::makeGlobalMessage;
using TestSupport::makeMessage;
using TestSupport::Random;
using TestSupport::RandomGraphParameters;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedModule;
using TestSupport::ScriptedUpdate;

using Rate = LegacyProgress::Speed::Rate;

constexpr std::uint64_t kDesigns = 400;

/// What may happen in a random design beside applies and auto applies.
struct Happenings {
  unsigned failures = 0;
  unsigned hooks = 0;
};

Answer randomAnswer(Random& random, unsigned trueProbability) {
  const bool first = random.percent(trueProbability);
  const bool then = random.percent(trueProbability);
  return Answer{first, then, random.percent(trueProbability)};
}

/// A design, an update of a random range of it, and what the update did.
class RandomRun {
 public:
  RandomRun(std::uint64_t seed, Happenings whatHappens,
            const std::shared_ptr<ThreadManager>& manager)
      : random(seed + 1000), happenings(whatHappens), design(makeGraph(seed)) {
    design.forEachModule([this](ScriptedModule& module) { decide(module); });
    design.writeIntoDocument();
    start = anyModule();
    end = anyModule();
    horizon = random.percent(30) ? anyModule() : std::string();
    update = design.cachedUpdate(start, end, horizon);
    update->setThreadManager(manager);
    if (random.percent(happenings.hooks)) {
      const std::string stop = anyModule();
      update->suppresses = [stop](const std::string& name) { return name == stop; };
    }
    if (random.percent(happenings.hooks)) {
      const std::string stop = anyModule();
      update->cancels = [stop](const std::string& name) { return name == stop; };
    }
    design.log.alsoHear({EventKind::Question, EventKind::Hook, EventKind::Creation, EventKind::User,
                         EventKind::Progress});
    design.log.take();
    update->execute();
    events = design.log.takeEvents();
    for (const auto& event : events) {
      told += event.text + " ";
    }
    afterwards = design.document;
  }

  /// The names of the modules that did `step`, in order; "apply" or "auto".
  std::vector<std::string> modulesThatDid(const std::string& step) const {
    std::vector<std::string> names;
    for (const auto& event : events) {
      const auto colon = event.text.find(':');
      if (event.kind == EventKind::Step && event.text.compare(colon + 1, step.size(), step) == 0) {
        names.push_back(event.text.substr(0, colon));
      }
    }
    return names;
  }

  bool isOnTheWay(const std::string& name) const {
    return design.module(name)->hasAsAncestor(design.module(start)) &&
           design.module(end)->hasAsAncestor(design.module(name));
  }

  Random random;
  Happenings happenings;
  ScriptedDesign design;
  std::string start;
  std::string end;
  std::string horizon;
  std::shared_ptr<ScriptedUpdate> update;
  std::vector<TestSupport::Event> events;
  std::string told;
  Document afterwards;

 private:
  static std::function<TestSupport::TestGraph(const TestSupport::ModuleFactory&)> makeGraph(
      std::uint64_t seed) {
    return [seed](const TestSupport::ModuleFactory& factory) {
      Random shape(seed);
      const RandomGraphParameters parameters{.modules = 2 + shape.below(12),
                                             .roots = 1 + shape.below(2),
                                             .links = static_cast<unsigned>(10 + shape.below(40)),
                                             .dead = shape.percent(20) ? 10U : 0U};
      auto graph = TestSupport::randomGraph(seed, parameters, factory);
      if (graph.size() == 0) {
        graph.add("lone", factory("lone"));
      }
      return graph;
    };
  }

  std::string anyModule() {
    const auto& members = design.graph.members();
    return members[random.below(members.size())].name;
  }

  void decide(ScriptedModule& module) {
    module.necessary = randomAnswer(random, 50);
    module.possible = randomAnswer(random, 80);
    module.autoNecessary = randomAnswer(random, 60);
    module.autoPossible = randomAnswer(random, 80);
    module.always = randomAnswer(random, 40);
    module.shared = randomAnswer(random, 30);
    module.consistent = randomAnswer(random, 70);
    module.speedRate = static_cast<Rate>(random.below(6));
    if (random.percent(30)) {
      module.message.script.emplace();
    }
    if (random.percent(10)) {
      module.autoApply.script.reset();
    }
    if (random.percent(5)) {
      module.apply.script.reset();
    }
    for (auto* making : {&module.apply, &module.autoApply}) {
      if (making->script) {
        making->script->undoType = static_cast<int>(random.below(4));
        making->script->hasData = random.percent(90);
        making->script->whenExecuted = step();
      }
    }
  }

  std::function<void(ApplyUpdateInfo&)> step() {
    const bool fails = random.percent(happenings.failures);
    const auto message = random.below(6);
    return [this, fails, message](ApplyUpdateInfo& info) {
      if (fails) {
        throw std::runtime_error("boom");
      }
      if (message == 0) {
        info = ApplyUpdateInfo({makeMessage(design.log, "m")});
      } else if (message == 1) {
        info = ApplyUpdateInfo({makeGlobalMessage(design.log, "g")});
      } else if (message == 2) {
        info.clear();
      }
    };
  }
};

void expectAtMostOnce(std::vector<std::string> names, const std::string& what) {
  std::sort(names.begin(), names.end());
  EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << what;
}

/// No module is applied before one that it depends on.
void expectInGraphOrder(const RandomRun& run, const std::vector<std::string>& names) {
  for (std::size_t later = 0; later < names.size(); ++later) {
    for (std::size_t earlier = 0; earlier < later; ++earlier) {
      EXPECT_FALSE(
          run.design.module(names[earlier])->hasAsAncestor(run.design.module(names[later])))
          << names[earlier] << " was applied before " << names[later] << " in " << run.told;
    }
  }
}

void expectEndsAsItShould(const RandomRun& run) {
  std::string ends;
  for (const auto& event : run.events) {
    if (event.kind == EventKind::Run) {
      ends += event.text + " ";
    }
  }
  const bool ordinary = ends == "cache:begin cache:end finish(true) ";
  const bool stopped = ends == "cache:begin cache:end finish(false) cache:end finish(true) ";
  const bool failed = ends == "cache:begin cache:end finish(false) ";
  EXPECT_TRUE(ordinary || stopped || failed) << ends;
  EXPECT_EQ(failed, run.update->hasExceptionBeenThrown()) << run.told;
  EXPECT_TRUE(run.update->getProgressPtr()->isFinished());
}

void expectLaws(RandomRun& run) {
  SCOPED_TRACE(TestSupport::text(run.design.graph) + "  from " + run.start + " to " + run.end +
               "\n" + run.told);
  const auto applied = run.modulesThatDid("apply");
  expectAtMostOnce(applied, "applied twice");
  expectInGraphOrder(run, applied);
  for (const std::string& name : applied) {
    EXPECT_TRUE(run.isOnTheWay(name)) << name << " lies off the way";
  }
  expectEndsAsItShould(run);

  EXPECT_EQ(run.design.undo(*run.update).find("throws"), std::string::npos);
  EXPECT_EQ(run.design.document, Document());
  EXPECT_EQ(run.design.redo(*run.update).find("throws"), std::string::npos);
  EXPECT_EQ(run.design.document, run.afterwards);
}

TEST(RandomDesignTest, EachModuleIsAppliedOrAutoAppliedAtMostOnce) {
  std::size_t applies = 0;
  std::size_t autoApplies = 0;
  forSeeds(kDesigns, [&](std::uint64_t seed) {
    RandomRun run(seed, {}, nullptr);
    expectLaws(run);
    auto handled = run.modulesThatDid("apply");
    const auto automatic = run.modulesThatDid("auto");
    applies += handled.size();
    autoApplies += automatic.size();
    handled.insert(handled.end(), automatic.begin(), automatic.end());
    expectAtMostOnce(handled, run.told);
  });
  // The designs are worth their while.
  EXPECT_GT(applies, kDesigns / 2);
  EXPECT_GT(autoApplies, kDesigns / 2);
}

TEST(RandomDesignTest, LawsHoldForStoppedRuns) {
  std::size_t stopped = 0;
  forSeeds(kDesigns, [&](std::uint64_t seed) {
    RandomRun run(seed, {.hooks = 60}, nullptr);
    expectLaws(run);
    stopped += run.told.find("finish(false)") != std::string::npos ? 1 : 0;
  });
  EXPECT_GT(stopped, kDesigns / 20);
}

TEST(RandomDesignTest, LawsHoldForFailedRuns) {
  std::size_t failed = 0;
  forSeeds(kDesigns, [&](std::uint64_t seed) {
    RandomRun run(seed, {.failures = 20}, nullptr);
    expectLaws(run);
    failed += run.update->hasExceptionBeenThrown() ? 1 : 0;
  });
  EXPECT_GT(failed, kDesigns / 20);
}

TEST(RandomDesignTest, RunsHappenTheSameUnderEveryThreadManager) {
  const std::vector<std::shared_ptr<ThreadManager>> managers{
      std::make_shared<ReferencePlatform::InlineThreadManager>(),
      std::make_shared<ReferencePlatform::WorkerPoolThreadManager>(2),
      std::make_shared<ReferencePlatform::SteppingThreadManager>()};
  forSeeds(kDesigns / 4, [&](std::uint64_t seed) {
    const Happenings happenings{.failures = 10, .hooks = 20};
    const RandomRun plain(seed, happenings, nullptr);
    for (const auto& manager : managers) {
      RandomRun run(seed, happenings, manager);
      EXPECT_EQ(run.told, plain.told);
      EXPECT_EQ(run.afterwards, plain.afterwards);
      expectLaws(run);
    }
  });
}

}  // namespace
}  // namespace Tessaril
