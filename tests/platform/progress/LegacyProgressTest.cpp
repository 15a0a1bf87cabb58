#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tessaril/platform/progress/LegacyProgress.h"

namespace Tessaril {
namespace {

using Speed = LegacyProgress::Speed;
using testing::ElementsAre;
using testing::IsEmpty;

/// Counts the announcements of one progress.
class Announcements {
 public:
  explicit Announcements(LegacyProgress& progress)
      : connection(progress.connectToSigChanged([this] { ++heard; })) {}

  int take() { return heard.exchange(0); }

 private:
  std::atomic<int> heard{0};
  Signals::ScopedConnection connection;
};

// --- Value, finish, reset -----------------------------------------------------------------------

TEST(LegacyProgressTest, BeginsAtZeroWithNothingRequestedOrSaid) {
  const LegacyProgress progress;
  EXPECT_EQ(progress.getValue(), 0.0);
  EXPECT_FALSE(progress.isFinished());
  EXPECT_FALSE(progress.isStopRequested());
  EXPECT_THAT(progress.getLogMessages(), IsEmpty());
}

TEST(LegacyProgressTest, ValueIsClampedAndNeverRunsBackwards) {
  LegacyProgress progress;
  progress.setValue(-5.0);
  EXPECT_EQ(progress.getValue(), 0.0);
  progress.setValue(42.5);
  EXPECT_EQ(progress.getValue(), 42.5);
  progress.setValue(42.0);
  EXPECT_EQ(progress.getValue(), 42.5);
  progress.setValue(std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(progress.getValue(), 42.5);
  progress.setValue(250.0);
  EXPECT_EQ(progress.getValue(), 100.0);
}

TEST(LegacyProgressTest, OnlyFinishFinishes) {
  LegacyProgress progress;
  progress.setValue(100.0);
  EXPECT_FALSE(progress.isFinished());
  progress.finish();
  EXPECT_TRUE(progress.isFinished());
  EXPECT_EQ(progress.getValue(), 100.0);
}

TEST(LegacyProgressTest, FinishKeepsTheStopRequest) {
  LegacyProgress progress;
  progress.requestStop();
  progress.finish();
  EXPECT_TRUE(progress.isStopRequested());
}

TEST(LegacyProgressTest, ResetBeginsAnewRun) {
  LegacyProgress progress;
  progress.addLogMessage(LogMessage("text", LogMessage::Info, ""));
  progress.requestStop();
  progress.finish();

  progress.reset();

  EXPECT_EQ(progress.getValue(), 0.0);
  EXPECT_FALSE(progress.isFinished());
  EXPECT_FALSE(progress.isStopRequested());
  EXPECT_THAT(progress.getLogMessages(), IsEmpty());
  progress.setValue(10.0);
  EXPECT_EQ(progress.getValue(), 10.0);
}

TEST(LegacyProgressTest, MessagesAreKeptInOrder) {
  LegacyProgress progress;
  const LogMessage first("one", LogMessage::Info, "");
  const LogMessage second("two", LogMessage::Error, "details");
  progress.addLogMessage(first);
  progress.addLogMessage(second);
  EXPECT_THAT(progress.getLogMessages(), ElementsAre(first, second));
}

TEST(LegacyProgressTest, MessagesOfASubProgressStayWithIt) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 50, 1);
  part.addLogMessage(LogMessage("text", LogMessage::Warning, ""));
  EXPECT_THAT(whole.getLogMessages(), IsEmpty());
}

// --- Sub-progress -------------------------------------------------------------------------------

TEST(SubProgressTest, MovesTheStretchFromThePresentValueUpToTheMark) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setValue(20.0);
  whole.setSubProgress(&part, 60, 1);
  EXPECT_EQ(whole.getValue(), 20.0);
  part.setValue(25.0);
  EXPECT_EQ(whole.getValue(), 30.0);
  part.setValue(50.0);
  EXPECT_EQ(whole.getValue(), 40.0);
  part.finish();
  EXPECT_EQ(whole.getValue(), 60.0);
  EXPECT_FALSE(whole.isFinished());
}

