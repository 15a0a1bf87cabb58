// Lets a reader in another language, written from the description of the format, read what the
// library writes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"
#include "tests/support/PrivateLinks.h"
#include "tests/support/StoredDesign.h"

namespace Tessaril {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using TestSupport::graph;
using TestSupport::graphOf;
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
    folder = fs::path(::testing::TempDir()) / (std::string("tessaril_list_") + test->name());
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

TEST_F(ListDesignTest, RefusesWhatIsNoDesign) {
  for (const std::string& contents :
       {std::string(), std::string("a letter"), PersistenceArchiver().finish()}) {
    const Result result = run("list_design.py", file(contents));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.output, HasSubstr("design.tsr: "));
    EXPECT_THAT(result.output, testing::Not(HasSubstr("Traceback")));
  }
}

TEST_F(ListDesignTest, RefusesEveryDamage) {
  const StoredDesign design = plant(graphOf<StoredModule>("A -> B; A -> (S):s[side<main]"));
  const Result result = run("damage_design.py", file(save(design)));
  EXPECT_EQ(result.output, "whole and 0 damaged ones accepted\n");
  EXPECT_EQ(result.exitCode, 0);
}

}  // namespace
}  // namespace Tessaril
