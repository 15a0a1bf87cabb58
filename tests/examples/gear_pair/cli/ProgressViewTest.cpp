#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "examples/gear_pair/cli/ProgressView.h"
#include "tests/examples/gear_pair/application/TestSession.h"

namespace GearPair {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

constexpr char kEscape = '\x1b';

TEST(ProgressView, WritesAPlainLineForEachStepWhereThereIsNoTerminal) {
  DesignSession session = inlineSession();
  const auto update = session.makeUpdate(session.design()->report(), false);
  std::ostringstream stream;
  ProgressView view(*update, stream, false);
  session.run(update);
  view.finish(false);
  std::istringstream lines(stream.str());
  std::vector<std::string> names;
  for (std::string line; std::getline(lines, line);) {
    EXPECT_THAT(line, MatchesRegex("\\[ *[0-9]+ %\\] [a-z ()]+"));
    names.push_back(line.substr(8));
  }
  EXPECT_THAT(names, testing::ElementsAre("requirements", "pinion", "cutter (auto apply)", "wheel",
                                          "mesh", "drawing (auto apply)", "strength", "report",
                                          "plan (auto apply)", "done"));
  EXPECT_THAT(stream.str(), HasSubstr("[100 %] done\n"));
  EXPECT_EQ(stream.str().find(kEscape), std::string::npos);
  EXPECT_EQ(stream.str().find('\r'), std::string::npos);
}

TEST(ProgressView, DrawsABarAgainInPlaceOnATerminal) {
  DesignSession session = inlineSession();
  const auto update = session.makeUpdate(session.design()->report(), false);
  std::ostringstream stream;
  ProgressView view(*update, stream, true);
  session.run(update);
  EXPECT_EQ(stream.str().find('\n'), std::string::npos) << "one line while it runs";
  EXPECT_THAT(stream.str(), HasSubstr("\r\x1b[2K[..............................]   0 %  "));
  EXPECT_THAT(stream.str(), HasSubstr("  mesh"));
  view.finish(false);
  const std::string last = "\r\x1b[2K[##############################] 100 %  done\n";
  EXPECT_TRUE(stream.str().ends_with(last)) << stream.str();
}

TEST(ProgressView, StaysWhereAStoppedUpdateWas) {
  DesignSession session = inlineSession();
  session.update();
  session.set("pinion_teeth=8");
  const auto update = session.makeUpdate(session.design()->report(), false);
  std::ostringstream stream;
  ProgressView view(*update, stream, false);
  session.run(update);
  ASSERT_EQ(update->getProgressPtr()->getValue(), 100.0);
  view.finish(true);
  EXPECT_EQ(stream.str(), "[  0 %] requirements\n[  0 %] pinion\n[  0 %] stopped\n");
}

}  // namespace
}  // namespace GearPair
