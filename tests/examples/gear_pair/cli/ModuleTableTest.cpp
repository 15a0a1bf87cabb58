#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "examples/gear_pair/calculation/TextTools.h"
#include "examples/gear_pair/cli/ModuleTable.h"
#include "tests/examples/gear_pair/application/TestSession.h"

namespace GearPair {
namespace {

TEST(ModuleTable, ShowsEveryModuleWithItsFlagsAndItsLastRun) {
  DesignSession session = inlineSession();
  session.update();
  session.setFlag(session.design()->wheel(), ModuleFlag::kFrozen, true);
  session.setFlag(session.design()->drawing(), ModuleFlag::kSkipped, true);
  session.set("torque=300 Nm");
  session.update();
  EXPECT_EQ(
      moduleTable(*session.design(), session.getAccount(), 120),
      "module        chain    active  consistent  input ok  frozen  skipped  in the last step\n"
      "requirements  main     yes     yes         yes       -       -        left as it is\n"
      "pinion        main     yes     yes         yes       -       -        left as it is\n"
      "wheel         wheel    yes     yes         yes       yes     -        left as it is\n"
      "mesh          main     yes     yes         yes       -       -        left as it is\n"
      "cutter        cutter   yes     yes         yes       -       -        left as it is\n"
      "strength      main     yes     yes         yes       -       -        applied inline\n"
      "drawing       drawing  yes     yes         yes       -       yes      left as it is\n"
      "report        main     yes     yes         yes       -       -        applied inline\n"
      "plan          main     yes     yes         yes       -       -        signalled\n");
}

TEST(ModuleTable, BreaksTheSentenceOfAFailureIntoLines) {
  DesignSession session = inlineSession();
  session.set("pinion_teeth=8");
  const std::string failure = session.update()->getFailure();
  const std::string table = moduleTable(*session.design(), session.getAccount(), 110);
  std::string sentence;
  std::istringstream lines(table);
  bool inPinion = false;
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(characterCount(line), 110) << line;
    inPinion = line.starts_with("pinion") || (inPinion && line.starts_with(" "));
    if (inPinion) {
      sentence += (sentence.empty() ? "" : " ") + line.substr(70);
    }
  }
  EXPECT_EQ(sentence, "failed: " + failure);
}

}  // namespace
}  // namespace GearPair