TEST(SubProgressTest, OneAfterTheOtherFillTheWhole) {
  LegacyProgress whole;
  LegacyProgress first;
  LegacyProgress second;
  whole.setSubProgress(&first, 49, 1);
  first.finish();
  EXPECT_EQ(whole.getValue(), 49.0);
  whole.setSubProgress(&second, 98, 1);
  second.setValue(50.0);
  EXPECT_EQ(whole.getValue(), 73.5);
  second.finish();
  EXPECT_EQ(whole.getValue(), 98.0);
}

TEST(SubProgressTest, RepetitionsShareTheStretchEqually) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 80, 4);
  part.setValue(50.0);
  EXPECT_EQ(whole.getValue(), 10.0);
  part.finish();
  EXPECT_EQ(whole.getValue(), 20.0);
  part.reset();
  EXPECT_EQ(whole.getValue(), 20.0);
  part.setValue(50.0);
  EXPECT_EQ(whole.getValue(), 30.0);
  part.setValue(100.0);
  EXPECT_EQ(whole.getValue(), 40.0);
  part.reset();
  part.finish();
  EXPECT_EQ(whole.getValue(), 60.0);
  part.reset();
  part.finish();
  EXPECT_EQ(whole.getValue(), 80.0);
}

TEST(SubProgressTest, MoreRunsThanRepetitionsStayAtTheMark) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 80, 1);
  part.finish();
  part.reset();
  part.setValue(50.0);
  part.finish();
  EXPECT_EQ(whole.getValue(), 80.0);
}

TEST(SubProgressTest, FinishingTwiceCompletesOneRepetition) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 90, 3);
  part.finish();
  part.finish();
  EXPECT_EQ(whole.getValue(), 30.0);
  part.reset();
  part.reset();
  part.setValue(50.0);
  EXPECT_EQ(whole.getValue(), 45.0);
}

TEST(SubProgressTest, ResetBeforeTheEndBeginsTheSameRepetitionAgain) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 50, 2);
  part.setValue(80.0);
  EXPECT_EQ(whole.getValue(), 20.0);
  part.reset();
  part.setValue(40.0);
  EXPECT_EQ(whole.getValue(), 20.0) << "waits for the sub-progress to catch up";
  part.finish();
  EXPECT_EQ(whole.getValue(), 25.0);
}

TEST(SubProgressTest, ARunEndedBeforeItWasAttachedIsNoRepetition) {
  LegacyProgress whole;
  LegacyProgress part;
  part.finish();
  whole.setSubProgress(&part, 80, 2);
  part.reset();
  EXPECT_EQ(whole.getValue(), 0.0);
  part.setValue(50.0);
  EXPECT_EQ(whole.getValue(), 20.0);
}

TEST(SubProgressTest, FinishCountsEvenIfTheValueStoodAtHundredWhenAttached) {
  LegacyProgress whole;
  LegacyProgress part;
  part.finish();
  whole.setSubProgress(&part, 80, 2);
  part.finish();
  EXPECT_EQ(whole.getValue(), 40.0);
  part.reset();
  part.setValue(50.0);
  EXPECT_EQ(whole.getValue(), 60.0);
}

TEST(SubProgressTest, AttachingAgainCountsRepetitionsAnew) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 40, 2);
  part.finish();
  part.reset();
  EXPECT_EQ(whole.getValue(), 20.0);
  whole.setSubProgress(&part, 80, 2);
  part.setValue(50.0);
  EXPECT_EQ(whole.getValue(), 35.0);
}

TEST(SubProgressTest, LessThanOneRepetitionCountsAsOne) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 50, 0);
  part.setValue(50.0);
  EXPECT_EQ(whole.getValue(), 25.0);
  whole.setSubProgress(&part, 75, -3);
  part.reset();
  part.finish();
  EXPECT_EQ(whole.getValue(), 75.0);
}

TEST(SubProgressTest, AMarkBelowThePresentValueCountsAsThePresentValue) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setValue(60.0);
  whole.setSubProgress(&part, 40, 1);
  part.finish();
  EXPECT_EQ(whole.getValue(), 60.0);
}

TEST(SubProgressTest, AMarkBeyondTheEndCountsAsTheEnd) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 300, 1);
  part.setValue(50.0);
  EXPECT_EQ(whole.getValue(), 50.0);
}

