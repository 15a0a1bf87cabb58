// Lets a reader in another language, written from the description of the format, read what the
// library writes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"
#include "tests/persistence/HandMadeArchive.h"
#include "tests/support/PrivateLinks.h"
#include "tests/support/StoredDesign.h"

namespace Tessaril {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using TestSupport::graph;
using TestSupport::graphOf;
using TestSupport::HandMadeArchive;
using TestSupport::ModulePtr;
using TestSupport::plant;
using TestSupport::StoredDesign;
using TestSupport::storedLinks;
using TestSupport::StoredModule;

/// A class that derives from another one of the application, and whose own values hold all that a
/// reader may stumble over: shared objects, containers and blocks.
class Assembly : public StoredModule {
 public:
  explicit Assembly(const std::string& name = "assembly") : StoredModule(name) {}

  std::shared_ptr<Object> part;
  std::vector<Identifier> ids;

  static void serialization_register(void* descriptor) {
    *static_cast<BaseClassRegister*>(descriptor) = *registerClass<Assembly>(
        "Test.Assembly", 7,
        [](PersistenceArchiver& archiver, BaseClassRegister& target) {
          auto& assembly = *static_cast<Assembly*>(target.object);
          readNested<StoredModule>(archiver, assembly);
          assembly.part = archiver.readShared<Object>();
          readContainer(archiver, assembly.ids);
        },
        [](PersistenceArchiver& archiver, BaseClassRegister& source) {
          const auto& assembly = *static_cast<const Assembly*>(source.object);
          writeNested<StoredModule>(archiver, assembly);
          archiver.writeShared(assembly.part);
          writeContainer(archiver, assembly.ids);
        });
  }
};

[[maybe_unused]] const bool kAssemblyIsKnown = registerBaseClass<StoredModule, Assembly>();

/// What is listed of a module of which nothing was set.
const std::string kPlain = "consistent inputOk; normal; AddToChain on main, merge chains -\n";

struct Result {
  int exitCode = -1;
  /// Of both streams.
  std::string output;
};

class ListDesignTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    folder = fs::path(::testing::TempDir()) /
             ("tessaril_list_" + std::to_string(::getpid()) + test->name());
    fs::remove_all(folder);
    fs::create_directory(folder);
  }
  void TearDown() override { fs::remove_all(folder); }

  std::string file(const std::string& contents) const {
    const fs::path path = folder / "design.tsr";
    std::ofstream(path, std::ios::binary) << contents;
    return path.string();
  }

  /// Without a cache of compiled scripts, which would be left among the sources.
  static Result run(const std::string& script, const std::string& argument) {
    const std::string command = std::string("'") + TESSARIL_PYTHON + "' -B '" +
                                TESSARIL_READER_DIR + "/" + script + "' '" + argument + "' 2>&1";
    Result result;
    std::FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
      ADD_FAILURE() << "cannot run " << command;
      return result;
    }
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
      result.output.append(buffer.data(), count);
    }
    const int status = pclose(pipe);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
  }

  std::string listed(const std::string& archive) const {
    const Result result = run("list_design.py", file(archive));
    EXPECT_EQ(result.exitCode, 0);
    return result.output;
  }

  fs::path folder;
};

