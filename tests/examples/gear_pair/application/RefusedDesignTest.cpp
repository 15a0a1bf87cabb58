// A file that is no sound design is refused, whatever is wrong with it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <random>

#include "examples/gear_pair/application/archive/MemberCount.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/persistence/NestedRecord.h"
#include "tests/examples/gear_pair/application/SavedDesign.h"

namespace GearPair {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(RefusedDesigns, AreAllThatAreCut) {
  const std::string bytes = freshBytes();
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    ASSERT_NE(refusalOf(bytes.substr(0, size)), "opened") << "cut at byte " << size;
  }
  EXPECT_THAT(refusalOf(bytes + '\0'), HasSubstr("damaged: goes on to byte "));
}

TEST(RefusedDesigns, AreAllWithAChangedByte) {
  const std::string bytes = freshBytes();
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::string changed = bytes;
    changed[i] = static_cast<char>(changed[i] ^ (1 << (i % 8)));
    ASSERT_NE(refusalOf(changed), "opened") << "byte " << i;
  }
}

/// What a designer may do with a design that was opened.
void workOn(DesignSession& session) {
  session.update();
  session.set("torque=77 Nm");
  session.set("wheel_teeth=47");
  session.update();
  session.setUnitSystem(UnitSystem::kUsCustomary);
  while (session.canUndo()) {
    session.undo();
  }
}

/// Changes a byte in each of the places. What is opened all the same is a design like any other; as
/// it takes time, only some of them are worked on.
void changeBytes(const std::string& bytes, const std::vector<std::size_t>& places) {
  constexpr int kWorkedOn = 20;
  int opened = 0;
  for (const std::size_t place : places) {
    for (const char change : {'\x01', '\xFF'}) {
      std::string changed = bytes;
      changed[place] = static_cast<char>(changed[place] ^ change);
      changed = repaired(changed);
      if (refusalOf(changed) != "opened") {
        continue;
      }
      DesignSession session(openDesign(changed), nullptr);
      if (opened++ % kWorkedOn == 0) {
        workOn(session);
      }
      ASSERT_EQ(refusalOf(savedBytes(session)), "opened") << "byte " << place;
    }
  }
  EXPECT_GT(opened, 0) << "no change was one of a value alone";
}

std::vector<std::size_t> everyPlace(std::size_t size, std::size_t distance) {
  std::vector<std::size_t> places;
  for (std::size_t place = 0; place < size; place += distance) {
    places.push_back(place);
  }
  return places;
}

TEST(RefusedDesigns, DoNoHarmWithARightChecksum) {
  const std::string bytes = freshBytes();
  changeBytes(bytes, everyPlace(bytes.size(), 7));
}

TEST(RefusedDesigns, DoNoHarmWithResultsAndARightChecksum) {
  DesignSession session = inlineSession();
  session.run(session.makeUpdate(session.design()->requirements(), false));
  const std::string bytes = savedBytes(session);
  changeBytes(bytes, everyPlace(bytes.size(), 23));
}

TEST(RefusedDesigns, DoNoHarmWithEverythingComputedAndARightChecksum) {
  const std::string bytes = computedBytes();
  std::mt19937 random(1);
  std::vector<std::size_t> places(25);
  for (std::size_t& place : places) {
    place = random() % bytes.size();
  }
  changeBytes(bytes, places);
}

/// A saved design in which something has been made wrong before it was saved.
std::string refusalAfter(const std::function<void(DesignSession&)>& spoil) {
  DesignSession session = inlineSession();
  session.update();
  spoil(session);
  return refusalOf(savedBytes(session));
}

std::string refusalOfInput(const std::function<void(DesignInput&)>& spoil) {
  DesignInput input = soundDesign();
  spoil(input);
  return refusalOf(designBytes(inlineSession(input).design()));
}