TEST(SubProgressTest, ASecondOneDetachesTheFirst) {
  LegacyProgress whole;
  LegacyProgress first;
  LegacyProgress second;
  whole.setSubProgress(&first, 50, 1);
  whole.setSubProgress(&second, 50, 1);
  first.finish();
  EXPECT_EQ(whole.getValue(), 0.0);
  second.setValue(50.0);
  EXPECT_EQ(whole.getValue(), 25.0);
}

TEST(SubProgressTest, NullDetachesOnly) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 50, 1);
  part.setValue(50.0);
  whole.setSubProgress(nullptr, 90, 1);
  part.finish();
  EXPECT_EQ(whole.getValue(), 25.0);
}

TEST(SubProgressTest, FinishAndResetOfTheWholeDetach) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 50, 1);
  whole.reset();
  part.setValue(50.0);
  EXPECT_EQ(whole.getValue(), 0.0);

  whole.setSubProgress(&part, 50, 1);
  whole.finish();
  whole.requestStop();
  EXPECT_FALSE(part.isStopRequested());
}

TEST(SubProgressTest, MovingToAnotherWholeLeavesTheFirst) {
  LegacyProgress before;
  LegacyProgress after;
  LegacyProgress part;
  before.setSubProgress(&part, 50, 1);
  after.setSubProgress(&part, 80, 1);
  part.setValue(50.0);
  EXPECT_EQ(before.getValue(), 0.0);
  EXPECT_EQ(after.getValue(), 40.0);
}

TEST(SubProgressTest, NestedOnesMoveEveryLevel) {
  LegacyProgress top;
  LegacyProgress middle;
  LegacyProgress bottom;
  top.setSubProgress(&middle, 50, 1);
  middle.setSubProgress(&bottom, 40, 1);
  bottom.setValue(50.0);
  EXPECT_EQ(middle.getValue(), 20.0);
  EXPECT_EQ(top.getValue(), 10.0);
}

TEST(SubProgressTest, AProgressCannotBecomePartOfItself) {
  LegacyProgress top;
  LegacyProgress bottom;
  top.setSubProgress(&bottom, 50, 1);
  bottom.setSubProgress(&top, 50, 1);
  bottom.setSubProgress(&bottom, 50, 1);
  EXPECT_FALSE(bottom.isStopRequested());
  bottom.setValue(50.0);
  EXPECT_EQ(bottom.getValue(), 50.0);
  EXPECT_EQ(top.getValue(), 25.0);
}

TEST(SubProgressTest, TheWholeMayGoFirst) {
  auto whole = std::make_unique<LegacyProgress>();
  LegacyProgress part;
  whole->setSubProgress(&part, 50, 1);
  whole->requestStop();
  EXPECT_TRUE(part.isStopRequested());
  whole.reset();
  part.setValue(50.0);
  EXPECT_EQ(part.getValue(), 50.0);
  EXPECT_FALSE(part.isStopRequested());
}

TEST(SubProgressTest, ThePartMayGoFirst) {
  LegacyProgress whole;
  auto part = std::make_unique<LegacyProgress>();
  whole.setSubProgress(part.get(), 50, 1);
  part->setValue(50.0);
  part.reset();
  EXPECT_EQ(whole.getValue(), 25.0);
  whole.setValue(30.0);
  whole.finish();
  EXPECT_EQ(whole.getValue(), 100.0);
}

// --- Stop request -------------------------------------------------------------------------------

TEST(StopRequestTest, IsHeardByEveryPart) {
  LegacyProgress top;
  LegacyProgress middle;
  LegacyProgress bottom;
  top.setSubProgress(&middle, 50, 1);
  middle.setSubProgress(&bottom, 50, 1);
  EXPECT_FALSE(bottom.isStopRequested());
  top.requestStop();
  EXPECT_TRUE(bottom.isStopRequested());
  EXPECT_TRUE(middle.isStopRequested());
}

TEST(StopRequestTest, OfAPartIsNotHeardByTheWhole) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 50, 1);
  part.requestStop();
  EXPECT_FALSE(whole.isStopRequested());
}