TEST_F(ListDesignTest, ListsModulesAndLinks) {
  const StoredDesign design = plant(graphOf<StoredModule>(
      "start[active] -> hub[active,frozen] -> end[merge<main+wheel,active,badinput]; "
      "hub -> wheel:wheel[fork] -> rim:wheel[additional,inconsistent] -> end; "
      "hub -> (noise):noise[side<wheel,skipped]; alone"));
  TestSupport::PrivateLinks::setSpeedRate(*design.graph["rim"], LegacyProgress::Speed::VerySlow);
  const std::string archive = save(design);
  const std::string kWheel = "0000000000000000000000776865656c";
  EXPECT_EQ(
      listed(archive),
      "format 1, " + std::to_string(archive.size()) +
          " bytes\n"
          "classes:\n"
          "  Object 1\n"
          "  Test.StoredModule 1\n"
          "  ApplyModule 500002\n"
          "  ModuleState 500001\n"
          "  ApplyModuleInsertInfo 500000\n"
          "  Identifier 1\n"
          "  ApplyModuleData 500000\n"
          "  Path 1\n"
          "modules:\n"
          "  /start (Test.StoredModule): consistent active inputOk; normal; AddToChain on main, "
          "merge "
          "chains -\n"
          "  /hub (Test.StoredModule): consistent active inputOk frozen; normal; AddToChain on "
          "main, "
          "merge chains -\n"
          "  /end (Test.StoredModule): consistent active; normal; MergeFork on main, merge chains "
          "main " +
          kWheel +
          "\n"
          "  /wheel (Test.StoredModule): consistent inputOk; normal; StartFork on " +
          kWheel +
          ", merge chains -\n"
          "  /rim (Test.StoredModule): inputOk additional; very slow; AddToChain on " +
          kWheel +
          ", merge chains -\n"
          "  /noise (Test.StoredModule): consistent inputOk skipped; normal; StartSideChain on "
          "00000000000000000000006e6f697365, merge chains " +
          kWheel +
          "\n"
          "  /alone (Test.StoredModule): consistent inputOk; normal; AddToChain on main, merge "
          "chains -\n"
          "links:\n"
          "  /start: previous -; next /hub\n"
          "  /hub: previous /start; next /end /wheel /noise\n"
          "  /noise: previous /hub; next -; start of a side chain\n"
          "  /wheel: previous /hub; next /rim\n"
          "  /rim: previous /wheel; next /end\n"
          "  /end: previous /hub /rim; next -\n"
          "  /alone: previous -; next -\n");
}

TEST_F(ListDesignTest, FindsTheBasePartsOfClassesItDoesNotKnow) {
  const StoredDesign design = plant(graph("A -> B -> C", [](const std::string& name) -> ModulePtr {
    return name == "B" ? std::make_shared<Assembly>(name) : std::make_shared<StoredModule>(name);
  }));
  const auto assembly = design.graph.as<Assembly>("B");
  assembly->part = std::make_shared<Object>("part of its own");
  assembly->ids = {Identifier(1, 2), Identifier(3, 4)};
  assembly->addChild(std::make_shared<StoredModule>("below"));
  EXPECT_THAT(listed(save(design)), EndsWith("modules:\n"
                                             "  /A (Test.StoredModule): " +
                                             kPlain + "  /B (Test.Assembly): " + kPlain +
                                             "  /B/below (Test.StoredModule): " + kPlain +
                                             "  /C (Test.StoredModule): " + kPlain +
                                             "links:\n"
                                             "  /A: previous -; next /B\n"
                                             "  /B: previous /A; next /C\n"
                                             "  /C: previous /B; next -\n"));
}

TEST_F(ListDesignTest, LeavesOutWhatStandsInPartsItDoesNotKnow) {
  const StoredDesign design = plant(graph("A; B", [](const std::string& name) -> ModulePtr {
    return name == "A" ? std::make_shared<Assembly>(name) : std::make_shared<StoredModule>(name);
  }));
  design.root->addChild(std::make_shared<StoredModule>("C"));
  design.graph.as<Assembly>("A")->part = design.graph.as<Object>("B");
  const std::string output = listed(save(design));
  EXPECT_THAT(output, HasSubstr("  /A (Test.Assembly): "));
  EXPECT_THAT(output, testing::Not(HasSubstr("  /B (")));
  EXPECT_THAT(output, HasSubstr("  /C (Test.StoredModule): "));
  EXPECT_THAT(output, EndsWith("links:\n  /A: previous -; next -\n  /B: previous -; next -\n"));
}