TEST(RefusedDesigns, HoldValuesThatNobodyCouldSet) {
  EXPECT_EQ(refusalOfInput([](DesignInput&) {}), "opened");
  EXPECT_THAT(refusalOfInput([](DesignInput& input) { input.torque = -1.0; }),
              ContainsRegex("byte [0-9]+: .*torque = -1 Nm is out of range; allowed are 0.001"));
  EXPECT_THAT(refusalOfInput([](DesignInput& input) { input.pinionTeeth = 1'000'000; }),
              HasSubstr("pinion_teeth = 1000000 is out of range"));
  EXPECT_THAT(refusalOfInput([](DesignInput& input) { input.wheelTeeth = -41; }),
              HasSubstr("wheel_teeth = -41 is out of range"));
  EXPECT_THAT(refusalOfInput([](DesignInput& input) { input.module = 1e300; }),
              HasSubstr("is out of range"));
  EXPECT_THAT(refusalOfInput([](DesignInput& input) { input.wheelMaterial = "butter"; }),
              HasSubstr("unknown material 'butter'"));
  EXPECT_THAT(refusalOfInput([](DesignInput& input) { input.wheelMaterial = "16mncr5"; }),
              HasSubstr("cannot be written"));
  EXPECT_THAT(refusalOfInput([](DesignInput& input) { input.wheelMaterial = "16MnCr5\n"; }),
              HasSubstr("cannot be written"));
  EXPECT_THAT(refusalOfInput([](DesignInput& input) { input.wheelMaterial = ""; }),
              HasSubstr("wheel_material has no value"));
  // The requirements are kept without their load; a design is not.
  EXPECT_THAT(refusalOfInput([](DesignInput& input) { input = withLoad(input, Load{}); }),
              HasSubstr("torque = 0 Nm is out of range"));
  for (const double number :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity()}) {
    EXPECT_THAT(refusalOfInput([&](DesignInput& input) { input.speed = number; }),
                HasSubstr("this is no finite number"));
  }
}

TEST(RefusedDesigns, HaveModulesThatStandElsewhere) {
  using Tessaril::ApplyGraph;
  EXPECT_EQ(
      refusalAfter([](DesignSession& session) { ApplyGraph::remove(session.design()->drawing()); }),
      "the mesh does not stand where it belongs in a design");
  EXPECT_EQ(refusalAfter([](DesignSession& session) {
              session.design()->mesh()->setAddToChainInsertMode({}, false);
            }),
            "the mesh does not stand where it belongs in a design");
  EXPECT_EQ(refusalAfter([](DesignSession& session) {
              session.design()->plan()->setAdditionalModule(true);
            }),
            "the plan does not stand where it belongs in a design");
  EXPECT_EQ(refusalAfter([](DesignSession& session) {
              session.design()->plan()->addChild(std::make_shared<Tessaril::Object>("appendix"));
            }),
            "the plan does not stand where it belongs in a design");
  EXPECT_EQ(refusalAfter([](DesignSession& session) { session.design()->plan()->setName("map"); }),
            "a module 'map' stands in the place of the plan");
}

TEST(RefusedDesigns, HaveFlagsThatContradictTheirResults) {
  EXPECT_EQ(refusalAfter([](DesignSession& session) {
              session.design()->strength()->setConsistent(false, false);
            }),
            "the flags of the strength contradict what it holds");
  EXPECT_EQ(refusalAfter([](DesignSession& session) {
              session.design()->wheel()->setInputIsOk(false, false);
            }),
            "the flags of the wheel contradict what it holds");
  EXPECT_EQ(refusalAfter([](DesignSession& session) {
              session.design()->report()->setActive(false, false);
            }),
            "the flags of the report contradict what it holds");
  // A result that is out of date says so.
  EXPECT_EQ(
      refusalAfter([](DesignSession& session) { session.design()->strength()->setRecord({}); }),
      "the flags of the strength contradict what it holds");
}

