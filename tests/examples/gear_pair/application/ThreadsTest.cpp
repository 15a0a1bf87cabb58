#include <gtest/gtest.h>

#include <thread>

#include "reference_platform/command_pattern/InlineThreadManager.h"
#include "reference_platform/command_pattern/SteppingThreadManager.h"
#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"
#include "tests/examples/gear_pair/application/TestSession.h"

namespace GearPair {
namespace {

using Tessaril::ReferencePlatform::InlineThreadManager;
using Tessaril::ReferencePlatform::SteppingThreadManager;
using Tessaril::ReferencePlatform::WorkerPoolThreadManager;

struct Story {
  std::vector<std::string> events;
  std::vector<Snapshot> states;
};

/// A little of everything, on whatever threads.
Story tell(std::shared_ptr<Tessaril::ThreadManager> threads) {
  DesignSession session(soundDesign(), std::move(threads));
  Story story;
  const auto update = [&] {
    story.events.push_back(updated(session));
    story.states.emplace_back(*session.design());
  };
  update();
  session.set("wheel_teeth=43");
  update();
  session.set("pinion_teeth=8");
  update();
  session.set("pinion_teeth=21");
  update();
  session.undo();
  story.states.emplace_back(*session.design());
  session.redo();
  story.states.emplace_back(*session.design());
  return story;
}

class ThreadManagers : public testing::TestWithParam<int> {
 protected:
  static std::shared_ptr<Tessaril::ThreadManager> make(int choice) {
    switch (choice) {
      case 0:
        return std::make_shared<InlineThreadManager>();
      case 1:
        return std::make_shared<WorkerPoolThreadManager>(1);
      case 2:
        return std::make_shared<WorkerPoolThreadManager>(3);
      default:
        return std::make_shared<SteppingThreadManager>();
    }
  }
};

TEST_P(ThreadManagers, DoNotChangeTheResults) {
  const Story expected = tell(nullptr);
  const Story story = tell(make(GetParam()));
  EXPECT_EQ(story.events, expected.events);
  ASSERT_EQ(story.states.size(), expected.states.size());
  for (std::size_t i = 0; i < story.states.size(); ++i) {
    EXPECT_EQ(difference(story.states[i], expected.states[i]), "") << "state " << i;
  }
}

INSTANTIATE_TEST_SUITE_P(All, ThreadManagers, testing::Values(0, 1, 2, 3));

TEST(Threads, OnlyFullAppliesRunOnWorkers) {
  DesignSession session(soundDesign(), std::make_shared<WorkerPoolThreadManager>(2));
  for (const StepEvent& event : session.update()->getEvents()) {
    EXPECT_EQ(event.ranOnWorker, !event.isAutoApply) << event.module->getName();
  }
  EXPECT_EQ(session.getAccount().at("mesh"), "applied on a worker");
  EXPECT_EQ(session.getAccount().at("drawing"), "auto-applied");
}

TEST(Threads, ListenersHearOfChangesOnTheThreadOfTheDesign) {
  DesignSession session(soundDesign(), std::make_shared<WorkerPoolThreadManager>(1));
  const auto own = std::this_thread::get_id();
  int heard = 0;
  std::vector<Tessaril::Signals::ScopedConnection> connections;
  for (const auto& module : session.design()->getModules()) {
    connections.emplace_back(module->connectToSigStateChanged(Tessaril::Signals::Slot<void()>([&] {
      ++heard;
      EXPECT_EQ(std::this_thread::get_id(), own);
    })));
  }
  session.update();
  session.set("pinion_teeth=8");
  session.update();
  session.undo();
  session.redo();
  EXPECT_GT(heard, 0);
}

}  // namespace
}  // namespace GearPair
