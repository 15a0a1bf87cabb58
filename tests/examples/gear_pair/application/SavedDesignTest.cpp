// A design that is opened is the one that was saved.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <random>

#include "examples/gear_pair/application/ToothFormCache.h"
#include "tests/examples/gear_pair/application/SavedDesign.h"
#include "tests/examples/gear_pair/application/TemporaryFile.h"

namespace GearPair {
namespace {

using testing::HasSubstr;

struct Scenario {
  const char* name;
  std::function<void(DesignSession&)> make;
};

void PrintTo(const Scenario& scenario, std::ostream* stream) { *stream << scenario.name; }

void updateTo(DesignSession& session, const std::shared_ptr<DesignModule>& end) {
  session.run(session.makeUpdate(end, false));
}

std::vector<Scenario> scenarios() {
  return {
      {"new", [](DesignSession& /*session*/) {}},
      {"computed", [](DesignSession& session) { session.update(); }},
      {"partlyComputed",
       [](DesignSession& session) { updateTo(session, session.design()->mesh()); }},
      {"torqueOutOfDate",
       [](DesignSession& session) {
         session.update();
         session.set("torque=300 Nm");
       }},
      {"teethOutOfDate",
       [](DesignSession& session) {
         session.update();
         session.set("wheel_teeth=43");
         updateTo(session, session.design()->wheel());
       }},
      {"frozen",
       [](DesignSession& session) {
         session.update();
         session.setFlag(session.design()->pinion(), ModuleFlag::kFrozen, true);
         session.set("pinion_bore=15 mm");
         session.update();
       }},
      {"frozenWithoutResult",
       [](DesignSession& session) {
         session.setFlag(session.design()->mesh(), ModuleFlag::kFrozen, true);
         session.update();
       }},
      {"skipped",
       [](DesignSession& session) {
         session.setFlag(session.design()->wheel(), ModuleFlag::kSkipped, true);
         session.update();
       }},
      {"failedAtOnce",
       [](DesignSession& session) {
         session.set("pinion_teeth=8");
         session.update();
       }},
      {"failedLater",
       [](DesignSession& session) {
         session.update();
         session.set("pinion_teeth=8");
         session.update();
       }},
      {"requirementsFailed",
       [](DesignSession& session) {
         session.update();
         session.set("pinion_teeth=60");
         session.update();
       }},
      {"usUnits",
       [](DesignSession& session) {
         session.update();
         session.setUnitSystem(UnitSystem::kUsCustomary);
       }},
      {"usUnitsFromTheStart",
       [](DesignSession& session) {
         session.setUnitSystem(UnitSystem::kUsCustomary);
         session.update();
       }},
      {"frozenTextInOldUnits",
       [](DesignSession& session) {
         session.update();
         session.setFlag(session.design()->drawing(), ModuleFlag::kFrozen, true);
         session.setUnitSystem(UnitSystem::kUsCustomary);
       }},
      {"undone",
       [](DesignSession& session) {
         session.update();
         session.set("wheel_bore=25 mm");
         session.update();
         session.undo();
       }},
  };
}

class SavedDesign : public testing::TestWithParam<Scenario> {
 protected:
  SavedDesign() { GetParam().make(session); }