std::string refusalOfRequirements(const std::function<void(Requirements&)>& spoil) {
  return refusalAfter([&](DesignSession& session) {
    const auto module = session.design()->requirements();
    auto changed = std::make_shared<Requirements>(*module->getResult());
    spoil(*changed);
    module->setRecord({module->getRecord().inputs, changed});
    session.design()->setUnits(UnitSystem::kMetric);
  });
}

TEST(RefusedDesigns, HoldRequirementsThatDoNotFollowFromTheirValues) {
  constexpr const char* kRefusal = "requirements that do not follow from their values";
  EXPECT_EQ(refusalOfRequirements([](Requirements&) {}), "opened");
  EXPECT_EQ(refusalOfRequirements([](Requirements& task) { task.centreDistance *= 1 + 1e-12; }),
            "opened")
      << "another build may round otherwise";
  // Teeth are cut to these, and refused where they are not exactly those of a gear.
  EXPECT_THAT(refusalOfRequirements([](Requirements& task) { task.wheel.boreDiameter = -1e-300; }),
              HasSubstr(kRefusal));
  EXPECT_THAT(refusalOfRequirements([](Requirements& task) { task.pinion.profileShift += 1e-12; }),
              HasSubstr(kRefusal));
  EXPECT_THAT(
      refusalOfRequirements([](Requirements& task) { task.wheel.material.poissonRatio += 1e-12; }),
      HasSubstr(kRefusal));
  EXPECT_THAT(refusalOfRequirements([](Requirements& task) { task.centreDistance *= 1 + 1e-6; }),
              HasSubstr(kRefusal));
  EXPECT_THAT(refusalOfRequirements([](Requirements& task) { task.pinion.teeth = 21; }),
              HasSubstr(kRefusal));
  EXPECT_THAT(
      refusalOfRequirements([](Requirements& task) { task.wheel.member = Member::kPinion; }),
      HasSubstr(kRefusal));
  EXPECT_THAT(refusalOfRequirements([](Requirements& task) { task.wheel.material.name = "x"; }),
              HasSubstr(kRefusal));
  EXPECT_THAT(refusalOfRequirements([](Requirements& task) { task.design.pinionTeeth = 60; }),
              HasSubstr("more than the wheel"));
}

std::string refusalOfTeeth(const std::function<void(ToothForm&)>& spoil) {
  return refusalAfter([&](DesignSession& session) {
    const auto module = session.design()->wheel();
    auto changed = std::make_shared<ToothForm>(*module->getResult());
    spoil(*changed);
    module->setRecord({module->getRecord().inputs, changed});
    session.design()->setUnits(UnitSystem::kMetric);
  });
}

TEST(RefusedDesigns, HoldTeethThatCannotBe) {
  EXPECT_EQ(refusalOfTeeth([](ToothForm&) {}), "opened");
  const std::vector<std::function<void(ToothForm&)>> unsound{
      [](ToothForm& form) { form.involuteStart = form.flank.size(); },
      [](ToothForm& form) { form.flank.clear(); },
      [](ToothForm& form) { form.outline.clear(); },
      [](ToothForm& form) { form.outline.front().x = 1e9; },
      [](ToothForm& form) { form.flank.back().y = -1e9; },
      [](ToothForm& form) { form.rootSection.filletRadius = -1.0; }};
  for (const auto& spoil : unsound) {
    EXPECT_THAT(refusalOfTeeth(spoil), HasSubstr("teeth without a sound form"));
  }
  const std::vector<std::function<void(ToothForm&)>> impossible{
      [](ToothForm& form) { form.gear.teeth = 2; },
      [](ToothForm& form) { form.gear.teeth = 1'000'000; },
      [](ToothForm& form) { form.gear.baseDiameter = 0.0; },
      [](ToothForm& form) { form.gear.tipDiameter = 1e7; },
      [](ToothForm& form) { form.gear.boreDiameter = -1.0; },
      [](ToothForm& form) { form.gear.profileShift = 1e12; },
      [](ToothForm& form) { form.gear.material.density = 1.0; }};
  for (const auto& spoil : impossible) {
    EXPECT_THAT(refusalOfTeeth(spoil), HasSubstr("teeth of a gear that cannot be"));
  }
  EXPECT_THAT(refusalOfTeeth([](ToothForm& form) { form.gear.teeth = 42; }),
              HasSubstr("these are not the teeth of the wheel"));
  EXPECT_THAT(refusalOfTeeth([](ToothForm& form) { form.gear.member = Member::kPinion; }),
              HasSubstr("these are not the teeth of the wheel"));
  EXPECT_THAT(refusalAfter([](DesignSession& session) {
                session.design()->wheel()->setRecord(session.design()->pinion()->getRecord());
              }),
              HasSubstr("these are not the teeth of the wheel"));
}

