#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "tessaril/platform/logging/LogMessage.h"
#include "tessaril/platform/logging/Logging.h"
#include "tests/platform/ConformanceHost.h"

namespace Tessaril {
namespace {

using ConformanceHost::LoggedRecord;
using testing::ElementsAre;
using testing::IsEmpty;

/// Logs while static objects are built.
struct LogsAtStart {
  LogsAtStart() { Logging::logERROR("static initialisation", "LoggingTest", "start", __LINE__); }
};

/// Logs while static objects are destroyed. It was built before the log was first used, so it goes
/// after whatever the log has built since. The tests have ended by then: only the exit code is left
/// to tell that the record was lost.
struct LogsAtEnd {
  ~LogsAtEnd() {
    if (!capture) {
      return;
    }
    const std::size_t before = capture->getRecords().size();
    Logging::logERROR("static destruction", "LoggingTest", "end", __LINE__);
    if (capture->getRecords().size() != before + 1) {
      std::fputs("A record was lost while static objects were destroyed\n", stderr);
      std::_Exit(EXIT_FAILURE);
    }
  }
  std::unique_ptr<ConformanceHost::LogCapture> capture;
};

LogsAtEnd logsAtEnd;
const LogsAtStart kLogsAtStart;

TEST(LoggingTest, MayHappenWhileStaticObjectsAreDestroyed) {
  logsAtEnd.capture = ConformanceHost::captureLog();
  EXPECT_THAT(logsAtEnd.capture->getRecords(), IsEmpty()) << "the rest is checked at the exit";
}

TEST(LoggingTest, RecordsCarryLevelTextAndPlace) {
  const auto captured = ConformanceHost::captureLog();
  Logging::logTRACE("begin", "UpdateApplyModulesCmd", "void Tessaril::run(int)", 12);
  Logging::logERROR("failure", "ApplyMacroCmd", "void Tessaril::stop()", 7);
  EXPECT_THAT(captured->getRecords(),
              ElementsAre(LoggedRecord{LoggedRecord::Level::Trace, "begin", "UpdateApplyModulesCmd",
                                       "void Tessaril::run(int)", 12},
                          LoggedRecord{LoggedRecord::Level::Error, "failure", "ApplyMacroCmd",
                                       "void Tessaril::stop()", 7}));
}

TEST(LoggingTest, TextsArriveAsTheyAre) {
  const std::string odd("%1 %s {} \n\"\0 end", 16);
  const auto captured = ConformanceHost::captureLog();
  Logging::logERROR(odd, "", "", 0);
  const auto records = captured->getRecords();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0], (LoggedRecord{LoggedRecord::Level::Error, odd, "", "", 0}));
}

TEST(LoggingTest, ACaptureHoldsOnlyItsOwnTime) {
  Logging::logERROR("before", "file", "function", 1);
  const auto captured = ConformanceHost::captureLog();
  EXPECT_THAT(captured->getRecords(), IsEmpty());
}

TEST(LoggingTest, MayHappenOnAnyThread) {
  constexpr int kThreads = 4;
  constexpr int kEach = 250;
  const auto captured = ConformanceHost::captureLog();
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([number] {
      for (int i = 0; i < kEach; ++i) {
        Logging::logTRACE(std::to_string(number), "file", "function", i);
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  const auto records = captured->getRecords();
  EXPECT_EQ(records.size(), static_cast<std::size_t>(kThreads * kEach));
  for (int number = 0; number < kThreads; ++number) {
    std::vector<int> lines;
    for (const auto& record : records) {
      if (record.text == std::to_string(number)) {
        lines.push_back(record.line);
      }
    }
    EXPECT_EQ(lines.size(), static_cast<std::size_t>(kEach));
    EXPECT_TRUE(std::is_sorted(lines.begin(), lines.end())) << "thread " << number;
  }
}

TEST(LoggingTest, AFailingSinkIsNotTheCallersConcern) {
  const auto failing = ConformanceHost::installFailingSink();
  const auto captured = ConformanceHost::captureLog();
  const auto failingAsWell = ConformanceHost::installFailingSink();
  EXPECT_NO_THROW(Logging::logTRACE("first", "file", "function", 1));
  EXPECT_NO_THROW(Logging::logERROR("second", "file", "function", 2));
  std::vector<std::string> texts;
  for (const auto& record : captured->getRecords()) {
    texts.push_back(record.text);
  }
  EXPECT_THAT(texts, ElementsAre("first", "second"));
}

TEST(LoggingTest, MayHappenWhileNobodyListens) {
  EXPECT_NO_THROW(Logging::logERROR("unheard", "file", "function", 1));
}

TEST(LoggingTest, IsNoObject) { EXPECT_FALSE(std::is_default_constructible_v<Logging>); }

TEST(LogMessageTest, TypesHaveFixedValues) {
  EXPECT_EQ(static_cast<int>(LogMessage::Info), 0);
  EXPECT_EQ(static_cast<int>(LogMessage::Warning), 1);
  EXPECT_EQ(static_cast<int>(LogMessage::Error), 2);
}

TEST(LogMessageTest, CarriesTextTypeAndDetails) {
  const LogMessage message("text", LogMessage::Warning, "details");
  EXPECT_EQ(message.getText(), "text");
  EXPECT_EQ(message.getType(), LogMessage::Warning);
  EXPECT_EQ(message.getDetails(), "details");
}

TEST(LogMessageTest, EqualityLooksAtEverything) {
  const LogMessage message("text", LogMessage::Error, "");
  EXPECT_EQ(message, LogMessage("text", LogMessage::Error, ""));
  EXPECT_NE(message, LogMessage("other", LogMessage::Error, ""));
  EXPECT_NE(message, LogMessage("text", LogMessage::Info, ""));
  EXPECT_NE(message, LogMessage("text", LogMessage::Error, "details"));
}

}  // namespace
}  // namespace Tessaril