TEST_F(ListDesignTest, LeavesWhatFollowsToTheApplication) {
  PersistenceArchiver archiver;
  const StoredDesign design = plant(graphOf<StoredModule>("A"));
  archiver.writeShared(design.root);
  writeContainer(archiver, storedLinks(design.graph));
  archiver << true << std::string("window");
  EXPECT_THAT(listed(archiver.finish()), EndsWith("next -\n11 bytes of the application's own\n"));
}

std::string golden(const std::string& name) {
  return std::string(TESSARIL_READER_DIR) + "/../golden/" + name;
}

/// What both golden designs hold. `side` stands behind the fork.
std::string goldenModules(const std::string& side) {
  const std::string bore = "000000000000000000000000626f7265";
  const std::string rack = "0000000000000000000000007261636b";
  return "modules:\n"
         "  /input (Test.Step): consistent active inputOk frozen; normal; AddToChain on main, "
         "merge "
         "chains -\n"
         "  /teeth (Test.Step): active inputOk; slow; AddToChain on main, merge chains -\n"
         "  /body/bore (Test.Step): consistent active inputOk additional; normal; StartSideChain "
         "on " +
         bore +
         ", merge chains main\n"
         "  /body/keyway (Test.Step): consistent inputOk; normal; AddToChain on " +
         bore +
         ", merge chains -\n"
         "  /rack (Test.Step): consistent active; normal; StartFork on " +
         rack + ", merge chains main" + side +
         "\n"
         "  /check (Test.Step): consistent active inputOk; very slow; MergeFork on main, merge "
         "chains main " +
         rack +
         "\n"
         "links:\n"
         "  /input: previous -; next /teeth /body/bore /rack\n"
         "  /rack: previous /input; next /check\n"
         "  /check: previous /teeth /rack; next -\n"
         "  /body/bore: previous /input; next /body/keyway; start of a side chain\n"
         "  /body/keyway: previous /body/bore; next -\n"
         "  /teeth: previous /input; next /check\n"
         "12 bytes of the application's own\n";
}

TEST_F(ListDesignTest, ListsTheGoldenDesigns) {
  const Result current = run("list_design.py", golden("design-500002.tsr"));
  EXPECT_THAT(current.output, HasSubstr("  ApplyModule 500002\n  ModuleState 500001\n"));
  EXPECT_THAT(current.output, EndsWith(goldenModules("")));
  // Then the record of the module said so for starts of forks; the links, which come later, do not.
  const Result old = run("list_design.py", golden("design-500000.tsr"));
  EXPECT_THAT(old.output, HasSubstr("  ApplyModule 500000\n  ModuleState 53014\n"));
  EXPECT_THAT(old.output, EndsWith(goldenModules("; start of a side chain")));
}

// Records of single versions

constexpr HandMadeArchive::Id kChain{0, 0xC};
const std::string kChainText = "0000000000000000000000000000000c";

/// A module as the only child of the root, with its ApplyModule block open.
HandMadeArchive moduleBegun() {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(1);
  archive.number(2).open("Old.Step").open("Object").text("A").number(0).close();
  archive.open("ApplyModule");
  return archive;
}

/// The archive with everything behind the contents of that block; no links.
std::string moduleEnded(HandMadeArchive& archive, std::uint32_t moduleVersion,
                        std::uint32_t stateVersion, std::uint32_t identifierVersion = 1) {
  archive.close().close().close();
  archive.open("ApplyModuleData").number(0).close();
  return archive.with({{"Object", 1},
                       {"Old.Step", 3},
                       {"ApplyModule", moduleVersion},
                       {"ModuleState", stateVersion},
                       {"ApplyModuleInsertInfo", 500000},
                       {"Identifier", identifierVersion},
                       {"ApplyModuleData", 500000}});
}

std::string listedModule(const std::string& what) {
  return "modules:\n  /A (Old.Step): " + what + "\nlinks:\n";
}