TEST(StopRequestTest, IsNotHeardByADetachedPart) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 50, 1);
  whole.requestStop();
  whole.setSubProgress(nullptr, 0, 1);
  EXPECT_FALSE(part.isStopRequested());
}

// --- Announcements ------------------------------------------------------------------------------

TEST(ProgressSignalTest, EveryChangeIsAnnouncedOnce) {
  LegacyProgress progress;
  Announcements announced(progress);
  progress.setValue(10.0);
  EXPECT_EQ(announced.take(), 1);
  progress.requestStop();
  EXPECT_EQ(announced.take(), 1);
  progress.addLogMessage(LogMessage("text", LogMessage::Info, ""));
  EXPECT_EQ(announced.take(), 1);
  progress.finish();
  EXPECT_EQ(announced.take(), 1);
  progress.reset();
  EXPECT_EQ(announced.take(), 1);
  progress.setValue(100.0);
  EXPECT_EQ(announced.take(), 1);
  progress.finish();
  EXPECT_EQ(announced.take(), 1) << "finished, though the value stays";
}

TEST(ProgressSignalTest, WhatChangesNothingIsNotAnnounced) {
  LegacyProgress progress;
  Announcements announced(progress);
  progress.reset();
  progress.setValue(0.0);
  EXPECT_EQ(announced.take(), 0);
  progress.requestStop();
  progress.setValue(50.0);
  progress.finish();
  announced.take();
  progress.requestStop();
  progress.setValue(20.0);
  progress.finish();
  EXPECT_EQ(announced.take(), 0);
}

TEST(ProgressSignalTest, ThePartIsAnnouncedBeforeTheWholeWhenBothHaveMoved) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 50, 1);
  std::vector<std::string> heard;
  const auto note = [&](const char* who) {
    heard.push_back(std::string(who) + ' ' + std::to_string(static_cast<int>(part.getValue())) +
                    ' ' + std::to_string(static_cast<int>(whole.getValue())));
  };
  const Signals::ScopedConnection first = whole.connectToSigChanged([&] { note("whole"); });
  const Signals::ScopedConnection second = part.connectToSigChanged([&] { note("part"); });
  part.setValue(50.0);
  EXPECT_THAT(heard, ElementsAre("part 50 25", "whole 50 25"));
}

TEST(ProgressSignalTest, SlotsAreCalledInConnectionOrderOnTheReportingThread) {
  LegacyProgress progress;
  std::string order;
  std::thread::id seen;
  const Signals::ScopedConnection first = progress.connectToSigChanged([&] { order += "a"; });
  const Signals::ScopedConnection second = progress.connectToSigChanged([&] {
    order += "b";
    seen = std::this_thread::get_id();
  });
  std::thread worker([&] { progress.setValue(10.0); });
  const std::thread::id workerId = worker.get_id();
  worker.join();
  EXPECT_EQ(order, "ab");
  EXPECT_EQ(seen, workerId);
}

TEST(ProgressSignalTest, ASlotMayAskAndReport) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 50, 1);
  const Signals::ScopedConnection connection = part.connectToSigChanged([&] {
    if (part.getValue() >= 50.0) {
      whole.requestStop();
    }
    whole.addLogMessage(LogMessage("seen", LogMessage::Info, ""));
  });
  part.setValue(50.0);
  EXPECT_TRUE(part.isStopRequested());
  EXPECT_EQ(whole.getLogMessages().size(), 1U);
}

TEST(ProgressSignalTest, ASlotMayWaitForAnotherThreadThatReports) {
  LegacyProgress progress;
  std::atomic<bool> helped{false};
  const Signals::ScopedConnection connection = progress.connectToSigChanged([&] {
    if (!helped.exchange(true)) {
      std::thread([&] { progress.setValue(20.0); }).join();
    }
  });
  progress.setValue(10.0);
  EXPECT_EQ(progress.getValue(), 20.0);
}

TEST(ProgressSignalTest, AThrowingSlotReachesTheReporterAndEndsTheEmission) {
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 50, 1);
  const Signals::ScopedConnection first =
      part.connectToSigChanged([] { throw std::runtime_error("slot"); });
  Announcements later(part);
  EXPECT_THROW(part.setValue(50.0), std::runtime_error);
  EXPECT_EQ(later.take(), 0);
  EXPECT_EQ(part.getValue(), 50.0);
  EXPECT_EQ(whole.getValue(), 25.0) << "values have moved before slots are called";
}

