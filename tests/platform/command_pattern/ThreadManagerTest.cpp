#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tessaril/platform/command_pattern/ThreadManager.h"
#include "tests/platform/ConformanceHost.h"

namespace Tessaril {
namespace {

/// Every test runs with each kind of thread manager that the host has.
class ThreadManagerTest : public testing::TestWithParam<std::size_t> {
 protected:
  std::shared_ptr<ThreadManager> manager =
      ConformanceHost::threadManagerKinds().at(GetParam()).make();
};

std::string managerName(const testing::TestParamInfo<std::size_t>& info) {
  return ConformanceHost::threadManagerKinds().at(info.param).name;
}

INSTANTIATE_TEST_SUITE_P(Managers, ThreadManagerTest,
                         testing::Range<std::size_t>(0,
                                                     ConformanceHost::threadManagerKinds().size()),
                         managerName);

TEST_P(ThreadManagerTest, RunsEachJobOnce) {
  std::vector<std::atomic<int>> runs(20);
  std::atomic<int> ended{0};
  for (auto& count : runs) {
    manager->start([&] {
      ++count;
      ++ended;
    });
  }
  manager->waitUntil([&] { return ended == 20; });
  for (const auto& count : runs) {
    EXPECT_EQ(count, 1);
  }
}

TEST_P(ThreadManagerTest, WhatAJobWroteIsVisibleOnceItsEndWasSeen) {
  int plain = 0;
  std::atomic<bool> ended{false};
  manager->start([&] {
    plain = 7;
    ended.store(true, std::memory_order_release);
  });
  manager->waitUntil([&] { return ended.load(std::memory_order_acquire); });
  EXPECT_EQ(plain, 7);
}

TEST_P(ThreadManagerTest, DoneIsAskedAtOnce) {
  int asked = 0;
  manager->waitUntil([&] {
    ++asked;
    return true;
  });
  EXPECT_EQ(asked, 1);
}

TEST_P(ThreadManagerTest, DoneIsAskedOnTheWaitingThread) {
  std::atomic<bool> ended{false};
  manager->start([&] { ended = true; });
  bool elsewhere = false;
  manager->waitUntil([&, own = std::this_thread::get_id()] {
    elsewhere = elsewhere || std::this_thread::get_id() != own;
    return ended.load();
  });
  EXPECT_FALSE(elsewhere);
}

TEST_P(ThreadManagerTest, DoneMayAskForMoreJobs) {
  std::atomic<int> ended{0};
  int started = 0;
  manager->waitUntil([&] {
    if (ended == started && started < 3) {
      ++started;
      manager->start([&] { ++ended; });
    }
    return ended == 3;
  });
  EXPECT_EQ(ended, 3);
}

TEST_P(ThreadManagerTest, AJobMayStartAnotherOne) {
  std::atomic<bool> ended{false};
  manager->start([&] { manager->start([&] { ended = true; }); });
  manager->waitUntil([&] { return ended.load(); });
  EXPECT_TRUE(ended);
}

TEST_P(ThreadManagerTest, AJobMayWaitForAnotherOne) {
  std::atomic<bool> innerEnded{false};
  std::atomic<bool> outerEnded{false};
  std::atomic<bool> inOrder{false};
  manager->start([&] {
    manager->start([&] { innerEnded = true; });
    manager->waitUntil([&] { return innerEnded.load(); });
    inOrder = innerEnded.load();
    outerEnded = true;
  });
  manager->waitUntil([&] { return outerEnded.load(); });
  EXPECT_TRUE(inOrder);
}

TEST_P(ThreadManagerTest, WaitsOnSeveralThreadsEndEachForItself) {
  constexpr int kWaiters = 3;
  std::atomic<int> served{0};
  std::vector<std::thread> waiters;
  for (int waiter = 0; waiter < kWaiters; ++waiter) {
    waiters.emplace_back([&] {
      std::atomic<bool> ended{false};
      manager->start([&] { ended = true; });
      manager->waitUntil([&] { return ended.load(); });
      ++served;
    });
  }
  for (std::thread& waiter : waiters) {
    waiter.join();
  }
  EXPECT_EQ(served, kWaiters);
}

TEST_P(ThreadManagerTest, WhatAJobOwnsIsGoneWhenItsEndIsAnnounced) {
  auto owned = std::make_shared<int>(1);
  const std::weak_ptr<int> watched = owned;
  std::atomic<int> ended{0};
  manager->start([&, owned = std::move(owned)] { ended += *owned; });
  manager->waitUntil([&] { return ended == 1 && watched.expired(); });
  EXPECT_TRUE(watched.expired());
}

TEST_P(ThreadManagerTest, WhatAJobOwnsMayUseTheManagerWhileItGoes) {
  std::atomic<bool> ended{false};
  std::shared_ptr<int> owned(new int(1), [&](const int* value) {
    delete value;
    manager->start([&] { ended = true; });
  });
  manager->start([owned = std::move(owned)] {});
  manager->waitUntil([&] { return ended.load(); });
  EXPECT_TRUE(ended);
}

}  // namespace
}  // namespace Tessaril