TEST(RefusedDesigns, HoldAnythingThatIsNoNumber) {
  EXPECT_THAT(refusalAfter([](DesignSession& session) {
                const auto module = session.design()->mesh();
                auto changed = std::make_shared<Mesh>(*module->getResult());
                changed->pinion.specificSlidingAtRoot = std::numeric_limits<double>::quiet_NaN();
                module->setRecord({module->getRecord().inputs, changed});
              }),
              HasSubstr("this is no number"));
}

/// Where the class table names a class: its name stands behind its length.
std::size_t placeOfName(const std::string& bytes, const std::string& className) {
  std::string entry(4, '\0');
  putNumber(entry, 0, static_cast<std::uint32_t>(className.size()));
  return bytes.rfind(entry + className) + entry.size();
}

/// The bytes with one of the class versions changed.
std::string withVersion(std::string bytes, const std::string& className, std::uint32_t version) {
  putNumber(bytes, placeOfName(bytes, className) + className.size(), version);
  return repaired(bytes);
}

TEST(RefusedDesigns, ComeFromANewerProgram) {
  const std::string bytes = computedBytes();
  EXPECT_EQ(refusalOf(withVersion(bytes, "GearPair.DesignModule", 1)), "opened");
  EXPECT_EQ(refusalOf(withVersion(bytes, "GearPair.DesignModule", 2)),
            "holds objects of the class 'GearPair.DesignModule' in version 2, which is newer than "
            "this program's version 1");
  EXPECT_THAT(refusalOf(withVersion(bytes, "ApplyModule", 500003)),
              HasSubstr("'ApplyModule' in version 500003, which is newer"));
  EXPECT_THAT(refusalOf(withVersion(bytes, "GearPair.Design", 0)), HasSubstr("version 0"));
  EXPECT_THAT(refusalOf(withVersion(bytes, "GearPair.DesignModule", 0)), HasSubstr("version 0"));
  std::string format = bytes;
  putNumber(format, 8, 2);
  EXPECT_THAT(refusalOf(repaired(format)), HasSubstr("written in format 2, which is newer"));
}

TEST(RefusedDesigns, HoldClassesThatNobodyKnows) {
  std::string bytes = computedBytes();
  bytes[placeOfName(bytes, "GearPair.Design")] = 'B';
  EXPECT_THAT(refusalOf(repaired(bytes)),
              StartsWith("holds objects of the class 'BearPair.Design', which"));
}

std::string archiveWith(const std::function<void(Tessaril::PersistenceArchiver&)>& write) {
  Tessaril::PersistenceArchiver archiver;
  write(archiver);
  return archiver.finish();
}

TEST(RefusedDesigns, AreArchivesOfOtherThings) {
  using Tessaril::PersistenceArchiver;
  EXPECT_NE(refusalOf(archiveWith([](PersistenceArchiver&) {})), "opened");
  EXPECT_THAT(refusalOf(archiveWith([](PersistenceArchiver& archiver) {
                archiver.writeShared(std::shared_ptr<Tessaril::Object>());
              })),
              HasSubstr("there is no design"));
  EXPECT_THAT(refusalOf(archiveWith([](PersistenceArchiver& archiver) {
                archiver.writeShared(std::make_shared<Tessaril::Object>("chair"));
              })),
              HasSubstr("an object of the class \"Object\" stands where one of "
                        "\"GearPair.Design\" is expected"));
  EXPECT_THAT(refusalOf("\x89PNG\r\n\x1a\n"), HasSubstr("this is no design archive"));
  EXPECT_THAT(refusalOf(""), HasSubstr("this is no design archive"));
}