TEST_F(ListDesignTest, ReadsTheOldestModules) {
  HandMadeArchive archive = moduleBegun();
  archive.open("ModuleState").flags({true, false, true}).close();
  archive.flags({true}).text("gone").text("gone too").number(5);
  EXPECT_THAT(listed(moduleEnded(archive, 53013, 53013)),
              EndsWith(listedModule("consistent inputOk additional; very slow; AddToChain on main, "
                                    "merge chains -")));
}

TEST_F(ListDesignTest, ReadsModulesWithoutInsertInformation) {
  for (const std::uint32_t version : {53014u, 499999u}) {
    HandMadeArchive archive = moduleBegun();
    archive.open("ModuleState").flags({false, true, false, true}).close();
    archive.flags({false}).number(0);
    EXPECT_THAT(
        listed(moduleEnded(archive, version, version)),
        EndsWith(listedModule("active frozen; instant; AddToChain on main, merge chains -")));
  }
}

TEST_F(ListDesignTest, ReadsInsertInformationInLine) {
  HandMadeArchive archive = moduleBegun();
  archive.open("ModuleState").flags({true, true, true, false}).close();
  archive.flags({false}).number(3).number(2).id(kChain).ids({{0, 0}, kChain});
  EXPECT_THAT(
      listed(moduleEnded(archive, 500000, 500000)),
      EndsWith(listedModule("consistent active inputOk; normal; StartFork on " + kChainText +
                            ", merge chains main " + kChainText + "; start of a side chain")));
}

TEST_F(ListDesignTest, ReadsInsertInformationInABlock) {
  for (const std::uint32_t version : {500001u, 500002u, 500003u}) {
    HandMadeArchive archive = moduleBegun();
    archive.open("ModuleState").flags({true, true, false, false, true}).close();
    archive.flags({false}).number(3);
    archive.open("ApplyModuleInsertInfo").number(2).id(kChain).ids({}).close();
    if (version == 500003) {
      archive.text("of a newer version");
    }
    EXPECT_THAT(listed(moduleEnded(archive, version, 500001)),
                EndsWith(listedModule("consistent active skipped; normal; StartFork on " +
                                      kChainText + ", merge chains -" +
                                      (version == 500001 ? "; start of a side chain" : ""))));
  }
}

TEST_F(ListDesignTest, ReadsABlockWithoutAClassInTheOldestLayout) {
  HandMadeArchive archive = moduleBegun();
  archive.openWithHash(BaseClassRegister::kNoType).flags({true, true, true}).close();
  archive.flags({false}).number(77);
  EXPECT_THAT(listed(moduleEnded(archive, 499999, 500001)),
              EndsWith(listedModule("consistent active inputOk; 77; AddToChain on main, merge "
                                    "chains -")));
}

/// A whole object with the two base parts that every module of the tree has.
void writeStep(HandMadeArchive& archive, const std::string& className, const std::string& name) {
  archive.open(className).open("Object").text(name).number(0).close();
  archive.open("ApplyModule");
  archive.open("ModuleState").flags({true, false, true, false, false}).close();
  archive.flags({false}).number(3);
  archive.open("ApplyModuleInsertInfo").number(0).id({0, 0}).ids({}).close().close().close();
}

/// The archive with an empty list of links, closed and completed.
std::string withoutLinks(HandMadeArchive& archive) {
  archive.open("ApplyModuleData").number(0).close();
  return archive.with({{"App.Design", 1},
                       {"App.Step", 1},
                       {"Object", 1},
                       {"ApplyModule", 500002},
                       {"ModuleState", 500001},
                       {"ApplyModuleInsertInfo", 500000},
                       {"Identifier", 1},
                       {"ApplyModuleData", 500000}});
}

