#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "reference_platform/logging/LogSinks.h"
#include "tessaril/platform/logging/Logging.h"

namespace Tessaril::ReferencePlatform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

void log(const std::string& text) { Logging::logTRACE(text, "File", "function", 1); }

class LogSinksTest : public testing::Test {
 protected:
  LogSink writing(const std::string& name) {
    return [this, name](const LogRecord& record) { heard.push_back(name + ": " + record.text); };
  }

  std::vector<std::string> heard;
};

TEST_F(LogSinksTest, ASinkReceivesTheWholeRecord) {
  std::optional<LogRecord> received;
  const auto registration = addLogSink([&](const LogRecord& record) { received = record; });
  Logging::logERROR("text", "File", "void function()", 42);
  EXPECT_EQ(received, (LogRecord{LogLevel::Error, "text", "File", "void function()", 42}));
  Logging::logTRACE("text", "File", "void function()", 43);
  EXPECT_EQ(received, (LogRecord{LogLevel::Trace, "text", "File", "void function()", 43}));
}

TEST_F(LogSinksTest, SinksAreCalledInTheOrderInWhichTheyWereAdded) {
  const auto first = addLogSink(writing("first"));
  const auto second = addLogSink(writing("second"));
  log("a");
  EXPECT_THAT(heard, ElementsAre("first: a", "second: a"));
}

TEST_F(LogSinksTest, ASinkIsRemovedWithItsRegistration) {
  const auto first = addLogSink(writing("first"));
  {
    const auto second = addLogSink(writing("second"));
    log("a");
  }
  log("b");
  EXPECT_THAT(heard, ElementsAre("first: a", "second: a", "first: b"));
}

TEST_F(LogSinksTest, ASinkIsCalledOnTheThreadThatLogs) {
  std::thread::id calledOn;
  const auto registration =
      addLogSink([&](const LogRecord&) { calledOn = std::this_thread::get_id(); });
  std::thread logging([] { log("a"); });
  const auto expected = logging.get_id();
  logging.join();
  EXPECT_EQ(calledOn, expected);
}

TEST_F(LogSinksTest, AnEmptySinkReceivesNothing) {
  const auto registration = addLogSink({});
  EXPECT_NO_THROW(log("a"));
}

TEST_F(LogSinksTest, AThrowingSinkMissesOnlyThatRecord) {
  const auto throwing = addLogSink([this](const LogRecord& record) {
    if (record.text == "a") {
      throw std::runtime_error("broken");
    }
    heard.push_back("throwing: " + record.text);
  });
  const auto other = addLogSink(writing("other"));
  log("a");
  log("b");
  EXPECT_THAT(heard, ElementsAre("other: a", "throwing: b", "other: b"));
}

TEST_F(LogSinksTest, ASinkThatThrowsNoExceptionObjectDisturbsNobodyEither) {
  const auto throwing = addLogSink([](const LogRecord&) { throw 1; });
  const auto other = addLogSink(writing("other"));
  EXPECT_NO_THROW(log("a"));
  EXPECT_THAT(heard, ElementsAre("other: a"));
}

TEST_F(LogSinksTest, WhatASinkLogsReachesNoSink) {
  const auto logging = addLogSink([](const LogRecord&) { log("from the sink"); });
  const auto other = addLogSink(writing("other"));
  log("a");
  log("b");
  EXPECT_THAT(heard, ElementsAre("other: a", "other: b"));
}

TEST_F(LogSinksTest, WhatASinkHoldsIsReleasedWithItsRegistration) {
  auto held = std::make_shared<int>();
  auto registration = addLogSink([held](const LogRecord&) { ++*held; });
  log("a");
  registration.end();
  log("b");
  EXPECT_EQ(*held, 1);
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(LogSinksTest, ASinkMayEndItsOwnRegistration) {
  Registration own;
  own = addLogSink([&](const LogRecord& record) {
    own.end();
    heard.push_back("own: " + record.text);
  });
  log("a");
  log("b");
  EXPECT_THAT(heard, ElementsAre("own: a"));
}

TEST_F(LogSinksTest, ASinkRemovedByAnotherMissesTheRecordUnderWay) {
  Registration removed;
  const auto removing = addLogSink([&](const LogRecord&) { removed.end(); });
  removed = addLogSink(writing("removed"));
  log("a");
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(LogSinksTest, ASinkMayAddAnotherThatHearsTheNextRecord) {
  Registration added;
  const auto adding = addLogSink([&](const LogRecord& record) {
    if (record.text == "a") {
      added = addLogSink(writing("added"));
    }
  });
  log("a");
  EXPECT_THAT(heard, IsEmpty());
  log("b");
  EXPECT_THAT(heard, ElementsAre("added: b"));
}

TEST_F(LogSinksTest, RemovingWaitsForTheCallOnAnotherThread) {
  std::promise<void> entered;
  std::promise<void> mayLeave;
  bool left = false;
  auto registration = addLogSink([&](const LogRecord&) {
    entered.set_value();
    mayLeave.get_future().wait();
    left = true;
  });
  std::thread logging([] { log("a"); });
  entered.get_future().wait();
  std::thread opening([&] { mayLeave.set_value(); });
  registration.end();
  EXPECT_TRUE(left);
  logging.join();
  opening.join();
}

TEST_F(LogSinksTest, SinksComeAndGoWhileOthersLog) {
  constexpr int kRounds = 200;
  const auto lasting = addLogSink(writing("lasting"));
  std::thread logging([] {
    for (int i = 0; i < kRounds; ++i) {
      log("a");
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    auto text = std::make_unique<std::string>("alive");
    const auto passing = addLogSink([&text](const LogRecord& record) { *text += record.text; });
  }
  logging.join();
  EXPECT_EQ(heard.size(), static_cast<std::size_t>(kRounds));
}

TEST_F(LogSinksTest, ARegistrationMovesAndEndsOnce) {
  auto source = std::make_unique<Registration>(addLogSink(writing("sink")));
  Registration target(std::move(*source));
  source.reset();
  log("a");
  EXPECT_THAT(heard, ElementsAre("sink: a"));
  target.end();
  target.end();
  log("b");
  EXPECT_THAT(heard, ElementsAre("sink: a"));
}

TEST_F(LogSinksTest, AssigningARegistrationEndsTheOneItHeld) {
  Registration registration = addLogSink(writing("old"));
  registration = addLogSink(writing("new"));
  Registration& same = registration;
  registration = std::move(same);
  log("a");
  EXPECT_THAT(heard, ElementsAre("new: a"));
}

TEST_F(LogSinksTest, TheStreamSinkWritesOneLinePerRecord) {
  std::ostringstream stream;
  const auto registration = addLogSink(makeStreamSink(stream));
  Logging::logERROR("failed", "ApplyMacroCmd", "void stop()", 7);
  Logging::logTRACE("begin", "UpdateApplyModulesCmd", "bool run()", 12);
  EXPECT_EQ(stream.str(),
            "ERROR ApplyMacroCmd:7 void stop(): failed\n"
            "TRACE UpdateApplyModulesCmd:12 bool run(): begin\n");
}

TEST_F(LogSinksTest, TheStandardErrorSinkWritesToTheStandardErrorStream) {
  std::ostringstream stream;
  std::streambuf* const standard = std::cerr.rdbuf(stream.rdbuf());
  {
    const auto registration = addStandardErrorSink();
    log("a");
  }
  log("b");
  std::cerr.rdbuf(standard);
  EXPECT_EQ(stream.str(), "TRACE File:1 function: a\n");
}

}  // namespace
}  // namespace Tessaril::ReferencePlatform