TEST(ProgressSignalTest, ADisconnectedSlotIsNotCalledNotEvenByTheRunningEmission) {
  LegacyProgress progress;
  int calls = 0;
  Signals::Connection later;
  const Signals::ScopedConnection first = progress.connectToSigChanged([&] { later.disconnect(); });
  later = progress.connectToSigChanged([&] { ++calls; });
  EXPECT_TRUE(later.isConnected());
  progress.setValue(10.0);
  progress.setValue(20.0);
  EXPECT_EQ(calls, 0);
  EXPECT_FALSE(later.isConnected());
}

TEST(ProgressSignalTest, ASlotConnectedDuringAnEmissionHearsTheNextOne) {
  LegacyProgress progress;
  int calls = 0;
  Signals::ScopedConnection inner;
  const Signals::ScopedConnection outer = progress.connectToSigChanged([&] {
    if (!inner.isConnected()) {
      inner = Signals::ScopedConnection(progress.connectToSigChanged([&] { ++calls; }));
    }
  });
  progress.setValue(10.0);
  EXPECT_EQ(calls, 0);
  progress.setValue(20.0);
  EXPECT_EQ(calls, 1);
}

TEST(ProgressSignalTest, SlotsStayConnectedOverAReset) {
  LegacyProgress progress;
  Announcements announced(progress);
  progress.finish();
  progress.reset();
  announced.take();
  progress.setValue(10.0);
  EXPECT_EQ(announced.take(), 1);
}

TEST(ProgressSignalTest, AConnectionOutlivesItsProgress) {
  auto progress = std::make_unique<LegacyProgress>();
  Signals::Connection connection = progress->connectToSigChanged([] {});
  EXPECT_TRUE(connection.isConnected());
  progress.reset();
  EXPECT_FALSE(connection.isConnected());
  connection.disconnect();
}

TEST(ProgressSignalTest, AWholeDestroyedUnderItsPartsReportTellsNobodyAnyMore) {
  auto whole = std::make_unique<LegacyProgress>();
  LegacyProgress part;
  whole->setSubProgress(&part, 50, 1);
  int calls = 0;
  const Signals::Connection ofWhole = whole->connectToSigChanged([&] { ++calls; });
  const Signals::ScopedConnection ofPart = part.connectToSigChanged([&] { whole.reset(); });
  part.setValue(50.0);
  EXPECT_EQ(calls, 0);
  EXPECT_FALSE(ofWhole.isConnected());
}

// --- Threads ------------------------------------------------------------------------------------

TEST(ProgressThreadsTest, ReportsFromManyThreadsNeverMoveAValueBack) {
  constexpr int kThreads = 3;
  constexpr int kSteps = 200;
  LegacyProgress whole;
  LegacyProgress part;
  whole.setSubProgress(&part, 80, 1);
  std::atomic<int> backwardSteps{0};
  std::latch everyoneReady(kThreads);
  std::vector<std::thread> workers;
  for (int worker = 0; worker < kThreads; ++worker) {
    workers.emplace_back([&, worker] {
      everyoneReady.arrive_and_wait();
      double last = 0.0;
      for (int step = 0; step < kSteps; ++step) {
        part.setValue(100.0 * (step * kThreads + worker) / (kSteps * kThreads));
        const double now = whole.getValue();
        backwardSteps += now < last ? 1 : 0;
        last = now;
        part.addLogMessage(LogMessage("step", LogMessage::Info, ""));
      }
    });
  }
  for (std::thread& worker : workers) {
    worker.join();
  }
  part.finish();
  EXPECT_EQ(backwardSteps, 0);
  EXPECT_EQ(whole.getValue(), 80.0);
  EXPECT_EQ(part.getLogMessages().size(), static_cast<std::size_t>(kThreads * kSteps));
}