TEST_F(ListDesignTest, FindsModulesThatAreMembersOfADesignWithoutAnObjectPart) {
  HandMadeArchive archive;
  archive.number(1).open("App.Design");
  writeStep(archive, "App.Step", "A");
  writeStep(archive, "App.Step", "B");
  archive.number(77).close();
  EXPECT_THAT(listed(withoutLinks(archive)), EndsWith("modules:\n  A (App.Step): " + kPlain +
                                                      "  B (App.Step): " + kPlain + "links:\n"));
}

TEST_F(ListDesignTest, TellsMembersFromTheBasePart) {
  HandMadeArchive archive;
  archive.number(1).open("App.Design").open("Object").text("design").number(0).close();
  writeStep(archive, "App.Step", "A");
  archive.close();
  EXPECT_THAT(listed(withoutLinks(archive)),
              EndsWith("modules:\n  A (App.Step): " + kPlain + "links:\n"));
}

// Damage

class RefusedDesignTest : public ListDesignTest {
 protected:
  std::string refusal(const std::string& archive) const {
    const std::string name = file(archive);
    const Result result = run("list_design.py", name);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.output.starts_with(name + ": ")) << result.output;
    return result.output.substr(std::min(name.size() + 2, result.output.size()));
  }
};

TEST_F(RefusedDesignTest, WhatIsNoArchive) {
  EXPECT_EQ(refusal(""), "no design archive\n");
  EXPECT_EQ(refusal("a letter of more than 28 bytes"), "no design archive\n");
}

TEST_F(RefusedDesignTest, AnArchiveWithoutADesign) {
  EXPECT_EQ(refusal(PersistenceArchiver().finish()), "byte 20: 4 bytes are not there\n");
  EXPECT_EQ(refusal(HandMadeArchive().number(0).with({})), "no root object\n");
}

TEST_F(RefusedDesignTest, AClassTableThatNamesATypeIdTwice) {
  EXPECT_THAT(refusal(HandMadeArchive().with({{"Object", 1}, {"Object", 2}})),
              EndsWith("twice in the class table\n"));
}

TEST_F(RefusedDesignTest, ElementsOfANewerVersion) {
  HandMadeArchive archive = moduleBegun();
  archive.open("ModuleState").flags({true, true, true, true, true}).close();
  archive.flags({false}).number(3);
  archive.open("ApplyModuleInsertInfo").number(0).id(kChain).ids({kChain}).close();
  EXPECT_EQ(refusal(moduleEnded(archive, 500002, 500001, 2)),
            "elements of Identifier in the unknown version 2\n");
}

TEST_F(RefusedDesignTest, AnObjectWithTwoParents) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("root").number(1).number(1).close();
  EXPECT_EQ(refusal(archive.with({{"Object", 1}})), "byte 44: an object with two parents\n");
}

TEST_F(RefusedDesignTest, AnObjectThatComesTooEarly) {
  HandMadeArchive archive;
  archive.number(2).open("Object").text("root").number(0).close();
  EXPECT_EQ(refusal(archive.with({{"Object", 1}})), "byte 20: object 2 behind object 0\n");
}

TEST_F(RefusedDesignTest, BlocksThatAreNestedTooDeep) {
  HandMadeArchive archive;
  archive.number(1);
  for (int i = 0; i < 501; ++i) {
    archive.open("Old.Step");
  }
  for (int i = 0; i < 501; ++i) {
    archive.close();
  }
  EXPECT_EQ(refusal(archive.with({{"Old.Step", 1}})), "byte 4024: nested too deep\n");
}

TEST_F(RefusedDesignTest, EveryDamage) {
  const StoredDesign design = plant(graphOf<StoredModule>("A -> B; A -> (S):s[side<main]"));
  for (const std::string& name :
       {file(save(design)), golden("design-500000.tsr"), golden("design-500002.tsr")}) {
    const Result result = run("damage_design.py", name);
    EXPECT_EQ(result.output, "whole and 0 damaged ones accepted\n");
    EXPECT_EQ(result.exitCode, 0);
  }
}

}  // namespace
}  // namespace Tessaril