  DesignSession session = inlineSession();
};

INSTANTIATE_TEST_SUITE_P(All, SavedDesign, testing::ValuesIn(scenarios()),
                         [](const auto& scenario) { return scenario.param.name; });

TEST_P(SavedDesign, IsOpenedAsItWas) {
  const DesignSession opened = reopened(session);
  EXPECT_EQ(difference(Snapshot(*opened.design()), Snapshot(*session.design())), "");
}

// Also the inputs of results that are out of date, and what is shared between the steps.
TEST_P(SavedDesign, GivesTheSameBytesWhenItIsSavedAgain) {
  EXPECT_TRUE(savedBytes(reopened(session)) == savedBytes(session));
}

TEST_P(SavedDesign, IsUpdatedAsItWouldHaveBeen) {
  DesignSession opened = reopened(session);
  EXPECT_EQ(updated(opened), updated(session));
  EXPECT_EQ(difference(Snapshot(*opened.design()), Snapshot(*session.design())), "");
}

TEST_P(SavedDesign, StandsInTheGraphAsEveryDesign) {
  const DesignSession opened = reopened(session);
  const auto expected = session.design()->getModules();
  const auto modules = opened.design()->getModules();
  ASSERT_EQ(modules.size(), expected.size());
  for (std::size_t i = 0; i < modules.size(); ++i) {
    EXPECT_EQ(modules[i]->getName(), expected[i]->getName());
    EXPECT_EQ(modules[i]->getInsertMode(), expected[i]->getInsertMode());
    EXPECT_EQ(modules[i]->getChainId(), expected[i]->getChainId());
    EXPECT_EQ(modules[i]->getMergeChainIds(), expected[i]->getMergeChainIds());
    EXPECT_EQ(modules[i]->isStartOfSideChain(), expected[i]->isStartOfSideChain());
    EXPECT_EQ(modules[i]->getNextApplyModules().size(), expected[i]->getNextApplyModules().size());
  }
}

TEST(SavedDesigns, LeaveAnUpdateNothingToDo) {
  DesignSession session = inlineSession();
  session.update();
  DesignSession opened = reopened(session);
  const auto update = opened.update();
  EXPECT_EQ(update->getEventText(), "");
  EXPECT_EQ(update->getCache().getMisses(), 0);
  for (const auto& module : opened.design()->getModules()) {
    EXPECT_EQ(flagsOf(*module), "aci..") << module->getName();
  }
}

TEST(SavedDesigns, ApplyOnlyWhatDependsOnAChangedValue) {
  DesignSession session = inlineSession();
  session.update();
  DesignSession opened = reopened(session);
  opened.set("torque=300 Nm");
  EXPECT_EQ(updated(opened), "strength:apply report:apply");
  opened.set("wheel_bore=25 mm");
  EXPECT_EQ(updated(opened),
            "requirements:apply cutter:auto wheel:apply mesh:apply drawing:auto strength:apply "
            "report:apply plan:auto");
}

TEST(SavedDesigns, AreUndoneBackToWhereTheyWereOpened) {
  DesignSession session = inlineSession();
  session.update();
  DesignSession opened = reopened(session);
  EXPECT_FALSE(opened.canUndo());
  EXPECT_FALSE(opened.canRedo());
  opened.set("wheel_teeth=43");
  opened.update();
  const Snapshot changed(*opened.design());
  opened.setUnitSystem(UnitSystem::kUsCustomary);
  for (int i = 0; i < 3; ++i) {
    opened.undo();
  }
  EXPECT_FALSE(opened.canUndo());
  EXPECT_EQ(difference(Snapshot(*opened.design()), Snapshot(*session.design())), "");
  opened.redo();
  opened.redo();
  EXPECT_EQ(difference(Snapshot(*opened.design()), changed), "");
}

TEST(SavedDesigns, ShareWhatTheStepsHaveInCommon) {
  DesignSession session = inlineSession();
  session.update();
  const DesignSession opened = reopened(session);
  const auto design = opened.design();
  const auto& meshed =
      *std::static_pointer_cast<const MeshInputs>(design->mesh()->getRecord().inputs);
  EXPECT_EQ(meshed.requirements, design->requirements()->getResult());
  EXPECT_EQ(meshed.pinion, design->pinion()->getResult());
  EXPECT_EQ(meshed.wheel, design->wheel()->getResult());
  const auto& reported =
      *std::static_pointer_cast<const ReportInputs>(design->report()->getRecord().inputs);
  EXPECT_EQ(reported.pair.mesh, design->mesh()->getResult());
  EXPECT_EQ(reported.loaded, design->strength()->getResult());
}

TEST(SavedDesigns, KeepTheInputsOfAnOldResult) {
  DesignSession session = inlineSession();
  session.update();
  session.set("wheel_teeth=43");
  updateTo(session, session.design()->wheel());
  const DesignSession opened = reopened(session);
  const auto inputsOf = [](const DesignSession& of) {
    return std::static_pointer_cast<const ReportInputs>(of.design()->report()->getRecord().inputs);
  };
  const ReportInputs& expected = *inputsOf(session);
  const ReportInputs& inputs = *inputsOf(opened);
  EXPECT_TRUE(*inputs.pair.requirements == *expected.pair.requirements);
  EXPECT_TRUE(*inputs.pair.pinion == *expected.pair.pinion);
  EXPECT_TRUE(*inputs.pair.wheel == *expected.pair.wheel);
  EXPECT_TRUE(*inputs.pair.mesh == *expected.pair.mesh);
  EXPECT_TRUE(*inputs.loaded == *expected.loaded);
  EXPECT_EQ(inputs.units, expected.units);
  EXPECT_NE(inputs.pair.wheel, opened.design()->wheel()->getResult()) << "it has been cut anew";
}

TEST(SavedDesigns, KeepTheWholeSheetOfTheCutter) {
  DesignSession session = inlineSession();
  session.update();
  const auto sheet = session.design()->cutter()->getResult();
  const auto opened = reopened(session).design()->cutter()->getResult();
  EXPECT_TRUE(opened->rack == sheet->rack);
  EXPECT_EQ(opened->drawing, sheet->drawing);
  EXPECT_EQ(opened->gearsCut, sheet->gearsCut);
}

// Whatever a designer does, the design can be saved then and comes back as it is.
TEST(SavedDesigns, ComeBackFromEveryStateThatCommandsLeadTo) {
  const std::vector<std::string> assignments{
      "torque=300 Nm",  "torque=100 Nm",   "wheel_teeth=43",    "wheel_teeth=41",
      "pinion_teeth=8", "pinion_teeth=20", "wheel_bore=25 mm",  "speed=900 rpm",
      "module=0.1 in",  "face_width=1 in", "pinion_shift=-0.9", "pinion_shift=0.25"};
  for (unsigned int seed = 1; seed <= 6; ++seed) {
    std::mt19937 random(seed);
    const auto below = [&random](std::size_t count) { return random() % count; };
    DesignSession session = inlineSession();
    for (int step = 0; step < 25; ++step) {
      const auto modules = session.design()->getModules();
      switch (below(8)) {
        case 0:
        case 1:
          session.set(assignments[below(assignments.size())]);
          break;
        case 2:
          session.setFlag(modules[below(modules.size())],
                          below(2) == 0 ? ModuleFlag::kFrozen : ModuleFlag::kSkipped,
                          below(3) == 0);
          break;
        case 3:
          session.setUnitSystem(below(2) == 0 ? UnitSystem::kMetric : UnitSystem::kUsCustomary);
          break;
        case 4:
          session.run(session.makeUpdate(modules[below(modules.size())], below(2) == 0));
          break;
        case 5:
          if (session.canUndo()) {
            session.undo();
          }
          break;
        case 6:
          if (session.canRedo()) {
            session.redo();
          }
          break;
        default:
          session.update();
          break;
      }
      const std::string bytes = savedBytes(session);
      ASSERT_EQ(refusalOf(bytes), "opened") << "seed " << seed << ", step " << step;
      const DesignSession opened(openDesign(bytes), nullptr);
      ASSERT_EQ(difference(Snapshot(*opened.design()), Snapshot(*session.design())), "")
          << "seed " << seed << ", step " << step;
    }
  }
}

TEST(SavedDesigns, NameTheirClassesAndVersions) {
  const OpenedDesign opened = openDesign(computedBytes());
  std::vector<std::string> names;
  for (const Tessaril::ArchivedClass& archived : opened.classes) {
    names.push_back(archived.name + " " + std::to_string(archived.version));
  }
  EXPECT_THAT(names, testing::IsSupersetOf({"GearPair.Design 1", "GearPair.DesignModule 1",
                                            "ApplyModule 500002", "ApplyModuleData 500000"}));
}

TEST(SavedDesigns, MayHoldASlidingWithoutBound) {
  FlankContact contact;
  contact.specificSlidingAtRoot = -std::numeric_limits<double>::infinity();
  contact.tipClearance = 0.25;
  Tessaril::PersistenceArchiver written;
  ValueWriter(written).write(contact);
  Tessaril::PersistenceArchiver archive(written.finish());
  FlankContact opened;
  ValueReader(archive).read(opened);
  EXPECT_EQ(opened, contact);
}

TEST(SavedDesigns, AreToldFromTextsByTheirBytes) {
  const std::string bytes = freshBytes();
  EXPECT_TRUE(isSavedDesign(bytes));
  EXPECT_TRUE(isSavedDesign(bytes.substr(0, 5)));
  EXPECT_TRUE(isSavedDesign("X" + bytes.substr(1))) << "the first byte is damaged";
  EXPECT_FALSE(isSavedDesign(""));
  EXPECT_FALSE(isSavedDesign(writeDesign(soundDesign())));
  EXPECT_FALSE(isSavedDesign("\xEF\xBB\xBFmodule = 2.5 mm\n"));
}

TEST(DesignFiles, AreOpenedByASession) {
  const TemporaryFile file("files.tsr");
  DesignSession session = inlineSession();
  session.update();
  session.saveAs(file.name());
  EXPECT_EQ(session.getFile(), file.name());
  DesignSession other = inlineSession(standardDesign(30, 60));
  other.update();
  EXPECT_FALSE(other.open(file.name()).empty());
  EXPECT_EQ(difference(Snapshot(*other.design()), Snapshot(*session.design())), "");
  EXPECT_EQ(other.getFile(), file.name());
  EXPECT_FALSE(other.canUndo());
  EXPECT_TRUE(other.getAccount().empty());
  EXPECT_EQ(other.getLastDescription(), "");
  EXPECT_EQ(updated(other), "");
}

TEST(DesignFiles, AreSavedOverTheFileThatIsOpen) {
  const TemporaryFile file("over.tsr");
  DesignSession session = inlineSession();
  session.saveAs(file.name());
  session.open(file.name());
  session.set("torque=300 Nm");
  session.update();
  session.save();
  const auto description = session.getLastDescription();
  EXPECT_EQ(description, "Update Design up to: Report") << "saving is no command";
  const OpenedDesign opened = openDesignFile(file.name());
  EXPECT_EQ(difference(Snapshot(*opened.design), Snapshot(*session.design())), "");
}

TEST(DesignFiles, MayBeTextsWhichAreNotSavedTo) {
  const TemporaryFile file("text.gear");
  std::ofstream(file.name()) << writeDesign(standardDesign(30, 60));
  DesignSession session = inlineSession();
  EXPECT_TRUE(session.open(file.name()).empty());
  EXPECT_EQ(session.design()->getValues().input, standardDesign(30, 60));
  EXPECT_TRUE(session.getFile().empty());
}

TEST(DesignFiles, LeaveTheSessionAloneWhenTheyAreRefused) {
  const TemporaryFile good("good.tsr");
  const TemporaryFile bad("bad.tsr");
  DesignSession session = inlineSession();
  session.update();
  session.saveAs(good.name());
  session.set("torque=300 Nm");
  std::ofstream(bad.name(), std::ios::binary) << computedBytes().substr(0, 5000);
  const auto design = session.design();
  const Snapshot before(*design);
  const RunAccount account = session.getAccount();
  EXPECT_THAT(
      messageOf<DesignFileError>([&] { session.open(bad.name()); }),
      testing::AllOf(HasSubstr("bad.tsr: cut at byte 5000 of "), testing::Not(HasSubstr("\n"))));
  EXPECT_EQ(session.design(), design);
  EXPECT_EQ(difference(Snapshot(*design), before), "");
  EXPECT_EQ(session.getFile(), good.name());
  EXPECT_EQ(session.getAccount(), account);
  EXPECT_EQ(session.undo(), "Set torque=300 Nm");
  EXPECT_EQ(updated(session), "");
}

TEST(DesignFiles, AreNamedWhenTheyAreNotThere) {
  DesignSession session = inlineSession();
  EXPECT_THAT(messageOf<DesignFileError>([&] { session.open("/nowhere/a.tsr"); }),
              testing::StartsWith("/nowhere/a.tsr: cannot be read: "));
  EXPECT_THAT(messageOf<DesignFileError>([&] { session.open("/"); }),
              testing::StartsWith("/: cannot be read: "));
  EXPECT_THAT(messageOf<DesignFileError>([&] { session.saveAs("/nowhere/a.tsr"); }),
              testing::StartsWith("/nowhere/a.tsr: cannot be written: "));
  EXPECT_TRUE(session.getFile().empty()) << "nothing was saved there";
}

}  // namespace
}  // namespace GearPair