/// Reports until told to leave; says when the first report has been made.
class Reporter {
 public:
  explicit Reporter(LegacyProgress& progress)
      : worker([this, &progress] {
          progress.setValue(1.0);
          begun.count_down();
          for (int step = 0; !leave; step = (step + 1) % 100) {
            progress.setValue(step);
            progress.isStopRequested();
            if (step == 0) {
              progress.reset();
            }
          }
        }) {
    begun.wait();
  }
  ~Reporter() {
    leave = true;
    worker.join();
  }

 private:
  std::latch begun{1};
  std::atomic<bool> leave{false};
  std::thread worker;
};

TEST(ProgressThreadsTest, TheWholeMayBeDestroyedWhileThePartReports) {
  LegacyProgress part;
  const Reporter reporter(part);
  for (int round = 0; round < 50; ++round) {
    LegacyProgress whole;
    whole.setSubProgress(&part, 50, 1);
    whole.requestStop();
    EXPECT_LE(whole.getValue(), 50.0);
  }
}

TEST(ProgressThreadsTest, ThePartMayBeDestroyedWhileTheWholeReports) {
  LegacyProgress whole;
  const Reporter reporter(whole);
  for (int round = 0; round < 50; ++round) {
    LegacyProgress part;
    whole.setSubProgress(&part, 90, 1);
    part.setValue(50.0);
    part.finish();
    EXPECT_EQ(part.getValue(), 100.0);
  }
}

TEST(ProgressThreadsTest, SlotsMayBeConnectedWhileAnotherThreadReports) {
  LegacyProgress progress;
  const Reporter reporter(progress);
  std::atomic<int> calls{0};
  std::latch heard(1);
  std::atomic<bool> first{true};
  const Signals::Connection connection = progress.connectToSigChanged([&] {
    ++calls;
    if (first.exchange(false)) {
      heard.count_down();
    }
  });
  heard.wait();
  EXPECT_GE(calls, 1);
}

// --- Rates --------------------------------------------------------------------------------------

int partitionOf(const std::vector<Speed::Rate>& added, Speed::Rate rate) {
  Speed speed;
  for (const Speed::Rate each : added) {
    speed.add(each);
  }
  return speed.getPartitionFromRate(rate);
}

TEST(SpeedTest, TheNormalRateIsThree) { EXPECT_EQ(static_cast<int>(Speed::Normal), 3); }

TEST(SpeedTest, ModulesOfEqualRateShareEquallyRoundedDown) {
  for (const auto rate :
       {Speed::VeryFast, Speed::Fast, Speed::Normal, Speed::Slow, Speed::VerySlow}) {
    EXPECT_EQ(partitionOf({rate}, rate), 100);
    EXPECT_EQ(partitionOf({rate, rate}, rate), 50);
    EXPECT_EQ(partitionOf({rate, rate, rate}, rate), 33);
  }
}

TEST(SpeedTest, SlowerRatesWeighMore) {
  const std::vector<Speed::Rate> all{Speed::Instant, Speed::VeryFast, Speed::Fast,
                                     Speed::Normal,  Speed::Slow,     Speed::VerySlow};
  int sum = 0;
  int last = -1;
  for (const Speed::Rate rate : all) {
    const int share = partitionOf(all, rate);
    EXPECT_GE(share, last);
    last = share;
    sum += share;
  }
  EXPECT_LE(sum, 100);
  EXPECT_GT(partitionOf(all, Speed::VerySlow), partitionOf(all, Speed::Normal));
  EXPECT_GT(partitionOf(all, Speed::Normal), partitionOf(all, Speed::Instant));
}

TEST(SpeedTest, NothingOfAnyWeightGivesTheWhole) {
  for (const auto rate : {Speed::Instant, Speed::VeryFast, Speed::Normal, Speed::VerySlow}) {
    EXPECT_EQ(partitionOf({}, rate), 100);
  }
}

TEST(SpeedTest, AShareIsNeverMoreThanTheWhole) {
  EXPECT_EQ(partitionOf({Speed::VeryFast}, Speed::VerySlow), 100);
}

TEST(SpeedTest, TheOrderOfAddingDoesNotMatter) {
  EXPECT_EQ(partitionOf({Speed::Slow, Speed::Fast}, Speed::Fast),
            partitionOf({Speed::Fast, Speed::Slow}, Speed::Fast));
}

}  // namespace
}  // namespace Tessaril