TEST(RefusedDesigns, HaveSomethingLeftOver) {
  DesignSession session = inlineSession();
  const std::string bytes = archiveWith([&](Tessaril::PersistenceArchiver& archiver) {
    archiver.writeShared(session.design());
    std::vector<Tessaril::ApplyModuleData> links;
    Tessaril::ApplyGraph::storeApplyGraph(session.design(), {session.design()->start()}, links);
    Tessaril::writeContainer(archiver, links);
    archiver << true;
  });
  EXPECT_THAT(refusalOf(bytes), HasSubstr("1 bytes are left over"));
}

TEST(RefusedDesigns, HaveLinksInACircle) {
  DesignSession session = inlineSession();
  const std::string bytes = archiveWith([&](Tessaril::PersistenceArchiver& archiver) {
    archiver.writeShared(session.design());
    std::vector<Tessaril::ApplyModuleData> links;
    Tessaril::ApplyGraph::storeApplyGraph(session.design(), {session.design()->start()}, links);
    links.back().nextPaths = {links.front().path};
    links.front().previousPaths = {links.back().path};
    Tessaril::writeContainer(archiver, links);
  });
  EXPECT_EQ(refusalOf(bytes), "the requirements does not stand where it belongs in a design");
}

TEST(RefusedDesigns, ReferToValuesThatAreNotThere) {
  Tessaril::PersistenceArchiver written;
  ValueWriter(written).write(Shared<Point>(std::make_shared<const Point>(Point{1.0, 2.0})));
  written << 1U << 1U << 0U << 3U;
  Tessaril::PersistenceArchiver archive(written.finish());
  ValueReader reader(archive);
  Shared<Point> point;
  Shared<Point> again;
  Shared<RootSection> section;
  reader.read(point);
  reader.read(again);
  EXPECT_EQ(again, point);
  EXPECT_THROW(reader.read(section), Tessaril::ArchiveException) << "number 1 is a point";
  EXPECT_THROW(reader.read(again), Tessaril::ArchiveException) << "numbers begin at 1";
  EXPECT_THROW(reader.read(again), Tessaril::ArchiveException) << "number 2 would be the next";
  EXPECT_EQ(section, nullptr);
}

TEST(RefusedDesigns, AreQuotedInOneLineWithThePlace) {
  std::string bytes = freshBytes();
  const std::size_t name = bytes.find("drawing");
  ASSERT_NE(name, std::string::npos);
  bytes[name] = '\n';
  bytes[name + 1] = '/';
  EXPECT_THAT(refusalOf(repaired(bytes)),
              testing::MatchesRegex("byte [0-9]+: \"\\?/awing\" cannot be the name of an object"));
}

struct Nested {
  std::string text;
  std::vector<int> numbers;
};

struct Outer {
  Nested nested;
  double number = 0.0;
  std::string text;
};

struct Wider {
  Nested nested;
  double number = 0.0;
  std::string text;
  bool flag = false;
};

// What makes a member that is not stored a mistake of the compilation.
TEST(MemberCount, CountsTheMembersOfAStruct) {
  EXPECT_EQ(memberCount<Nested>(), 2U);
  EXPECT_EQ(memberCount<Outer>(), 3U);
  EXPECT_EQ(memberCount<Wider>(), 4U);
  EXPECT_EQ(memberCount<Point>(), 2U);
  EXPECT_EQ(memberCount<DesignInput>(), describeValues().size());
}

}  // namespace
}  // namespace GearPair
